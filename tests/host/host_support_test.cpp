#include "host/host_support.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <tuple>

#include "engine/geometry.h"
#include "engine/render.h"
#include "host/apply_driver.h"
#include "host/pixel_transfer.h"
#include "host/plugin_main.h"
#include "host/plugin_state.h"
#include "presets/builtin_presets.h"
#include "tests/host/runs.h"

TEST_CASE("rectangles use the width that was agreed on and leave the other one alone") {
    const auto numbers = [](const auto& r) { return std::vector<int>{r.top, r.left, r.bottom, r.right}; };
    const std::vector<int> old(4, 7), set{-5, 40000, 70000, -3}, cut{-5, 40000 - 65536, 70000 - 65536, -3};
    for (const int flag : {-1, 0, 1, 0x100}) {  // -1: no structure at all
        INFO("flag ", flag);
        const bool wide = flag > 0;
        photoshop::FilterRecord record{};
        photoshop::BigDocumentStruct big{
            flag, {}, {-100000, 5, 100000, 6}, {7, 7, 7, 7}, {7, 7, 7, 7}, {7, 7, 7, 7}, {}, {}};
        record.filterRect = {-32768, -1, 32767, 9};
        record.inRect = record.outRect = record.maskRect = {7, 7, 7, 7};
        record.bigDocumentData = flag == -1 ? nullptr : &big;
        veil::gFilterRecord = &record;
        CHECK(numbers(veil::getFilterRect()) ==
              (wide ? std::vector{-100000, 5, 100000, 6} : std::vector{-32768, -1, 32767, 9}));
        for (const auto& setRect : {veil::setInRect, veil::setOutRect, veil::setMaskRect})
            setRect({-5, 40000, 70000, -3});
        CHECK(numbers(veil::getInRect()) == (wide ? set : cut));
        CHECK(numbers(veil::getOutRect()) == (wide ? set : cut));
        for (const auto& r : {record.inRect, record.outRect, record.maskRect})
            CHECK(numbers(r) == (wide ? old : cut));
        for (const auto& r : {big.inRect32, big.outRect32, big.maskRect32})
            CHECK(numbers(r) == (wide ? set : old));
        veil::gFilterRecord = nullptr;
    }
}

TEST_CASE("Prepare lowers the host's memory limit to that of the largest tile, and never raises it") {
    const std::tuple<int, int, std::int32_t, std::int32_t> table[] = {
        {100, 100, 0x7FFFFFFF, 1775554752},   {2048, 2048, 0x7FFFFFFF, 2147483647},
        {5000, 3000, 0x7FFFFFFF, 2147483647}, {300, 1, 0x7FFFFFFF, 1790059920},
        {100, 100, 1775554751, 1775554751},   {100, 100, 4096, 4096}};
    for (const auto& [width, height, offered, expected] : table) {
        INFO(width, " x ", height, " offered ", offered);
        const standin::HostOptions options{
            .filterRect = standin::PixelRect{40007, -9, 40007 + width, -9 + height}, .maxSpace = offered};
        standin::HostSession session(hosttest::plugin(), hosttest::picture(4, 4), options);
        CHECK(session.call(photoshop::filterSelectorPrepare) == photoshop::noErr);
        CHECK(session.record().maxSpace == expected);
        CHECK(session.record().bufferSpace == 0);
    }
}

TEST_CASE("tiles take the host's size up to a cap that grows with the reach") {
    const std::tuple<std::int16_t, float, int, int, int, int, int, int, int> table[] = {
        {0, 100.0f, 1030, 513, 1024, 1024, 512, 512, 6},
        {0, 106.0f, 600, 600, 4000, 4000, 512, 512, 4},
        {0, 107.0f, 600, 600, 4000, 4000, 1024, 1024, 1},
        {0, 107.0f, 600, 600, 128, 1000, 128, 1000, 5},
        {0, 9999.0f, 2050, 9, 32767, 64, 2048, 64, 2},
        {3, 600.0f, 30, 20, 4000, 7, 2048, 7, 3},
        {0, 2.0f, 3, 1, 1, 7, 1, 7, 3}};
    for (const auto& [look, radius, width, height, hostWidth, hostHeight, tileWidth, tileHeight, count] :
         table) {
        INFO("radius ", radius, " plane ", width, " x ", height);
        veil::RenderSettings settings = veil::builtinPresetSettings(look);
        settings.radius = radius;
        const veil::TilePlan plan = veil::planTiles(width, height, hostWidth, hostHeight, settings);
        CHECK((plan.tileWidth == tileWidth && plan.tileHeight == tileHeight && plan.count() == count));
    }
}

// The driver goes from the top left; a run the other way round, without its loops and its pool, gives the
// same bytes.
TEST_CASE(
    "each tile is rendered from its own margin on the plane of the filter rectangle, whatever the order") {
    const standin::Image image = hosttest::picture(150, 90);
    standin::Image filtered = image, expected = image;
    hosttest::checkedRun(
        filtered, hosttest::kEffect,
        {.tileWidth = 64, .tileHeight = 32, .filterRect = standin::PixelRect{10, 5, 150, 85}});
    const veil::RenderSettings settings = veil::makeRenderSettings(hosttest::kEffect);
    for (int i = 8; i >= 0; --i) {
        const veil::Rect tile{i % 3 * 64, i / 3 * 32, std::min(i % 3 * 64 + 64, 140),
                              std::min(i / 3 * 32 + 32, 80)};
        const veil::Rect need = veil::requiredInputRect(tile, 140, 80, settings);
        std::vector<float> input, output;
        veil::readPixels(image.row(need.y0 + 5) + (need.x0 + 10) * 3, 450, need, 8, input);
        veil::renderVeil(input.data(), need, tile, 140, 80, settings, output, nullptr);
        veil::writePixels(output, expected.row(tile.y0 + 5) + (tile.x0 + 10) * 3, 450, tile.width(),
                          tile.height(), 8);
    }
    CHECK(filtered != image);
    CHECK(filtered == expected);
}

TEST_CASE("a built-in look renders the same from the table as from a block that holds its values") {
    const auto all = [](const veil::RenderSettings& s) {
        return std::tuple(s.threshold, s.radius, s.strength, s.tintR, s.tintG, s.tintB, s.anamorphic, s.fog,
                          s.wideScale, s.glowSaturation, s.highlightBoost, s.shadowProtect, s.outputGlowOnly);
    };
    for (const int id : {0, 1, 2, 3, 4, 7, -1, 32767, -32768}) {
        INFO("look ", id);
        const auto presetId = static_cast<std::int16_t>(id);
        const veil::RenderSettings s = veil::builtinPresetSettings(presetId);
        CHECK(all(s) ==
              all(veil::makeRenderSettings({presetId, 0, s.threshold, s.radius, s.strength, s.fog,
                                            s.highlightBoost, s.glowSaturation, s.shadowProtect, 1, 0})));
    }
}
