#include "dialog/state.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "presets/builtin_presets.h"

namespace veil {

const std::array<SliderDefinition, kSliderCount> kSliderDefinitions{{
    {2032, 2031, L"Strength", 0.0f, 2.5f, 0.01f, ValueFormat::percent, &VeilParams::strength,
     &RenderSettings::strength},
    {2036, 2035, L"Threshold", 0.0f, 2.0f, 0.01f, ValueFormat::fixed2, &VeilParams::threshold,
     &RenderSettings::threshold},
    {2040, 2039, L"Radius", 2.0f, 600.0f, 1.0f, ValueFormat::pixels, &VeilParams::radius,
     &RenderSettings::radius},
    {2052, 2051, L"Saturation", 0.0f, 10.0f, 0.01f, ValueFormat::percent, &VeilParams::glowSaturation,
     &RenderSettings::glowSaturation},
    {2056, 2055, L"Shadow", 0.0f, 1.0f, 0.01f, ValueFormat::percent, &VeilParams::shadowProtect,
     &RenderSettings::shadowProtect},
    {2044, 2043, L"Fog", 0.0f, 1.0f, 0.01f, ValueFormat::percent, &VeilParams::fog, &RenderSettings::fog},
    {2048, 2047, L"Light Boost", 0.0f, 30.0f, 1.0f, ValueFormat::whole, &VeilParams::highlightBoost,
     &RenderSettings::highlightBoost},
}};

namespace {

const SliderDefinition& definitionOf(int row) { return kSliderDefinitions[static_cast<std::size_t>(row)]; }
SliderRecord& sliderOf(MainDialogState& dialog, int row) {
    return dialog.sliders[static_cast<std::size_t>(row)];
}

constexpr std::size_t kTextCapacity = 31;  // characters of a value; more can't be shown

// Not by printf, which writes the point of the program's locale.
std::wstring formatted(double value, int decimals, const wchar_t* unit) {
    char digits[128];  // the longest 32-bit float times 100 has 41 digits before the point
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
    std::wstring text(digits, end);
    text += unit;
    text.resize(std::min(text.size(), kTextCapacity));
    return text;
}

std::wstring formatValue(int row, float value, bool withUnit) {
    const double v = static_cast<double>(value);
    switch (definitionOf(row).format) {
        case ValueFormat::percent:
            return formatted(v * 100.0, 0, withUnit ? L"%" : L"");
        case ValueFormat::fixed2:
            return formatted(v, 2, L"");
        case ValueFormat::pixels:
            return formatted(v, 0, withUnit ? L"px" : L"");
        default:
            return formatted(v, 0, L"");
    }
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The decimal number that `text` begins with, blanks and a sign before it allowed.
double leadingNumber(const std::string& text) {
    std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
    const bool negative = start < text.size() && text[start] == '-';
    if (start < text.size() && (text[start] == '+' || negative)) ++start;
    const bool isNumber = start < text.size() && (isDigit(text[start]) || text[start] == '.');
    if (!isNumber) return 0.0;
    double value = 0.0;
    const auto [stop, error] = std::from_chars(text.data() + start, text.data() + text.size(), value);
    if (error == std::errc::invalid_argument) return 0.0;
    if (error == std::errc::result_out_of_range) {
        const std::string_view number(text.data() + start, stop);
        const bool tiny = number.find("e-") != number.npos || number.find("E-") != number.npos;
        value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    }
    return negative ? -value : value;
}

}  // namespace

int visibleRowCount(const MainDialogState& dialog) {
    return dialog.params.advancedMode != 0 ? kSliderCount : kPlainSliderCount;
}

std::wstring formatSliderValue(int row, float value) { return formatValue(row, value, true); }
std::wstring formatEditValue(int row, float value) { return formatValue(row, value, false); }

float parseEditValue(int row, const std::wstring& text) {
    std::string narrow;
    for (const wchar_t c : text) narrow += c > 0 && c < 128 ? static_cast<char>(c) : '?';
    const float value = static_cast<float>(leadingNumber(narrow));
    return definitionOf(row).format == ValueFormat::percent ? value / 100.0f : value;
}

void syncSlidersFromParams(MainDialogState& dialog) {
    for (int row = 0; row < kSliderCount; ++row)
        sliderOf(dialog, row).value = dialog.params.*definitionOf(row).param;
}

void sliderValueChanged(MainDialogState& dialog, int row) {
    const SliderRecord& slider = sliderOf(dialog, row);
    dialog.params.*definitionOf(row).param = slider.value;
    AnimatedValue& flash = animationEntry(dialog.animations, flashKey(slider.id));
    snapTo(flash, 1.0f);
    animateTo(flash, 0.0f, kFlashMs);
    startAnimationTimer(dialog);
    refreshPreview(dialog);
}

void stepSlider(MainDialogState& dialog, int row, int direction) {
    SliderRecord& slider = sliderOf(dialog, row);
    const float stepped = slider.value + static_cast<float>(direction) * definitionOf(row).step;
    const float value = std::clamp(stepped, slider.minimum, slider.maximum);
    if (value == slider.value) return;
    slider.value = value;
    sliderValueChanged(dialog, row);
}

void resetSliderToPreset(MainDialogState& dialog, int row) {
    const RenderSettings settings = builtinPresetSettings(dialog.params.presetId);
    dialog.params.*definitionOf(row).param = settings.*definitionOf(row).setting;
    syncSlidersFromParams(dialog);
    refreshPreview(dialog);
}

void startAnimationTimer(MainDialogState& dialog) {
    if (dialog.animationTimerRunning) return;
    dialog.animationTimerRunning = true;
    startTimer(dialog.window, kAnimationTimer, kAnimationTickMs);
}

void stopAnimationTimer(MainDialogState& dialog) {
    if (!dialog.animationTimerRunning) return;
    stopTimer(dialog.window, kAnimationTimer);
    dialog.animationTimerRunning = false;
}

void refreshPreview(MainDialogState& dialog) {
    renderPreview(dialog.preview, dialog.params, dialog.previewGlowOnly);
    dialog.previewBitmap.reset();
    invalidate(dialog.window);
}

}  // namespace veil
