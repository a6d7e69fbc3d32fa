#include "dialog/layout.h"

#include "dialog/texts.h"
#include "toolkit/theme.h"

namespace veil {

namespace {

constexpr std::int32_t kLeft = 16, kRight = 542;  // of everything but the title band
constexpr std::int32_t kFirstRow = 632, kRowPitch = 44, kRowHeight = 22;
constexpr std::int32_t kButtonTop = 944, kButtonBottom = 976, kButtonWidth = 92, kButtonGap = 12;
constexpr std::int32_t kPresetTop = 428, kPresetBottom = 458;

constexpr std::int32_t kOkId = 1, kCancelId = 2, kPreviewToggleId = 2002, kPresetBoxId = 2011, kSaveId = 2013,
                       kOutputToggleId = 2021, kAdvancedToggleId = 2023;

constexpr TextPair kRowHints[kSliderCount] = {kStrengthHint, kThresholdHint, kRadiusHint,    kSaturationHint,
                                              kShadowHint,   kFogHint,       kLightBoostHint};

ControlRecord control(std::int32_t id, const RectI& r, const wchar_t* label, bool accented = false) {
    return {id, r.left, r.top, r.right, r.bottom, label, accented};
}

SectionHeaderRecord section(std::int32_t top, std::int32_t bottom, const wchar_t* label) {
    return {kLeft, top, kRight, bottom, label};
}

RectI line(std::int32_t top, std::int32_t bottom) { return {kLeft, top, kRight, bottom}; }

void makeFormats(MainDialogState& dialog) {
    constexpr int kRegular = 400, kSemibold = 600;
    dialog.titleFont = createTextFormat(kFontFamily, 13.0f, kSemibold);
    dialog.sectionFont = createTextFormat(kFontFamily, 11.5f, kSemibold);
    dialog.bodyFont = createTextFormat(kFontFamily, 13.0f, kRegular);
    dialog.hintFont = createTextFormat(kFontFamily, 11.0f, kRegular);
    dialog.valueFont = createTextFormat(kFontFamily, 13.0f, kSemibold);
    dialog.buttonFont = createTextFormat(kFontFamily, 13.0f, kSemibold);
    dialog.howToFont = createTextFormat(kFontFamily, 12.0f, kRegular);
}

void layOutUpperHalf(MainDialogState& dialog) {
    dialog.howToText = {line(48, 88), localized(kHowToText), true};
    dialog.previewRect = line(98, 358);
    dialog.previewToggle = control(kPreviewToggleId, line(366, 386), localized(kPreviewToggleText));
    dialog.presetSection = section(400, 414, kPresetSectionText);
    dialog.presetBox = control(kPresetBoxId, {76, kPresetTop, 296, kPresetBottom}, L"");
    dialog.saveButton = control(kSaveId, {308, kPresetTop, kRight, kPresetBottom}, kSaveButtonText);
    dialog.presetHint = {line(464, 478), localized(kPresetHintText)};
    dialog.outputSection = section(492, 506, kOutputSectionText);
    dialog.outputToggle = control(kOutputToggleId, line(520, 540), localized(kOutputToggleText));
    dialog.outputHint = {line(546, 560), localized(kOutputHintText)};
    dialog.advancedToggle = control(kAdvancedToggleId, line(574, 594), localized(kAdvancedToggleText));
    dialog.adjustSection = section(602, 616, kAdjustSectionText);
}

void layOutRow(MainDialogState& dialog, int row) {
    const auto i = static_cast<std::size_t>(row);
    const SliderDefinition& definition = kSliderDefinitions[i];
    const std::int32_t y = kFirstRow + kRowPitch * row;
    const std::int32_t middle = y + kRowHeight / 2, bottom = y + kRowHeight;
    dialog.rowLabels[i] = {definition.labelId, {kLeft, y, 116, bottom}, definition.name};
    dialog.sliders[i] = {definition.sliderId, 116, y, 426, bottom, definition.minimum, definition.maximum};
    dialog.valueRects[i] = {436, y, 516, bottom};
    dialog.spinButtons[i] = {{522, y, kRight, middle}, {522, middle, kRight, bottom}};
    dialog.rowHints[i] = {line(y + 24, y + 38), localized(kRowHints[i])};
}

// From the right: Cancel, OK, the version in what is left.
void layOutButtons(MainDialogState& dialog) {
    const RectI cancel{kRight - kButtonWidth, kButtonTop, kRight, kButtonBottom};
    const RectI ok{cancel.left - kButtonGap - kButtonWidth, kButtonTop, cancel.left - kButtonGap,
                   kButtonBottom};
    dialog.cancelButton = control(kCancelId, cancel, kCancelText);
    dialog.okButton = control(kOkId, ok, kOkText, true);
    dialog.versionLabel = {{kLeft, kButtonTop, ok.left - kButtonGap, kButtonBottom}, kVersionText};
}

}  // namespace

RectI rowHighlightRect(const MainDialogState& dialog, int row) {
    const std::int32_t y = dialog.sliders[static_cast<std::size_t>(row)].top;
    return {kLeft, y - 4, kRight, y + 26};
}

RectI presetLabelRect(const MainDialogState& dialog) {
    return {kLeft, dialog.presetBox.top, 72, dialog.presetBox.bottom};
}

void buildMainDialogLayout(MainDialogState& dialog) {
    makeFormats(dialog);
    layOutUpperHalf(dialog);
    for (int row = 0; row < kSliderCount; ++row) layOutRow(dialog, row);
    layOutButtons(dialog);
}

}  // namespace veil
