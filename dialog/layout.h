#pragma once

// The dialog's one page: a fixed table of rectangles in DIPs. Nothing moves with the language, the scale or
// advanced mode.

#include "dialog/state.h"

namespace veil {

constexpr std::int32_t kDialogWidth = 558;
constexpr std::int32_t kDialogHeight = 992;

/// The place of row `row`'s highlight, and of the "Preset" label: they are painted, but nothing is kept of
/// them.
RectI rowHighlightRect(const MainDialogState& dialog, int row);
RectI presetLabelRect(const MainDialogState& dialog);

/// Makes the text formats and fills the records of all widgets. Once, when the window is made.
void buildMainDialogLayout(MainDialogState& dialog);

}  // namespace veil
