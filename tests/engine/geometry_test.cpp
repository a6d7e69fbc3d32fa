#include "engine/geometry.h"

#include <doctest/doctest.h>

#include <limits>
#include <tuple>

#include "tests/reference/reference_engine.h"

using namespace veil;

namespace {

RenderSettings settingsOf(float radius, float wideScale, float boost, bool anamorphic) {
    return {.radius = radius, .anamorphic = anamorphic, .wideScale = wideScale, .highlightBoost = boost};
}

bool isInside(const Rect& r, int width, int height) {
    return r.x0 >= 0 && r.y0 >= 0 && r.x1 <= width && r.y1 <= height && !r.isEmpty();
}

auto valuesOf(const RenderSettings& s) {
    return std::tuple(s.threshold, s.radius, s.strength, s.tintR, s.tintG, s.tintB, s.anamorphic, s.fog,
                      s.wideScale, s.glowSaturation, s.highlightBoost, s.shadowProtect, s.outputGlowOnly);
}

}  // namespace

TEST_CASE("a look has its character, and only the streak keeps blur and boost without advanced mode") {
    constexpr LookCharacter kLooks[] = {{1.0f, 0.94f, 0.88f, 2.4f, false},
                                        {1.0f, 0.78f, 0.45f, 2.0f, false},
                                        {1.0f, 1.0f, 1.0f, 2.2f, false},
                                        {0.55f, 0.75f, 1.0f, 8.0f, true}};
    for (const int id : {0, 1, 2, 3, 4, 32767, -1, -32768}) {
        for (const int flag : {0, 1, -1, 256}) {
            INFO("preset id ", id, ", both switches ", flag);
            const auto bits = static_cast<std::int16_t>(flag), look16 = static_cast<std::int16_t>(id);
            const VeilParams block{look16, -1, 0.11f, 222.0f, 0.33f, 0.44f, 0.55f, 0.66f, 0.77f, bits, bits};
            const LookCharacter look = kLooks[id >= 0 && id < 4 ? id : 0];
            const bool kept = flag != 0 || id == 3;
            CHECK(valuesOf(makeRenderSettings(block)) ==
                  std::tuple(0.11f, 222.0f, 0.33f, look.tintR, look.tintG, look.tintB, id == 3, 0.44f,
                             kept ? look.wideScale : 1.0f, 0.66f, kept ? 0.55f : 0.0f, 0.77f, flag != 0));
        }
    }
}

TEST_CASE("a working plane is a quarter, cut off, and never below 8") {
    const int table[][2] = {{1, 8},  {31, 8}, {32, 8},      {35, 8},
                            {36, 9}, {39, 9}, {5099, 1274}, {300000, 75000}};
    for (const auto& t : table) CHECK(workingSize(t[0]) == t[1]);
}

TEST_CASE("the reach follows the wider blur, its caps and the boost") {
    const struct {
        float radius, wideScale, boost;
        bool anamorphic;
        float reach, workingRadius;
    } table[] = {{180.0f, 1.0f, 0.0f, false, 180.0f, 45.0f},  {140.0f, 8.0f, 0.0f, true, 1120.0f, 35.0f},
                 {600.0f, 2.4f, 0.5f, false, 784.0f, 150.0f}, {600.0f, 8.0f, 0.5f, true, 4816.0f, 150.0f},
                 {0.0f, 1.0f, 0.0f, false, 2.0f, 0.5f},       {1.0f, 1.0f, 0.0f, false, 2.0f, 0.5f},
                 {-5.0f, 1.0f, 0.0f, false, 2.0f, 0.5f},      {2.5f, 1.0f, 0.0f, false, 2.5f, 0.625f},
                 {600.0f, 1.0f, 0.0f, false, 600.0f, 150.0f}, {5000.0f, 1.0f, 0.0f, false, 600.0f, 150.0f},
                 {100.0f, 1.0f, 0.5f, false, 216.0f, 25.0f},  {100.0f, 0.5f, 0.0f, false, 100.0f, 25.0f},
                 {100.0f, 1.0f, -1.0f, false, 100.0f, 25.0f}, {600.0f, 11.0f, 0.0f, true, 6000.0f, 150.0f},
                 {384.0f, 1.5f, 1e-9f, false, 784.0f, 96.0f}, {320.0f, 2.4f, 0.0f, false, 768.0f, 80.0f}};
    for (const auto& t : table) {
        INFO("radius ", t.radius, ", wide scale ", t.wideScale, ", boost ", t.boost, ", streak ",
             t.anamorphic);
        const RenderSettings s = settingsOf(t.radius, t.wideScale, t.boost, t.anamorphic);
        CHECK(effectMargin(s) == t.reach);
        CHECK(workingRadius(s) == t.workingRadius);
    }
}

TEST_CASE("a tile asks for its reach, a streak for little above and below, up to the image's edge") {
    const RenderSettings bloom = settingsOf(180.0f, 1.0f, 0.0f, false);
    const RenderSettings streak = settingsOf(140.0f, 8.0f, 0.0f, true);
    const struct {
        const RenderSettings& settings;
        int width, height;
        Rect tile, working, required;
    } table[] = {
        {bloom, 4000, 3000, {512, 0, 1024, 512}, {80, 0, 304, 176}, {319, 0, 1217, 705}},
        {streak, 4000, 3000, {512, 0, 1024, 512}, {0, 0, 539, 130}, {0, 0, 2157, 521}},
        {streak, 4000, 3000, {512, 512, 1024, 1024}, {0, 126, 539, 258}, {0, 503, 2157, 1033}},
        {streak, 4000, 3000, {3968, 2976, 4000, 3000}, {709, 742, 1000, 750}, {2835, 2967, 4000, 3000}},
        {bloom, 1, 1, {0, 0, 1, 1}, {0, 0, 8, 8}, {0, 0, 1, 1}}};
    for (const auto& t : table) {
        INFO("tile at ", t.tile.x0, ", ", t.tile.y0, " of ", t.width, " by ", t.height);
        CHECK(workingRect(t.tile, t.width, t.height, t.settings) == t.working);
        CHECK(requiredInputRect(t.tile, t.width, t.height, t.settings) == t.required);
    }
}

TEST_CASE("rectangles of all kinds of tiles are the reference's and lie inside, also under a NaN") {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const RenderSettings kinds[] = {
        settingsOf(2.0f, 1.0f, 0.0f, false),   settingsOf(45.3f, 1.0f, 0.0f, true),
        settingsOf(180.0f, 2.4f, 0.7f, false), settingsOf(600.0f, 8.0f, 0.0f, true),
        settingsOf(kNan, 1.0f, 0.0f, false),   settingsOf(kNan, 8.0f, kNan, true)};
    for (const RenderSettings& s : kinds) {
        for (const int size : {1, 3, 7, 31, 32, 33, 513, 1030, 5099, 5267, 30001}) {
            for (int i = 0; i < 40; ++i) {
                const int x0 = size * i / 41, x1 = x0 + 1 + (size - x0 - 1) * (i % 7) / 6;
                const Rect tile{x0, size - x1, x1, size - x0};
                INFO("size ", size, ", tile from ", x0, " to ", x1, ", radius ", s.radius);
                const Rect working = workingRect(tile, size, size, s);
                const Rect required = requiredInputRect(tile, size, size, s);
                REQUIRE(isInside(working, workingSize(size), workingSize(size)));
                REQUIRE(isInside(required, size, size));
                if (s.radius != s.radius) continue;
                REQUIRE(working == reference::workingRect(tile, size, size, s));
                REQUIRE(required == reference::requiredInputRect(tile, size, size, s));
            }
        }
    }
}
