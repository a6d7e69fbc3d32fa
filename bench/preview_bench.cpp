// A render of the preview, as each move of a slider costs one, for both sizes of its area in device pixels:
// at a scale of 100 and of 200 %.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bench/noise.h"
#include "dialog/preview.h"
#include "dialog/run_main_dialog.h"
#include "presets/builtin_presets.h"

// The host room, in which the record stands, wants one. No call comes here.
bool veil::runMainDialog() { return false; }

namespace {

using namespace veil;

// `scale` divides the radius, and so decides how many taps the blurs have.
void render(benchmark::State& state, const VeilParams& params, int width, int height, int scale) {
    PreviewState preview;
    preview.width = width;
    preview.height = height;
    preview.scale = scale;
    preview.sourcePixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    fillWithNoise(preview.sourcePixels);
    preview.pool = std::make_unique<WorkerPool>(defaultWorkerCount());
    for (auto _ : state) renderPreview(preview, params, false);
    benchmark::DoNotOptimize(preview.displayPixels.data());
}

VeilParams boosted() {
    VeilParams params = builtinPresetParams(0);
    params.highlightBoost = 16.0f;
    params.advancedMode = 1;
    return params;
}

void addRenders(const std::string& name, const VeilParams& params) {
    for (const int zoom : {1, 2}) {
        const int width = 526 * zoom, height = 260 * zoom;
        for (const int scale : {12 / zoom, 1}) {
            const std::string title =
                name + "/" + std::to_string(width) + "/reduced_by_" + std::to_string(scale);
            const auto run = [=](benchmark::State& state) { render(state, params, width, height, scale); };
            benchmark::RegisterBenchmark(title.c_str(), run)->UseRealTime()->Unit(benchmark::kMillisecond);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const char* names[] = {"preview/dusky", "preview/gilt", "preview/pearl", "preview/streak"};
    for (std::int16_t look = 0; look < kBuiltinLookCount; ++look)
        addRenders(names[look], builtinPresetParams(look));
    addRenders("preview/dusky_advanced_boost16", boosted());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
