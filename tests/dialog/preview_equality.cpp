// How far the preview is from the result that it stands for: for each look, picture and reduction, as a
// Markdown table. The pictures are `scale` times 526 by 260, the preview's area at 100 %.

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "presets/builtin_presets.h"
#include "standin/veil/scene.h"
#include "tests/dialog/preview_runs.h"

namespace {

constexpr int kWidth = 526, kHeight = 260, kLargestScale = 16;

void printDifference(const previewtest::Difference& d) { std::printf(" %d, %.2f |", d.greatest, d.mean); }

void printTable(const char* name, standin::Image (*render)(int, int, int), float radius) {
    std::printf("\n%s", name);
    if (radius > 0.0f) std::printf(", radius %g", static_cast<double>(radius));
    std::printf("\n\n| scale |");
    for (std::int16_t look = 0; look < veil::kBuiltinLookCount; ++look)
        std::printf(" %s, every n-th | averaged |", veil::presetName(look));
    std::printf("\n|---|");
    for (int column = 0; column < 2 * veil::kBuiltinLookCount; ++column) std::printf("---|");
    for (int scale = 1; scale <= kLargestScale; ++scale) {
        const standin::Image image = render(kWidth * scale, kHeight * scale, 8);
        std::printf("\n| %d |", scale);
        for (std::int16_t look = 0; look < veil::kBuiltinLookCount; ++look) {
            veil::VeilParams params = veil::builtinPresetParams(look);
            if (radius > 0.0f) params.radius = radius;
            const auto comparison = previewtest::comparePreview(image, params, kWidth, kHeight);
            if (comparison.scale != scale) throw std::runtime_error("another scale");
            printDifference(comparison.everyNth);
            printDifference(comparison.averaged);
        }
        std::fflush(stdout);
    }
    std::printf("\n");
}

}  // namespace

// usage: preview_equality [RADIUS]; without it, that of each look.
int main(int argc, char** argv) {
    try {
        const float radius = argc > 1 ? std::strtof(argv[1], nullptr) : 0.0f;
        std::printf("Greatest and mean difference in 8-bit levels\n");
        printTable("Night scene", standin::renderNightScene, radius);
        printTable("Smooth sky", standin::renderSkyGradient, radius);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "preview_equality: %s\n", error.what());
        return 1;
    }
}
