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

// Places in DIPs.
void drawControls(RenderTarget* t) {
    drawButton(t, nullptr, {1, 10, 10, 102, 42, L"", true, false, true}, 1.0f);
    drawButton(t, nullptr, {1, 110, 10, 202, 42, L""}, 0.0f);
    drawCheckBox(t, nullptr, {2, 210, 10, 290, 30, L"", true}, 1.0f);
    drawComboBox(t, nullptr, {3, 10, 50, 230, 80, L""}, 0.0f);
    drawSlider(t, {4, 10, 90, 110, 112, 0, 100, 50}, 0.5f);
    drawSpinner(t, {{120, 90, 140, 101}, {120, 101, 140, 112}, true, false});
    drawSectionHeader(t, nullptr, {150, 90, 290, 104, L""});
}

void drawWindow(RenderTarget* t) {
    const BitmapHolder banner = loadBannerBitmap(t, kBannerId);
    drawTitleBar(t, nullptr, 300, L"", true, false, banner.get());
    drawWindowFrame(t, 300, 120);
}

}  // namespace

TEST_CASE("a widget's fill, border, mark, thumb or banner has another colour or another place") {
    checkProbes("controls", painted(300, 120, 2, drawControls), 2,
                {{56, 26, {184, 138, 75}},     {10, 10, {32, 32, 36}},       {156, 26, {32, 32, 36}},
                 {156, 9.5, {64, 64, 70}},     {156, 10, {64, 64, 70}},      {156, 11, {32, 32, 36}},
                 {213, 14, {224, 168, 92}},    {216.5, 23.5, {32, 32, 36}},  {219.5, 20, {32, 32, 36}},
                 {218, 26.5, {224, 168, 92}},  {100, 65, {44, 44, 49}},      {100, 50, {64, 64, 70}},
                 {212, 65, {150, 150, 158}},   {215.5, 65, {150, 150, 158}}, {214, 63, {44, 44, 49}},
                 {20, 101, {154, 111, 58}},    {39, 101, {187, 138, 74}},    {65.5, 101, {224, 168, 92}},
                 {67, 101, {32, 32, 36}},      {90, 101, {44, 44, 49}},      {90, 103, {32, 32, 36}},
                 {124, 93, {57, 57, 61}},      {124, 109, {44, 44, 49}},     {124, 101, {64, 64, 70}},
                 {128, 96.5, {150, 150, 158}}, {130, 106, {150, 150, 158}},  {130, 110, {44, 44, 49}},
                 {200, 109.5, {64, 64, 70}},   {200, 110.5, {32, 32, 36}},   {295, 110, {32, 32, 36}}});
    checkProbes("window", painted(300, 120, 1, drawWindow), 1,
                {{150, 20, {24, 24, 27}},
                 {280, 9, {188, 58, 58}},
                 {280, 20, {255, 255, 255}},
                 {50, 0, {90, 68, 42}},
                 {299, 50, {90, 68, 42}},
                 {298, 50, {32, 32, 36}},
                 {0, 119, {90, 68, 42}},
                 {25, 20, {255, 236, 206}}});
}

TEST_CASE(
    "after a lost target the sheet, its bitmaps or its text come out otherwise, or can't be made anew") {
    painted(10, 10, 1, [](RenderTarget*) {});
    const std::vector<std::uint8_t> preview = {10, 200, 90, 0, 250, 20, 30, 0};
    const TextFormatHolder format = createTextFormat(kFontFamily, 13.0f, 600);  // outlives the targets
    struct Scene {
        RenderTargetHolder target;
        BitmapHolder banner, preview;  // released before their target
    };
    const auto make = [&](float scale) {
        Scene scene{createImageRenderTarget(windowSizePx(gallery::kSheetWidth, scale),
                                            windowSizePx(gallery::kSheetHeight, scale), scale),
                    nullptr, nullptr};
        scene.banner = loadBannerBitmap(scene.target.get(), kBannerId);
        scene.preview = createPreviewBitmap(scene.target.get(), preview.data(), 2, 1);
        REQUIRE((scene.target && scene.banner && scene.preview));
        return scene;
    };
    const auto paint = [&](const Scene& scene) {
        RenderTarget* const target = scene.target.get();
        beginDraw(target);
        clearTarget(target, colorWindow);
        gallery::paintSheet(target, gallery::Language::japanese);
        drawTitleBar(target, format.get(), 300, L"Veil", true, false, scene.banner.get());
        drawBitmap(target, scene.preview.get(), {700, 10, 760, 40});
        return endDraw(target);
    };
    for (const float scale : {1.0f, 1.5f}) {
        INFO("scale ", scale);
        Scene scene = make(scale);
        REQUIRE(paint(scene) == FrameResult::shown);
        const std::vector<std::uint8_t> before = imagePixels(scene.target.get());
        const Picture picture{windowSizePx(gallery::kSheetWidth, scale), before};
        checkProbes("preview", picture, scale, {{705, 20, {90, 200, 10}}, {755, 20, {30, 20, 250}}});
        checkProbes("banner", picture, scale, {{25, 20, {255, 236, 206}}});

        loseTarget(nullptr);
        loseTarget(scene.target.get());
        CHECK(paint(scene) == FrameResult::targetLost);
        scene.banner.reset();
        scene.preview.reset();
        scene.target.reset();
        {  // A window that came back on another screen.
            const Scene elsewhere = make(2.0f);
            CHECK(paint(elsewhere) == FrameResult::shown);
        }
        scene = make(scale);
        REQUIRE(paint(scene) == FrameResult::shown);
        CHECK((imagePixels(scene.target.get()) == before));
    }
}
