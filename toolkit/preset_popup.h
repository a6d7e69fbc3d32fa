#pragma once

// The list of the preset box: a popup with one row for each preset, which runs until the user picks a row or
// dismisses it.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/drawing.h"
#include "platform/window.h"

namespace veil {

constexpr std::int32_t kNoRow = -1;

/// The list while it is open. Lengths are in DIPs.
struct PresetPopupState {
    const std::vector<std::wstring>& items;
    std::int32_t rowHeight = 0, width = 0;
    float scale = 1.0f;
    std::int32_t hoverRow = kNoRow;  ///< under the mouse; the selected row until the mouse moves
    std::int32_t selectedRow = kNoRow;
    std::int32_t result = kNoRow;
    bool done = false;
    bool releaseSeen = false;  ///< a release has come in, be it that of the click that opened the list
    RenderTargetHolder target{};
    TextFormatHolder format{};
};

/// Opens the list with its top left corner at `onScreen`, in pixels of the screen, and returns when it is
/// closed: the row that the user released the button on, kNoRow if the list was dismissed, `selectedRow` if
/// it can't be shown. It does not scroll, and rows beyond the screen's edge can't be reached. A `scale` not
/// above 0 counts as 1.
std::int32_t showPresetPopup(Window* owner, PixelPoint onScreen, int widthDips, int rowHeightDips,
                             const std::vector<std::wstring>& items, int selectedRow, float scale);

}  // namespace veil
