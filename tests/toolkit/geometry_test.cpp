#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "toolkit/theme.h"
#include "toolkit/widgets.h"

using namespace veil;

namespace {

// Relative luminance and contrast ratio as the Web Content Accessibility Guidelines 2.1 define them.
double linear(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }
double luminance(const Color& c) {
    return 0.2126 * linear(c.r) + 0.7152 * linear(c.g) + 0.0722 * linear(c.b);
}
double contrast(const Color& a, const Color& b) {
    const auto [low, high] = std::minmax({luminance(a), luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

Color over(const Color& ground, const Color& veil) { return mixColor(ground, withAlpha(veil, 1.0f), veil.a); }

}  // namespace

TEST_CASE("a text or the close button's white cross is too faint for its ground: contrast 4.5 or more") {
    const Color hovered = mixColor(colorAccent, colorWhite, 0.12f);
    const Color pressed = mixColor(colorAccent, colorBlack, 0.18f);
    const Color hoveredCombo = mixColor(colorSurface, colorWhite, 0.05f);
    const Color hoverVeil = over(colorWindow, withAlpha(colorWhite, 0.05f));
    const Color flash = mixColor(colorAccent, colorWhite, 0.7f);
    // What each colour of text lies on.
    const std::pair<Color, std::vector<Color>> table[] = {
        {colorText, {colorWindow, colorSurface, colorTitleBand, colorPopupHot, hoveredCombo}},
        {colorTextDim, {colorWindow, colorTitleBand, colorSurface, hoverVeil}},
        {colorAccent, {colorWindow, colorTitleBand, colorSurface}},
        {colorWindow, {colorAccent, pressed, hovered}},
        {flash, {colorWindow}},
        {colorWhite, {over(colorTitleBand, colorCloseHot)}}};
    for (const auto& [text, grounds] : table)
        for (const Color& ground : grounds) {
            INFO("text ", text.r, " ", text.g, " on ", ground.r, " ", ground.g);
            CHECK(contrast(text, ground) >= 4.5);
        }
    CHECK(std::abs(contrast(colorText, colorWindow) - 12.33) < 0.0051);
    CHECK(std::abs(contrast(colorTextDim, colorSurface) - 4.73) < 0.0051);
}

TEST_CASE("mixing is not limited, and the popup's row is the accent at 0.35") {
    const Color mixed = mixColor({0.0f, 1.0f, 0.5f, 1.0f}, {1.0f, 0.0f, 0.5f, 0.0f}, 2.0f);
    CHECK(mixed == Color{2.0f, -1.0f, 0.5f, -1.0f});
    const Color row = mixColor(colorBlack, colorAccent, 0.35f);
    for (const auto channel : {&Color::r, &Color::g, &Color::b, &Color::a})
        CHECK(std::abs(colorPopupHot.*channel - row.*channel) < 1e-6f);
}

TEST_CASE(
    "the band moves the window up to y = 40, but for the close button without its right and lower edge") {
    CHECK(closeButtonRect(300) == RectI{266, 6, 294, 34});
    const PointI caption[] = {{150, 40}, {265, 6}, {266, 5}, {294, 33}, {293, 34}, {9, -1}};
    const PointI client[] = {{150, 41}, {266, 6}, {293, 33}};
    for (const PointI point : caption) CHECK(captionHitTest(point, 300) == CaptionHit::caption);
    for (const PointI point : client) CHECK(captionHitTest(point, 300) == CaptionHit::client);
}

TEST_CASE("a slider's value follows the mouse along the track and stops at its ends") {
    struct {
        std::int32_t right, x;
        float fraction;
    } const table[] = {{216, 107, 0}, {216, 109, 0.01f}, {216, 158, 0.5f}, {216, 208, 1}, {216, 900, 1},
                       {116, 108, 0}, {116, 500, 0},     {105, 101, 0},    {105, 99, 0},  {117, 109, 1}};
    for (const auto& row : table) {
        SliderRecord slider{1, 100, 0, row.right, 20, 10.0f, 30.0f, 99.0f, false};
        INFO("right ", row.right, ", x ", row.x);
        CHECK(sliderFractionAt(slider, row.x) == row.fraction);
        setSliderFromX(slider, row.x);
        CHECK(std::abs(slider.value - (10.0f + 20.0f * row.fraction)) < 1e-5f);
    }
}

TEST_CASE("pixels become DIPs truncated toward zero, windows are rounded and what lies in them truncated") {
    struct {
        std::int32_t from;
        float scale;
        std::int32_t dips, windowPx, childPx;
    } const table[] = {{100, 1.5f, 66, 150, 150}, {558, 1.5f, 372, 837, 837}, {214, 1.25f, 171, 268, 267},
                       {33, 1.75f, 18, 58, 57},   {1, 2.0f, 0, 2, 2},         {30, 0.0f, 30, 30, 30},
                       {30, -2.0f, 30, 30, 30}};
    for (const auto& row : table) {
        INFO(row.from, " at ", row.scale);
        const PointI point = clientPointInDips(row.from, -row.from, row.scale);
        CHECK(point.x == row.dips);
        CHECK(point.y == -row.dips);
        CHECK(clientPointInDips(-row.from, 0, row.scale).x == -row.dips);
        CHECK(windowSizePx(row.from, row.scale) == row.windowPx);
        CHECK(childPlacePx(row.from, row.scale) == row.childPx);
    }
}

TEST_CASE("a child control's rectangle is rounded on its way back to DIPs, or its edges are exchanged") {
    const RectI pixels{27, -10, 101, 43};
    CHECK(childRectDips(pixels, 1.25f) == RectF{21.6f, -8.0f, 80.8f, 34.4f});
    for (const float scale : {1.0f, 0.0f, -2.0f})
        CHECK(childRectDips(pixels, scale) == RectF{27.0f, -10.0f, 101.0f, 43.0f});
}
