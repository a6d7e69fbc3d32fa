#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <string>

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
    struct {
        std::string what;
        Color text, ground;
        double ratio;
    } const table[] = {
        {"text, window", colorText, colorWindow, 12.33},
        {"text, surface", colorText, colorSurface, 10.55},
        {"text, title band", colorText, colorTitleBand, 13.46},
        {"text, hot popup row", colorText, colorPopupHot, 8.10},
        {"dim text, window", colorTextDim, colorWindow, 5.53},
        {"dim text, title band", colorTextDim, colorTitleBand, 6.03},
        {"disabled text, surface", colorTextDim, colorSurface, 4.73},
        {"text, hovered combo box", colorText, hoveredCombo, 9.06},
        {"disabled text, hover veil", colorTextDim, hoverVeil, 4.79},
        {"accent, window", colorAccent, colorWindow, 7.67},
        {"accent, title band", colorAccent, colorTitleBand, 8.37},
        {"accent, surface", colorAccent, colorSurface, 6.57},
        {"dark text, accent", colorWindow, colorAccent, 7.67},
        {"dark text, pressed accent", colorWindow, pressed, 5.22},
        {"dark text, hovered accent", colorWindow, hovered, 8.45},
        {"value flash at rest, window", mixColor(colorAccent, colorWhite, 0.0f), colorWindow, 7.67},
        {"value flash at its start, window", flash, colorWindow, 13.14},
        {"white cross, hot close", colorWhite, over(colorTitleBand, colorCloseHot), 5.53}};
    for (const auto& row : table) {
        INFO(row.what);
        CHECK(std::abs(contrast(row.text, row.ground) - row.ratio) < 0.0051);
        CHECK(contrast(row.text, row.ground) >= 4.5);
    }
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
    const PointI caption[] = {{0, 0},    {150, 40}, {265, 6},  {266, 5},
                              {294, 33}, {293, 34}, {280, 40}, {9, -1}};
    const PointI client[] = {{150, 41}, {280, 20}, {266, 6}, {293, 33}, {280, 41}};
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
