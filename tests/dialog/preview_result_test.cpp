// The preview beside the result of the run that it belongs to, a few of the figures in docs/preview.md.

#include <doctest/doctest.h>

#include <string>

#include "presets/builtin_presets.h"
#include "standin/veil/scene.h"
#include "tests/dialog/preview_runs.h"

namespace {

struct Bound {
    std::int16_t look;
    std::int16_t glowOnly;
    double mean;
    int greatest;
};

void checkPreviews(const standin::Image& image, const std::vector<Bound>& bounds, int scale) {
    for (const Bound& bound : bounds) {
        veil::VeilParams params = veil::builtinPresetParams(bound.look);
        params.outputGlowOnly = bound.glowOnly;
        const auto comparison =
            previewtest::comparePreview(image, params, image.width / scale, image.height / scale);
        CHECK(comparison.scale == scale);
        for (const previewtest::Difference& d : {comparison.everyNth, comparison.averaged}) {
            INFO("look ", bound.look, " glow only ", bound.glowOnly, " mean ", d.mean, " greatest ",
                 d.greatest);
            CHECK(d.mean <= bound.mean);
            CHECK(d.greatest <= bound.greatest);
        }
    }
}

}  // namespace

TEST_CASE("without a reduction the preview is the result to the bit") {
    checkPreviews(standin::renderNightScene(263, 130, 8),
                  {{0, 0, 0.0, 0}, {1, 1, 0.0, 0}, {2, 0, 0.0, 0}, {3, 1, 0.0, 0}}, 1);
}

// Measured, with a third of room. A blur with another radius, the other output or a picture that is moved by
// a pixel goes beyond.
TEST_CASE("a reduced preview stays near the result") {
    checkPreviews(standin::renderNightScene(1052, 520, 8),
                  {{0, 0, 0.5, 7}, {0, 1, 0.6, 8}, {2, 0, 1.05, 14}, {3, 0, 2.5, 98}}, 4);
    checkPreviews(standin::renderSkyGradient(1052, 520, 8),
                  {{0, 0, 0.2, 3}, {1, 1, 0.42, 10}, {2, 0, 0.4, 4}, {3, 0, 0.19, 6}}, 4);
}
