#pragma once

// The main dialog's one record, and what a change of a value does to it. The window has no child controls but
// the edit box; every widget is a record in here.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "dialog/preview.h"
#include "engine/settings.h"
#include "host/parameter_block.h"
#include "platform/drawing.h"
#include "platform/edit_box.h"
#include "platform/window.h"
#include "presets/user_presets.h"
#include "toolkit/animation.h"
#include "toolkit/widgets.h"

namespace veil {

constexpr int kSliderCount = 7;
constexpr int kPlainSliderCount = 5;  // without advanced mode; the rest are its rows
constexpr int kNoSliderRow = -1;

/// A line or a paragraph that nobody can click.
struct TextBlock {
    RectI rect;
    std::wstring text;
    bool wraps = false;
};

/// The name of a slider's row; a double-click on it resets the row.
struct LabelRecord {
    std::int32_t id = 0;
    RectI rect;
    std::wstring text;
};

struct MainDialogState {
    Window* window = nullptr;
    float dpiScale = 1.0f;         ///< device pixels per DIP
    VeilParams params{};           ///< the working copy of the block
    bool previewGlowOnly = false;  ///< the preview toggle; never kept
    std::vector<PresetEntry> userPresets;
    PreviewState preview;
    RenderTargetHolder surface;
    TextFormatHolder titleFont, sectionFont, bodyFont, hintFont, valueFont, buttonFont, howToFont;
    RectI previewRect;
    ControlRecord previewToggle, outputToggle, advancedToggle;  ///< `accented`: checked
    SectionHeaderRecord presetSection, outputSection, adjustSection;
    TextBlock howToText, presetHint, outputHint;
    ControlRecord presetBox;  ///< `label`: the current preset's name, the only trace of the choice
    ControlRecord saveButton, okButton, cancelButton;
    TextBlock versionLabel;
    std::array<SliderRecord, kSliderCount> sliders;
    std::array<LabelRecord, kSliderCount> rowLabels;
    std::array<TextBlock, kSliderCount> rowHints;
    std::array<RectI, kSliderCount> valueRects;  ///< the value, or the edit box over it
    std::array<SpinnerRecord, kSliderCount> spinButtons;
    bool closeHovered = false, closePressed = false;
    std::int32_t dragRow = kNoSliderRow;   ///< its slider is being dragged
    std::int32_t focusRow = kNoSliderRow;  ///< takes the arrow keys
    EditBox* valueEdit = nullptr;          ///< the window's
    std::int32_t editRow = kNoSliderRow;   ///< its value is being typed
    AnimationMap animations;
    bool animationTimerRunning = false;
    BitmapHolder previewBitmap;  ///< made by the paint after a render
    BitmapHolder bannerBitmap;
    bool bannerLoaded = false;  ///< tried, successfully or not
};

enum class ValueFormat { percent, fixed2, pixels, whole };

/// What is fixed about a slider. Values of a percent row are stored as fractions.
struct SliderDefinition {
    std::int32_t sliderId, labelId;
    const wchar_t* name;
    float minimum, maximum, step;
    ValueFormat format;
    float VeilParams::*param;
    float RenderSettings::*setting;  ///< the same value in a built-in look
};

/// In the order of the rows on screen.
extern const std::array<SliderDefinition, kSliderCount> kSliderDefinitions;

/// Rows 0 up to this one are painted, hit and stepped.
int visibleRowCount(const MainDialogState& dialog);

/// The value as it stands beside the slider, and as it is put into the edit box; with a point whatever the
/// program's locale says.
std::wstring formatSliderValue(int row, float value);
std::wstring formatEditValue(int row, float value);

/// What was typed, in the stored unit: the longest decimal number at the start, 0 if there is none. Not
/// limited.
float parseEditValue(int row, const std::wstring& text);

/// Every slider shows its field of `params`, inside its range or not.
void syncSlidersFromParams(MainDialogState& dialog);
/// A slider's value has changed by any input: stores it, lights the value up, renders the preview.
void sliderValueChanged(MainDialogState& dialog, int row);
/// One step up or down (`direction` 1 or -1), limited to the range.
void stepSlider(MainDialogState& dialog, int row, int direction);
/// The value of the built-in look that the settings stem from.
void resetSliderToPreset(MainDialogState& dialog, int row);

void startAnimationTimer(MainDialogState& dialog);
void stopAnimationTimer(MainDialogState& dialog);
constexpr int kAnimationTimer = 401;

/// Renders the preview with the values as they are now, and has it painted.
void refreshPreview(MainDialogState& dialog);

// Keys of the animations.
constexpr std::uint32_t hoverKey(std::int32_t id) { return static_cast<std::uint32_t>(id) * 10; }
constexpr std::uint32_t flashKey(std::int32_t id) { return static_cast<std::uint32_t>(id) * 10 + 1; }

/// The rectangle of a widget's record.
template <class Record>
RectI rectOf(const Record& record) {
    return {record.left, record.top, record.right, record.bottom};
}

}  // namespace veil
