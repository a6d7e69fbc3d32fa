// A lost target on the real platforms, with everything on it that belongs to a target.

#include <doctest/doctest.h>

#include <cstdlib>

#include "tests/gallery/sheets.h"
#include "tests/gallery/start.h"
#include "toolkit/theme.h"
#include "toolkit/widgets.h"

using namespace veil;

namespace {

constexpr int kTolerance = 6;  // of 255: rasterisers weigh an edge a little differently

struct Scene {
    float scale;
    const gallery::Sheet& sheet = gallery::sheets().front();
    int width = windowSizePx(sheet.widthDip, scale);
    RenderTargetHolder target = createImageRenderTarget(width, windowSizePx(sheet.heightDip, scale), scale);
    BitmapHolder banner = loadBannerBitmap(target.get(), 3001), preview{};  // released before their target

    explicit Scene(float ofScale) : scale(ofScale) {
        const std::uint8_t pixels[] = {10, 200, 90, 0, 250, 20, 30, 0};
        preview = createPreviewBitmap(target.get(), pixels, 2, 1);
        REQUIRE((target && banner && preview));
        CHECK((bitmapSize(banner.get()).width == 440.0f && bitmapSize(banner.get()).height == 80.0f));
    }
    FrameResult paint(TextFormat* format) const {
        RenderTarget* const t = target.get();
        beginDraw(t);
        clearTarget(t, colorWindow);
        sheet.paint(t, scale, gallery::Language::japanese);
        drawTitleBar(t, format, 300, L"Veil", true, false, banner.get());
        drawBitmap(t, preview.get(), {700, 10, 760, 40});
        return endDraw(t);
    }
    // A probe of the device pixel in which a place in DIPs lies.
    void check(float x, float y, const int (&rgb)[3]) const {
        const std::vector<std::uint8_t> pixels = imagePixels(target.get());
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const std::size_t at = std::size_t(int(y * scale) * width + int(x * scale)) * 4 + 2 - channel;
            INFO(x, ", ", y, " scale ", scale, " channel ", channel);
            CHECK(std::abs(pixels.at(at) - rgb[channel]) <= kTolerance);
        }
    }
};

}  // namespace

TEST_CASE(
    "after a lost target the sheet, its bitmaps or its text come out otherwise, or can't be made anew") {
    gallery::startPlatform();
    const TextFormatHolder format = createTextFormat(kFontFamily, 13.0f, 600);  // outlives the targets
    for (const float scale : {1.0f, 1.5f}) {
        std::vector<std::uint8_t> before;
        {
            const Scene scene(scale);
            REQUIRE(scene.paint(format.get()) == FrameResult::shown);
            before = imagePixels(scene.target.get());
            scene.check(705, 20, {90, 200, 10});
            scene.check(755, 20, {30, 20, 250});
            scene.check(25, 20, {255, 236, 206});    // the banner
            scene.check(609, 56, {188, 58, 58});     // the cross's ground
            scene.check(430, 322, {55, 55, 59});     // a hovered combo box
            scene.check(252, 142, {228, 178, 112});  // a hovered button
            loseTarget(nullptr);
            loseTarget(scene.target.get());
            CHECK(scene.paint(format.get()) == FrameResult::targetLost);
        }
        CHECK(Scene(2.0f).paint(format.get()) == FrameResult::shown);  // it came back on another screen
        const Scene scene(scale);
        REQUIRE(scene.paint(format.get()) == FrameResult::shown);
        CHECK((imagePixels(scene.target.get()) == before));
    }
}
