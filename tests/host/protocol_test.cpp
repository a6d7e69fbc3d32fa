// The built plug-in, loaded by its exported name, in hosts that differ in every way that is no fault.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

#include "tests/host/runs.h"

using namespace standin;
using namespace hosttest;
using photoshop::noErr;

const Plugin& hosttest::plugin() {
    static const Plugin loaded(VEIL_PLUGIN);
    return loaded;
}

namespace {

Image filtered(Image image, const veil::VeilParams& block, const HostOptions& options) {
    CHECK(checkedRun(image, block, options).result == noErr);
    return image;
}

// None of these may show in the pixels.
const HostOptions kHarmless[] = {
    {.bigDocument = false},
    {.clearsBigFlag = true, .haveMask = true},
    {.originX = -40, .originY = -7, .canvas = PixelRect{0, 0, 20, 10}},  // a layer larger than its canvas
    {.originX = 300, .originY = 32700, .canvas = PixelRect{0, 0, 20, 10}},
    {.bigDocument = false, .originX = -32700, .originY = -99},
    {.spareRowBytes = 13},
    {.movingBuffers = false, .outFill = OutFill::rubbish},
    {.movingBuffers = false, .poisonsBuffers = false, .lendsPicture = true},
    {.outFill = OutFill::source, .supportsPadding = false, .firstRate = 0},
    {.overhang = Overhang::error, .nullPlatformData = true},
    {.sameRectangleCache = true, .rubbishInNewHandles = false, .blocksMove = false},
    {.hasAbortProc = false, .hasProgressProc = false, .sendsFinish = false},
};

}  // namespace

TEST_CASE("harmless differences between hosts leave no trace in the pixels") {
    for (const auto& [depth, planes] : {std::pair{8, 3}, {8, 4}, {16, 3}, {16, 4}}) {
        const Image image = picture(61, 37, planes, depth);
        const Image effect = filtered(image, kEffect, {.tileWidth = 32, .tileHeight = 32});
        CHECK(effect != image);
        for (std::size_t i = 0; i < std::size(kHarmless); ++i) {
            INFO("entry ", i, ", depth ", depth, ", planes ", planes);
            HostOptions options = kHarmless[i];
            options.tileWidth = options.tileHeight = 32;
            CHECK(filtered(image, kEffect, options) == effect);
            CHECK(filtered(image, kUnchanged, options) == image);
            options.filterRect = {options.originX + 5, options.originY + 3, options.originX + 50,
                                  options.originY + 30};
            CHECK(filtered(image, kBlack, options) == blackened(image, {5, 3, 50, 30}));
        }
    }
}

TEST_CASE("a host lends its pictures in place where it can, copies where it can't, and undoes either") {
    const std::tuple<OutFill, int, bool, bool> cases[] = {{HostOptions().outFill, 0, true, true},
                                                          {OutFill::rubbish, 0, true, false},
                                                          {HostOptions().outFill, 1, false, false}};
    const Image image = picture(161, 37);  // its rows are longer than what a tile needs
    const Image effect = filtered(image, kEffect, {.tileWidth = 32, .tileHeight = 32});
    for (const auto& [fill, spare, lendsInput, lendsOutput] : cases) {
        INFO("input lent ", lendsInput, ", output lent ", lendsOutput);
        HostOptions options{.movingBuffers = false, .poisonsBuffers = false, .lendsPicture = true};
        options.tileWidth = options.tileHeight = 32;
        options.outFill = fill;
        options.spareRowBytes = spare;
        HostSession session(plugin(), image, options);
        session.storeParameters(kEffect);
        const auto pictureRow = static_cast<std::int32_t>(image.rowBytes());
        for (int run = 0; run < 2; ++run) {
            CHECK(checkedRun(session).result == noErr);
            CHECK(session.image() == effect);
            CHECK((session.record().inRowBytes == pictureRow) == lendsInput);
            CHECK((session.record().outRowBytes == pictureRow) == lendsOutput);
            session.undo();
            CHECK(session.image() == image);
        }
    }
}

// Another tile size may change the glow by a step: each tile makes its glow from its own part of the working
// plane. Where there is no glow, no size may show.
TEST_CASE("tiles of any size cover the area once, row by row, with their mask and the right pixels") {
    const Image image = picture(131, 67);
    const PixelRect area{-4, -9, 127, 58};
    const std::pair<std::int16_t, std::int16_t> sizes[] = {
        {1, 32767}, {32767, 1}, {7, 7}, {128, 32}, {131, 67}};
    for (const auto& [width, height] : sizes) {
        for (const bool haveMask : {false, true}) {
            INFO("tiles of ", width, " x ", height, " mask ", haveMask);
            const HostOptions options{
                .originX = -4, .originY = -9, .tileWidth = width, .tileHeight = height, .haveMask = haveMask};
            std::vector<PixelRect> expected, actual;
            for (int y = area.top; y < area.bottom; y += height)
                for (int x = area.left; x < area.right; x += width)
                    expected.push_back(
                        {x, y, std::min(x + width, area.right), std::min(y + height, area.bottom)});
            Image result = image;
            for (const HostEvent& e : checkedRun(result, kUnchanged, options).events) {
                if (e.kind != HostEvent::Kind::advanceState) continue;
                actual.push_back(e.out);
                CHECK(e.mask == (haveMask ? e.out : PixelRect{}));
            }
            CHECK((actual == expected));
            CHECK(result == image);
            CHECK(filtered(image, kBlack, options) == blackened(image, {0, 0, 131, 67}));
        }
    }
}

TEST_CASE("a picture wider than 16 bits is filtered with 32-bit rectangles and refused without") {
    const Image image = picture(40000, 3);
    for (const bool cuts : {false, true}) {
        INFO("16-bit filter rectangle cut ", cuts);
        const HostOptions wide{.clearsBigFlag = true, .cutsFilterRect = cuts};
        CHECK(filtered(image, kUnchanged, wide) == image);
        CHECK(filtered(image, kBlack, wide) == blackened(image, {0, 0, 40000, 3}));
        Image refused = image;
        const HostOptions narrow{.bigDocument = false, .cutsFilterRect = cuts};
        CHECK(checkedRun(refused, kBlack, narrow).result == photoshop::filterBadParameters);
    }
}

TEST_CASE("the host's mask decides what is taken over, and nothing outside the selection changes") {
    for (const int depth : {8, 16}) {
        const Image image = picture(40, 24, 4, depth);
        HostOptions options{
            .tileWidth = 16, .tileHeight = 16, .haveMask = true, .maskSelection = PixelRect{9, 4, 33, 20}};
        CHECK(filtered(image, kBlack, options) == blackened(image, *options.maskSelection));
        // A soft mask over the bounding box of a selection.
        options.filterRect = PixelRect{3, 2, 38, 21};
        for (int i = 0; i < 40 * 24; ++i) options.mask.push_back(static_cast<std::uint8_t>(i * 37));
        const Image blended = filtered(image, kBlack, options);
        int wrong = 0;
        for (int i = 0; i < 40 * 24; ++i) {
            const int x = i % 40, y = i / 40;
            const bool inside = x >= 3 && x < 38 && y >= 2 && y < 21;
            const int m = inside ? options.mask[i] : 0;
            // The 8-bit blend divides by 256 and cuts off, so it may fall short by nearly two steps.
            const double slack = m == 0 || m == 255 ? 0.0 : depth == 8 ? 2.0 : 0.5;
            for (int c = 0; c < 4; ++c) {
                const double expected = c < 3 ? image.at(x, y, c) * (255 - m) / 255.0 : image.at(x, y, c);
                wrong += std::abs(blended.at(x, y, c) - expected) > slack;
            }
        }
        CHECK(wrong == 0);
    }
}

TEST_CASE("bytes of the block that carry no value have no effect, and odd values act as told") {
    const Image image = picture(48, 48);
    const auto render = [&](const std::function<void(veil::VeilParams&)>& change) {
        veil::VeilParams block = kEffect;
        change(block);
        return filtered(image, block, {});
    };
    const Image look0 = filtered(image, kEffect, {}), look1 = render([](auto&p) { p.presetId = 1; });
    const Image simple = render([](auto& p) { p.advancedMode = 0; });
    const Image glow = render([](auto& p) { p.outputGlowOnly = 1; });
    CHECK((look0 != simple && look0 != glow && look0 != look1));
    CHECK(render([](auto& p) { p.reserved = 0x5AA5; }) == look0);
    for (const std::int16_t odd : std::initializer_list<std::int16_t>{7, 4, -1, 256, 257, -32768}) {
        INFO("value ", odd);
        CHECK(render([&](auto& p) { p.presetId = odd; }) == look0);
        CHECK(render([&](auto& p) { p.advancedMode = odd; }) == look0);
        CHECK(render([&](auto& p) { p.outputGlowOnly = odd; }) == glow);
    }
}
