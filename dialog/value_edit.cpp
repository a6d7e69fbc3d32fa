#include "dialog/value_edit.h"

#include <algorithm>

#include "toolkit/theme.h"

namespace veil {

namespace {

constexpr int kFontPoints = 13, kFontWeight = 600;
constexpr int kPointsPerInch = 72;
constexpr float kDipsPerInch = 96.0f;
constexpr int kMaxTyped = 32;  // characters of the text that count
constexpr int kAnyLength = 1024;
constexpr wchar_t kFirstPrintable = 32;

int fontHeightPx(float scale) {
    const int dpi = static_cast<int>(scale * kDipsPerInch + 0.5f);
    return (kFontPoints * dpi + kPointsPerInch / 2) / kPointsPerInch;
}

// The row's value as a text to type over.
void offerValue(MainDialogState& dialog, int row) {
    const float value = dialog.sliders[static_cast<std::size_t>(row)].value;
    setEditText(dialog.valueEdit, formatEditValue(row, value).c_str());
    selectAll(dialog.valueEdit);
}

void takeTyped(MainDialogState& dialog, int row) {
    const std::wstring text = editText(dialog.valueEdit, kMaxTyped);
    if (text.empty()) return;
    SliderRecord& slider = dialog.sliders[static_cast<std::size_t>(row)];
    // The sum makes a negative zero, which would show its sign, a zero.
    const float value = std::clamp(parseEditValue(row, text), slider.minimum, slider.maximum) + 0.0f;
    if (value == slider.value) return;
    slider.value = value;
    sliderValueChanged(dialog, row);
}

}  // namespace

void createValueEdit(MainDialogState& dialog) {
    dialog.valueEdit = createFilteredEditBox(dialog.window, fontHeightPx(dialog.dpiScale), kFontWeight,
                                             {colorAccent, colorWindow});
}

void beginValueEdit(MainDialogState& dialog, int row) {
    if (dialog.editRow == row) return;
    endValueEdit(dialog, EditEnd::commit);
    dialog.editRow = row;
    const RectI& rect = dialog.valueRects[static_cast<std::size_t>(row)];
    const float scale = dialog.dpiScale;
    placeEditBox(dialog.valueEdit, {childPlacePx(rect.left, scale), childPlacePx(rect.top, scale),
                                    childPlacePx(rect.right, scale), childPlacePx(rect.bottom, scale)});
    offerValue(dialog, row);
    showEditBox(dialog.valueEdit);
    focusEditBox(dialog.valueEdit);
    invalidate(dialog.window);
}

void endValueEdit(MainDialogState& dialog, EditEnd end) {
    if (dialog.editRow < 0) return;
    // Closed before the box is hidden: it loses the focus then, which is another call to here.
    const int row = dialog.editRow;
    dialog.editRow = kNoSliderRow;
    hideEditBox(dialog.valueEdit);
    if (end == EditEnd::commit) takeTyped(dialog, row);
    invalidate(dialog.window);
}

bool handleEditKey(MainDialogState& dialog, Key key) {
    switch (key) {
        case Key::enter:
        case Key::escape:
            endValueEdit(dialog, key == Key::enter ? EditEnd::commit : EditEnd::discard);
            focusWindow(dialog.window);
            return true;
        case Key::up:
        case Key::down:
            if (dialog.editRow >= 0) {
                stepSlider(dialog, dialog.editRow, key == Key::up ? 1 : -1);
                offerValue(dialog, dialog.editRow);
            }
            return true;
        default:
            return false;
    }
}

bool handleEditCharacter(const MainDialogState& dialog, wchar_t character) {
    // Enter and Escape have done their work as keys; passed on, they would only beep.
    if (character == L'\r' || character == 27) return true;
    if (character < kFirstPrintable || (character >= L'0' && character <= L'9')) return false;
    if (character != L'.') return true;
    return editText(dialog.valueEdit, kAnyLength).find(L'.') != std::wstring::npos;
}

}  // namespace veil
