#pragma once

// The one look: a dark palette with a warm accent. Colours are 8-bit values over 255 unless noted.

#include "platform/drawing.h"

namespace veil {

constexpr Color fromBytes(int r, int g, int b) {
    return {static_cast<float>(r) / 255.0f, static_cast<float>(g) / 255.0f, static_cast<float>(b) / 255.0f,
            1.0f};
}

constexpr Color colorWindow = fromBytes(32, 32, 36);
constexpr Color colorTitleBand = fromBytes(24, 24, 27);
constexpr Color colorSurface = fromBytes(44, 44, 49);
constexpr Color colorBorder = fromBytes(64, 64, 70);
constexpr Color colorText = fromBytes(224, 224, 228);
constexpr Color colorTextDim = fromBytes(150, 150, 158);
constexpr Color colorAccent = fromBytes(224, 168, 92);
constexpr Color colorAccentDeep = fromBytes(150, 108, 56);
constexpr Color colorFrame = fromBytes(90, 68, 42);
constexpr Color colorPreviewBack = fromBytes(20, 20, 24);
constexpr Color colorWhite = fromBytes(255, 255, 255);
constexpr Color colorBlack = fromBytes(0, 0, 0);
constexpr Color colorCloseHot = {0.85f, 0.25f, 0.25f, 0.85f};
constexpr Color colorClosePressed = {1.0f, 1.0f, 1.0f, 0.1f};
constexpr Color colorPressOverlay = {0.0f, 0.0f, 0.0f, 0.12f};
constexpr Color colorStepHot = {1.0f, 1.0f, 1.0f, 0.06f};
constexpr Color colorPopupHot = {0.307451f, 0.230588f, 0.126275f, 1.0f};  // the accent times 0.35

/// a + (b - a) * t on each channel; t is not limited.
constexpr Color mixColor(const Color& a, const Color& b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

constexpr Color withAlpha(const Color& color, float alpha) { return {color.r, color.g, color.b, alpha}; }

constexpr const wchar_t* kFontFamily = L"Segoe UI";

}  // namespace veil
