// What the real platforms paint, probed where no text lies: fonts differ from machine to machine, fills and
// edges don't.

#include <doctest/doctest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>

#include "tests/gallery/sheets.h"
#include "tests/gallery/start.h"
#include "toolkit/theme.h"
#include "toolkit/widgets.h"

using namespace veil;

namespace {

constexpr int kTolerance = 6;  // of 255: rasterisers weigh an edge a little differently
constexpr int kBannerId = 3001;

struct Picture {
    int width = 0;
    std::vector<std::uint8_t> pixels;

    int at(int x, int y, int channel) const {  // 0 red, 1 green, 2 blue
        return pixels[static_cast<std::size_t>((y * width + x) * 4 + 2 - channel)];
    }
};

using Paint = std::function<void(RenderTarget*)>;

Picture painted(int widthDip, int heightDip, float scale, const Paint& paint) {
    static const bool started = (gallery::startPlatform(), true);
    REQUIRE(started);
    const int width = windowSizePx(widthDip, scale), height = windowSizePx(heightDip, scale);
    const RenderTargetHolder target = createImageRenderTarget(width, height, scale);
    REQUIRE(target);
    beginDraw(target.get());
    clearTarget(target.get(), colorWindow);
    paint(target.get());
    REQUIRE(endDraw(target.get()) == FrameResult::shown);
    Picture picture{width, imagePixels(target.get())};
    REQUIRE(picture.pixels.size() == static_cast<std::size_t>(4 * width * height));
    return picture;
}

struct Probe {
    float x, y;  // DIPs; the device pixel in which they lie
    int rgb[3];
};

void checkProbes(const std::string& what, const Picture& picture, float scale,
                 const std::vector<Probe>& probes) {
    for (const Probe& probe : probes)
        for (int channel = 0; channel < 3; ++channel) {
            const int found =
                picture.at(static_cast<int>(probe.x * scale), static_cast<int>(probe.y * scale), channel);
            INFO(what, " at ", probe.x, ", ", probe.y, " scale ", scale, " channel ", channel, ": ", found,
                 " for ", probe.rgb[channel]);
            CHECK(std::abs(found - probe.rgb[channel]) <= kTolerance);
        }
}

struct Case {
    const char* what;
    Paint paint;
    float scale;
    std::vector<Probe> probes;
};

Paint button(bool primary, float hover, bool pressed, bool enabled) {
    return [=](RenderTarget* target) {
        drawButton(target, nullptr, {1, 10, 10, 102, 42, L"OK", primary, false, pressed, enabled}, hover);
    };
}

Paint checkBox(bool checked, float hover) {
    return [=](RenderTarget* target) {
        drawCheckBox(target, nullptr, {2, 10, 10, 100, 30, L"", checked}, hover);
    };
}

Paint comboBox(bool open, float hover) {
    return [=](RenderTarget* target) {
        drawComboBox(target, nullptr, {3, 10, 10, 230, 40, L"", false, open}, hover);
    };
}

Paint slider(float value, float hover) {
    return [=](RenderTarget* target) { drawSlider(target, {4, 10, 10, 110, 32, 0, 100, value}, hover); };
}

Paint titleBar(bool closeHot, bool closePressed) {
    return [=](RenderTarget* target) {
        drawTitleBar(target, nullptr, 300, L"", closeHot, closePressed, nullptr);
    };
}

}  // namespace

TEST_CASE("a widget's fill, border, mark or thumb has another colour or another place") {
    const Case cases[] = {
        {"primary", button(true, 0, false, true), 2, {{56, 26, {224, 168, 92}}, {10, 10, {32, 32, 36}}}},
        {"primary, hover", button(true, 1, false, true), 2, {{56, 26, {228, 178, 112}}}},
        {"primary, half hover", button(true, 0.5f, false, true), 2, {{56, 26, {226, 173, 102}}}},
        {"primary, pressed", button(true, 1, true, true), 2, {{56, 26, {184, 138, 75}}}},
        {"primary, pressed, disabled", button(true, 1, true, false), 2, {{56, 26, {44, 44, 49}}}},
        {"secondary",
         button(false, 0, false, true),
         2,
         {{56, 26, {32, 32, 36}}, {56, 9.5, {64, 64, 70}}, {56, 10, {64, 64, 70}}, {56, 11, {32, 32, 36}}}},
        {"secondary, hover", button(false, 1, false, true), 2, {{56, 26, {43, 43, 47}}}},
        {"secondary, pressed", button(false, 1, true, true), 2, {{56, 26, {28, 28, 32}}}},
        {"secondary, disabled", button(false, 0, false, false), 2, {{56, 10, {44, 44, 49}}}},
        {"unchecked", checkBox(false, 0), 2, {{18, 20, {44, 44, 49}}, {18, 12, {64, 64, 70}}}},
        {"unchecked, half hover", checkBox(false, 0.5f), 2, {{18, 20, {52, 52, 57}}}},
        {"unchecked, hover", checkBox(false, 1), 2, {{18, 20, {61, 61, 65}}}},
        {"checked",
         checkBox(true, 1),
         2,
         {{13, 14, {224, 168, 92}},
          {16.5, 23.5, {32, 32, 36}},
          {19.5, 20, {32, 32, 36}},
          {18, 26.5, {224, 168, 92}}}},
        {"combo box",
         comboBox(false, 0),
         2,
         {{100, 25, {44, 44, 49}},
          {100, 10, {64, 64, 70}},
          {212, 25, {150, 150, 158}},
          {215.5, 25, {150, 150, 158}},
          {214, 23, {44, 44, 49}}}},
        {"combo box, hover", comboBox(false, 1), 2, {{100, 25, {55, 55, 59}}}},
        {"combo box, open", comboBox(true, 0), 2, {{100, 9.5, {224, 168, 92}}, {100, 10, {224, 168, 92}}}},
        {"header",
         [](RenderTarget* t) {
             drawSectionHeader(t, nullptr, {10, 10, 200, 24, L""});
         },
         2,
         {{100, 29.5, {64, 64, 70}},
          {100, 30, {64, 64, 70}},
          {100, 30.5, {32, 32, 36}},
          {205, 30, {32, 32, 36}}}},
        {"slider",
         slider(50, 0),
         2,
         {{20, 21, {154, 111, 58}},
          {39, 21, {187, 138, 74}},
          {60, 21, {224, 168, 92}},
          {66, 21, {32, 32, 36}},
          {90, 21, {44, 44, 49}},
          {90, 23, {32, 32, 36}}}},
        {"slider, half hover", slider(50, 0.5f), 2, {{65.5, 21, {224, 168, 92}}, {67, 21, {32, 32, 36}}}},
        {"slider, hover", slider(50, 1), 2, {{66.5, 21, {224, 168, 92}}, {68, 21, {32, 32, 36}}}},
        {"slider at its minimum", slider(0, 0), 2, {{18, 21, {224, 168, 92}}, {40, 21, {44, 44, 49}}}},
        {"spinner",
         [](RenderTarget* t) {
             drawSpinner(t, {{10, 10, 30, 21}, {10, 21, 30, 32}, true, false});
         },
         2,
         {{14, 13, {57, 57, 61}},
          {14, 29, {44, 44, 49}},
          {14, 21, {64, 64, 70}},
          {18, 16.5, {150, 150, 158}},
          {20, 16, {150, 150, 158}},
          {18, 25, {150, 150, 158}},
          {20, 26, {150, 150, 158}},
          {20, 30, {44, 44, 49}}}},
        {"title bar",
         titleBar(false, false),
         2,
         {{150, 20, {24, 24, 27}},
          {150, 39.5, {64, 64, 70}},
          {150, 40, {64, 64, 70}},
          {280, 20, {150, 150, 158}}}},
        {"close hot", titleBar(true, false), 2, {{280, 9, {188, 58, 58}}, {280, 20, {255, 255, 255}}}},
        {"close pressed", titleBar(true, true), 2, {{280, 9, {47, 47, 50}}}},
        {"frame",
         [](RenderTarget* t) { drawWindowFrame(t, 300, 100); },
         1,
         {{50, 0, {90, 68, 42}},
          {50, 1, {32, 32, 36}},
          {299, 50, {90, 68, 42}},
          {298, 50, {32, 32, 36}},
          {0, 99, {90, 68, 42}}}},
    };
    for (const Case& c : cases) checkProbes(c.what, painted(300, 100, c.scale, c.paint), c.scale, c.probes);
}

TEST_CASE("a stroke between two rows of pixels falls into one of them" *
          doctest::skip(!gallery::paintsSmoothly())) {
    checkProbes(
        "border", painted(300, 100, 1, button(false, 0, false, true)), 1,
        {{56, 9, {48, 48, 53}}, {56, 10, {48, 48, 53}}, {9, 26, {48, 48, 53}}, {102, 26, {48, 48, 53}}});
}

TEST_CASE("corners, caps or the thumb are uneven" * doctest::skip(!gallery::paintsSmoothly())) {
    const Paint paints[] = {
        button(true, 0, false, true),
        button(false, 0, false, true),
        [](RenderTarget* t) {
            drawCheckBox(t, nullptr, {2, 48, 0, 64, 52, L""}, 0.0f);
        },
        [](RenderTarget* t) {
            drawSlider(t, {4, 6, 0, 106, 52, 0, 0, 0}, 0.0f);
        },
        [](RenderTarget* t) { drawWindowFrame(t, 112, 52); },
    };
    int number = 0;
    for (const Paint& paint : paints) {
        for (const float scale : {1.0f, 1.25f, 1.5f, 2.0f}) {
            const Picture picture = painted(112, 52, scale, paint);
            const int width = picture.width, height = static_cast<int>(picture.pixels.size()) / 4 / width;
            // The slider with no range has its thumb at the left; only top and bottom mirror there.
            const bool sideways = number != 3;
            int worst = 0, inked = 0;
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const int here = picture.at(x, y, 0);
                    inked += here != picture.at(width - 1, height / 2 + height / 4, 0);
                    worst = std::max(worst, std::abs(here - picture.at(x, height - 1 - y, 0)));
                    if (sideways) worst = std::max(worst, std::abs(here - picture.at(width - 1 - x, y, 0)));
                }
            INFO("picture ", number, " scale ", scale);
            CHECK(worst <= kTolerance);
            CHECK(inked > 20);
        }
        ++number;
    }
}

TEST_CASE("red and blue are exchanged in a bitmap, its fourth byte counts, or the banner is another") {
    const std::vector<std::uint8_t> pixels = {10, 200, 90, 0, 10, 200, 90, 255,
                                              10, 200, 90, 0, 10, 200, 90, 128};
    checkProbes(
        "bitmap",
        painted(60, 60, 1,
                [&](RenderTarget* target) {
                    const BitmapHolder bitmap = createPreviewBitmap(target, pixels.data(), 2, 2);
                    drawBitmap(target, bitmap.get(), {10, 10, 50, 50});
                }),
        1,
        {{30, 30, {90, 200, 10}}, {12, 12, {90, 200, 10}}, {48, 47, {90, 200, 10}}, {51, 30, {32, 32, 36}}});
    checkProbes("banner",
                painted(300, 60, 2,
                        [](RenderTarget* target) {
                            const BitmapHolder banner = loadBannerBitmap(target, kBannerId);
                            REQUIRE(banner);
                            CHECK(bitmapSize(banner.get()).width == 440.0f);
                            CHECK(bitmapSize(banner.get()).height == 80.0f);
                            drawTitleBar(target, nullptr, 300, L"", false, false, banner.get());
                        }),
                2, {{25, 20, {255, 236, 206}}, {18, 9, {24, 24, 27}}, {150, 20, {24, 24, 27}}});
    CHECK_FALSE(loadBannerBitmap(nullptr, kBannerId));
}

TEST_CASE(
    "a widget's text is missing, lies elsewhere, has another colour or changes the rest of the widget") {
    using Label = std::function<void(RenderTarget*, TextFormat*, const wchar_t*)>;
    const auto button = [](bool primary, bool enabled) -> Label {
        return [=](auto* t, auto* format, auto* text) {
            drawButton(t, format, {1, 10, 10, 102, 42, text, primary, false, false, enabled}, 0.0f);
        };
    };
    struct {
        const char* what;
        Label paint;
        RectI place;
        Color color;
        bool centred;
    } const table[] = {
        {"primary", button(true, true), {10, 10, 102, 42}, colorWindow, true},
        {"primary, disabled", button(true, false), {10, 10, 102, 42}, colorTextDim, true},
        {"secondary", button(false, true), {10, 10, 102, 42}, colorText, true},
        {"secondary, disabled", button(false, false), {10, 10, 102, 42}, colorTextDim, true},
        {"check box",
         [](auto* t, auto* f, auto* text) {
             drawCheckBox(t, f, {2, 10, 10, 150, 30, text}, 0.0f);
         },
         {36, 10, 150, 30},
         colorText,
         false},
        {"combo box",
         [](auto* t, auto* f, auto* text) {
             drawComboBox(t, f, {3, 10, 10, 230, 40, text}, 0.0f);
         },
         {22, 10, 202, 40},
         colorText,
         false},
        {"header",
         [](auto* t, auto* f, auto* text) {
             drawSectionHeader(t, f, {10, 10, 200, 24, text});
         },
         {10, 10, 200, 24},
         colorAccent,
         false},
        {"title",
         [](auto* t, auto* f, auto* text) { drawTitleBar(t, f, 300, text, false, false, nullptr); },
         {18, 0, 240, 40},
         colorAccent,
         false},
    };
    constexpr int kScale = 2, kSlack = 2, kBearing = 5;  // device pixels; a glyph keeps off its own edges
    painted(10, 10, 1, [](RenderTarget*) {});
    const TextFormatHolder format = createTextFormat(kFontFamily, 12.0f, 600);
    REQUIRE(format);
    for (const auto& row : table)
        for (const bool isLong : {false, true}) {
            const std::wstring text = isLong ? std::wstring(60, L'H') : L"HIH";
            const auto picture = [&](TextFormat* f) {
                return painted(300, 60, kScale, [&](RenderTarget* t) { row.paint(t, f, text.c_str()); });
            };
            const Picture bare = picture(nullptr), full = picture(format.get());
            RectI ink{bare.width, bare.width, 0, 0};
            int nearest = 255;  // the nearest that a pixel comes to the text's colour
            for (int y = 0; y < 60 * kScale; ++y)
                for (int x = 0; x < bare.width; ++x) {
                    int change = 0, distance = 0;
                    const float wanted[] = {row.color.r, row.color.g, row.color.b};
                    for (int channel = 0; channel < 3; ++channel) {
                        const int found = full.at(x, y, channel);
                        change |= found ^ bare.at(x, y, channel);
                        distance = std::max(
                            distance, std::abs(found - static_cast<int>(wanted[channel] * 255.0f + 0.5f)));
                    }
                    if (!change) continue;
                    ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x + 1),
                           std::max(ink.bottom, y + 1)};
                    nearest = std::min(nearest, distance);
                }
            const RectI place{row.place.left * kScale, row.place.top * kScale, row.place.right * kScale,
                              row.place.bottom * kScale};
            INFO(row.what, isLong ? ", long" : "", ": ", ink.left, " ", ink.top, " ", ink.right, " ",
                 ink.bottom);
            CHECK(nearest <= kTolerance);
            CHECK(ink.top >= place.top - kSlack);
            CHECK(ink.bottom <= place.bottom + kSlack);
            CHECK(std::abs(ink.top + ink.bottom - place.top - place.bottom) <=
                  10);                                           // capitals sit a little low
            if (isLong && !gallery::paintsSmoothly()) continue;  // nothing is clipped there
            CHECK(ink.left >= place.left - kSlack);
            CHECK(ink.right <= place.right + kSlack);
            if (isLong) CHECK(ink.right >= place.right - 20);
            if (row.centred)
                CHECK(std::abs(ink.left + ink.right - place.left - place.right) <= 2 * kSlack);
            else
                CHECK(ink.left <= place.left + kBearing);
        }
}

TEST_CASE("a text leaves its rectangle, or takes the alignment of the draw before") {
    painted(10, 10, 1, [](RenderTarget*) {});
    for (const TextAlign align : {TextAlign::trailing, TextAlign::leading, TextAlign::centre}) {
        // Pixels that the text touched, in columns of 20.
        std::vector<int> ink(16);
        const TextFormatHolder format = createTextFormat(kFontFamily, 13.0f, 400);
        REQUIRE(format);
        const Picture picture = painted(320, 40, 1, [&](RenderTarget* target) {
            const BrushHolder brush = createColorBrush(target, colorText);
            const BrushHolder ground = createColorBrush(target, colorWindow);
            drawSingleLineText(target, L"Veil", {0, 0, 320, 40}, format.get(), brush.get(),
                               TextAlign::trailing, ParagraphAlign::top);
            drawWrappedText(target, L"Veil", {100, 0, 320, 40}, format.get(), brush.get());
            fillRectangle(target, {0, 0, 320, 40}, ground.get());
            drawSingleLineText(target, L"Veil", {40, 0, 160, 40}, format.get(), brush.get(), align,
                               ParagraphAlign::centre);
            drawSingleLineText(target, L"One long line that does not fit into its place at all",
                               {200, 0, 280, 40}, format.get(), brush.get(), TextAlign::leading,
                               ParagraphAlign::centre);
        });
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 320; ++x) ink[static_cast<std::size_t>(x / 20)] += picture.at(x, y, 0) > 100;
        INFO("alignment ", static_cast<int>(align));
        CHECK((ink[2] > 0) == (align == TextAlign::leading));
        CHECK((ink[4] + ink[5] > 0) == (align == TextAlign::centre));
        CHECK((ink[7] > 0) == (align == TextAlign::trailing));
        CHECK(ink[1] + ink[8] + ink[9] == 0);
        if (gallery::paintsSmoothly()) CHECK(ink[14] + ink[15] == 0);
        CHECK(ink[13] > 0);
    }
}

TEST_CASE(
    "after a lost target the sheet, its bitmaps or its text come out otherwise, or can't be made anew") {
    painted(10, 10, 1, [](RenderTarget*) {});
    const std::vector<std::uint8_t> preview = {10, 200, 90, 0, 250, 20, 30, 0};
    const TextFormatHolder format = createTextFormat(kFontFamily, 13.0f, 600);  // outlives the targets
    const gallery::Sheet& sheet = gallery::sheets().front();
    struct Scene {
        RenderTargetHolder target;
        BitmapHolder banner, preview;  // released before their target
    };
    const auto make = [&](float scale) {
        Scene scene{createImageRenderTarget(windowSizePx(sheet.widthDip, scale),
                                            windowSizePx(sheet.heightDip, scale), scale),
                    nullptr, nullptr};
        scene.banner = loadBannerBitmap(scene.target.get(), kBannerId);
        scene.preview = createPreviewBitmap(scene.target.get(), preview.data(), 2, 1);
        REQUIRE((scene.target && scene.banner && scene.preview));
        return scene;
    };
    const auto paint = [&](const Scene& scene, float scale) {
        RenderTarget* const target = scene.target.get();
        beginDraw(target);
        clearTarget(target, colorWindow);
        sheet.paint(target, scale, gallery::Language::japanese);
        drawTitleBar(target, format.get(), 300, L"Veil", true, false, scene.banner.get());
        drawBitmap(target, scene.preview.get(), {700, 10, 760, 40});
        return endDraw(target);
    };
    for (const float scale : {1.0f, 1.5f}) {
        INFO("scale ", scale);
        Scene scene = make(scale);
        REQUIRE(paint(scene, scale) == FrameResult::shown);
        const std::vector<std::uint8_t> before = imagePixels(scene.target.get());
        const Picture picture{windowSizePx(sheet.widthDip, scale), before};
        checkProbes("preview", picture, scale, {{705, 20, {90, 200, 10}}, {755, 20, {30, 20, 250}}});
        checkProbes("banner", picture, scale, {{25, 20, {255, 236, 206}}});

        loseTarget(nullptr);
        loseTarget(scene.target.get());
        CHECK(paint(scene, scale) == FrameResult::targetLost);
        scene.banner.reset();
        scene.preview.reset();
        scene.target.reset();
        {  // A window that came back on another screen.
            const Scene elsewhere = make(2.0f);
            CHECK(paint(elsewhere, 2.0f) == FrameResult::shown);
        }
        scene = make(scale);
        REQUIRE(paint(scene, scale) == FrameResult::shown);
        CHECK((imagePixels(scene.target.get()) == before));
    }
}
