#include "engine/render.h"

#include <doctest/doctest.h>

#include <limits>

#include "engine/geometry.h"
#include "tests/engine/pictures.h"

using namespace veil;
using pictures::largestDifference;
using pictures::Picture;

namespace {

struct Case {
    const char* name;
    VeilParams params;
};

// presetId, reserved, threshold, radius, strength, fog, highlightBoost, glowSaturation, shadowProtect,
// advancedMode, outputGlowOnly. A radius of 180 and the wide scale 2.4 of look 0 make 108.000008 on the
// working plane.
const Case kCases[] = {
    {"look 0", {0, 0, 0.0f, 180.0f, 0.7f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 0}},
    {"look 1", {1, 0, 0.0f, 100.0f, 0.9f, 0.06f, 0.0f, 0.6f, 0.2f, 0, 1}},
    {"look 2", {2, 0, 0.3f, 180.0f, 1.2f, 0.2f, 0.0f, 1.0f, 0.0f, 0, 0}},
    {"look 3", {3, 0, 0.75f, 140.0f, 1.6f, 0.35f, 0.0f, 1.1f, 0.0f, 0, 1}},
    {"look 0 with boost", {0, 0, 0.0f, 180.0f, 0.7f, 0.18f, 0.6f, 1.0f, 0.2f, 1, 0}},
    {"look 1 with boost", {1, 0, 0.4f, 61.7f, 0.9f, 0.06f, 1.0f, 1.6f, 0.2f, 1, 1}},
    {"look 2, wide only", {2, 0, 0.3f, 12.3f, 1.2f, 0.5f, 0.0f, 1.0f, 0.0f, 1, 0}},
    {"look 3 with boost", {3, 0, 0.5f, 40.0f, 1.6f, 0.35f, 0.8f, 1.1f, 0.5f, 0, 0}},
    {"least radius", {2, 0, 0.2f, 0.0f, 1.0f, 0.1f, 0.5f, 1.0f, 0.0f, 1, 1}},
    {"greatest radius", {2, 0, 0.0f, 5000.0f, 1.0f, 0.1f, 0.5f, 1.3f, 0.0f, 1, 0}},
};

/// Roundings of 6e-8 through blurs and knees come to 4e-7; a wrong neighbour moves these pictures by 1e-5 and
/// more. The streak's running sums are floats and drift: in steps of 3e-5 on narrow pictures, of 1.2e-4 on
/// the widest, three times over, of which 3e-6 and 2e-5 arrive.
double toleranceFor(const Picture& picture, const RenderSettings& settings) {
    return !settings.anamorphic ? 1e-6 : picture.width > 600 ? 5e-5 : 5e-6;
}

std::vector<float> render(const Picture& picture, const Rect& input, const Rect& output,
                          const RenderSettings& settings, WorkerPool* pool) {
    std::vector<float> result(5, 9.0f);
    renderVeil(picture.crop(input).data(), input, output, picture.width, picture.height, settings, result,
               pool);
    return result;
}

std::vector<float> renderTile(const Picture& picture, const Rect& tile, const RenderSettings& settings,
                              WorkerPool* pool) {
    return render(picture, requiredInputRect(tile, picture.width, picture.height, settings), tile, settings,
                  pool);
}

std::vector<Rect> tilesOf(const Picture& picture, int size) {
    std::vector<Rect> tiles;
    for (int y = 0; y < picture.height; y += size)
        for (int x = 0; x < picture.width; x += size)
            tiles.push_back({x, y, std::min(x + size, picture.width), std::min(y + size, picture.height)});
    return tiles;
}

void checkWhole(const char* name, const Picture& p, const Case& c) {
    INFO(name, " of ", p.width, " by ", p.height, ", ", c.name);
    const RenderSettings settings = makeRenderSettings(c.params);
    const auto expected = referenceRender(p.samples, p.rect(), p.rect(), p.width, p.height, settings);
    CHECK(largestDifference(render(p, p.rect(), p.rect(), settings, nullptr), expected) <
          toleranceFor(p, settings));
}

}  // namespace

TEST_CASE("whole pictures are the reference's at every size, also where exact positions would differ") {
    for (const Case& c : kCases) {
        const int sizes[][2] = {{1, 1}, {3, 5}, {31, 33}, {150, 97}, {5099, 9}, {5267, 9}};
        for (const auto& [width, height] : sizes) {
            checkWhole("night", pictures::nightScene(width, height), c);
            checkWhole("sky", pictures::skyGradient(width, height), c);
            if (width > 150) continue;
            checkWhole("black", pictures::even(width, height, 0.0f), c);
            checkWhole("white", pictures::even(width, height, 1.0f), c);
            checkWhole("single lights", pictures::singleLights(width, height), c);
        }
    }
    checkWhole("night", pictures::nightScene(513, 1030), kCases[4]);
    checkWhole("night", pictures::nightScene(513, 1030), kCases[7]);
}

TEST_CASE("each tile is the reference's, has input enough, and comes out alike in any order on any threads") {
    const Picture night = pictures::nightScene(310, 220);
    const std::vector<Rect> tiles = tilesOf(night, 123);
    for (const Case& c : kCases) {
        const RenderSettings settings = makeRenderSettings(c.params);
        std::vector<std::vector<float>> results;
        for (const Rect& tile : tiles) {
            INFO(c.name, ", tile at ", tile.x0, ", ", tile.y0);
            results.push_back(renderTile(night, tile, settings, nullptr));
            const Rect input = requiredInputRect(tile, night.width, night.height, settings);
            const auto expected =
                referenceRender(night.crop(input), input, tile, night.width, night.height, settings);
            CHECK(largestDifference(results.back(), expected) < toleranceFor(night, settings));
            // The same bytes from the whole picture: nothing outside the required input is read.
            CHECK(results.back() == render(night, night.rect(), tile, settings, nullptr));
        }
        for (int workers = 0; workers <= 7; ++workers) {
            INFO(c.name, ", workers ", workers);
            WorkerPool pool(workers);
            for (std::size_t i = tiles.size(); i-- > 0;) {
                CHECK(renderTile(night, tiles[i], settings, &pool) == results[i]);
            }
        }
    }
}

TEST_CASE("a NaN in a setting, or an empty rectangle, gives an output of the right size") {
    using S = RenderSettings;
    const Picture night = pictures::nightScene(70, 50);
    float S::*const fields[] = {&S::threshold,     &S::radius, &S::strength,      &S::tintR,
                                &S::tintG,         &S::tintB,  &S::wideScale,     &S::glowSaturation,
                                &S::shadowProtect, &S::fog,    &S::highlightBoost};
    for (const Case& c : kCases) {
        const RenderSettings settings = makeRenderSettings(c.params);
        for (float S::*const field : fields) {
            RenderSettings broken = settings;
            broken.*field = std::numeric_limits<float>::quiet_NaN();
            CHECK(renderTile(night, {20, 10, 50, 40}, broken, nullptr).size() == 30 * 30 * 3);
        }
        CHECK(render(night, night.rect(), {20, 10, 20, 40}, settings, nullptr).empty());
        CHECK(render(night, night.rect(), {20, 30, 40, 10}, settings, nullptr).empty());
    }
}
