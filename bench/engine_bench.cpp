// Each pass of the engine, and renderVeil on a tile. Rates are in pixels of the plane that the pass works on.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "bench/noise.h"
#include "engine/averaged_window.h"
#include "engine/blur.h"
#include "engine/boost.h"
#include "engine/composition.h"
#include "engine/geometry.h"
#include "engine/glow.h"
#include "engine/render.h"
#include "engine/resample.h"
#include "presets/builtin_presets.h"

namespace {

using namespace veil;

template <class Image>
Image noiseImage(int width, int height) {
    Image image(Rect{0, 0, width, height});
    fillWithNoise(image.pixels);
    return image;
}

void countPixels(benchmark::State& state, const Rect& rect) {
    state.counters["MP/s"] = benchmark::Counter(static_cast<double>(rect.width()) * rect.height() * 1e-6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

struct Pool {
    explicit Pool(const benchmark::State& state) : pool(static_cast<int>(state.range(0)) - 1) {}
    WorkerPool pool;
};

constexpr int kPlane = 512;  // a tile's share of the working plane, with its margin, is of this order
constexpr int kImage = kPlane * 4;

void downsample(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kImage, kImage);
    for (auto _ : state) {
        AveragedWindow window;
        benchmark::DoNotOptimize(window.advance({0, 0, kPlane, kPlane}, {image.rect, image.pixels.data()},
                                                planeSizes(kImage, kImage), nullptr, nullptr, &pool.pool));
    }
    countPixels(state, image.rect);
}

void gaussian(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kPlane, kPlane);
    for (auto _ : state) benchmark::DoNotOptimize(blurImage(image, 45.0f, false, &pool.pool));
    countPixels(state, image.rect);
}

void gaussianPlane(benchmark::State& state) {
    Pool pool(state);
    const auto plane = noiseImage<FloatPlane>(kPlane, kPlane);
    for (auto _ : state) benchmark::DoNotOptimize(blurPlane(plane, 45.0f, false, &pool.pool));
    countPixels(state, plane.rect);
}

void tripleBox(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kPlane, kPlane);
    for (auto _ : state) benchmark::DoNotOptimize(blurImage(image, 45.0f, true, &pool.pool));
    countPixels(state, image.rect);
}

void reduce(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kPlane, kPlane);
    for (auto _ : state) benchmark::DoNotOptimize(reduceByFactor(image, 2, &pool.pool));
    countPixels(state, image.rect);
}

void enlarge(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kPlane / 2, kPlane / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(enlargeByFactor(image, {0, 0, kPlane, kPlane}, 2, &pool.pool));
    countPixels(state, {0, 0, kPlane, kPlane});
}

RenderSettings settingsOf(std::int16_t presetId, bool advanced, float boost) {
    VeilParams params = builtinPresetParams(presetId);
    params.highlightBoost = boost;
    params.advancedMode = advanced ? 1 : 0;
    return makeRenderSettings(params);
}

void boost(benchmark::State& state) {
    Pool pool(state);
    const auto base = noiseImage<FloatImage>(kPlane, kPlane);
    const RenderSettings settings = settingsOf(0, true, 16.0f);
    for (auto _ : state) {
        FloatImage bright = base;
        boostHighlights(base, base, bright, settings, &pool.pool);
        benchmark::DoNotOptimize(bright);
    }
    countPixels(state, base.rect);
}

void mix(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kPlane, kPlane);
    for (auto _ : state) benchmark::DoNotOptimize(veilMix(image, image, 0.18f, image.rect, &pool.pool));
    countPixels(state, image.rect);
}

void compose(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kImage, kImage);
    const auto glow = noiseImage<FloatImage>(kPlane, kPlane);
    FloatImage out(image.rect);
    const auto store = [&](int y, const float* row) { std::copy(row, row + out.rowLength(), out.row(y)); };
    for (auto _ : state)
        composeOutput({image.rect, image.pixels.data()}, glowRows(glow), image.rect, kImage, kImage, kPlane,
                      kPlane, settingsOf(0, false, 0.0f), store, &pool.pool);
    countPixels(state, image.rect);
}

void renderTile(benchmark::State& state, const RenderSettings& settings, int tileSize) {
    Pool pool(state);
    const Rect tile{2048, 2048, 2048 + tileSize, 2048 + tileSize};
    const Rect need = requiredInputRect(tile, 6000, 4000, settings);
    std::vector<float> input(static_cast<std::size_t>(need.width()) *
                             static_cast<std::size_t>(need.height()) * 3);
    fillWithNoise(input);
    std::vector<float> out;
    for (auto _ : state) renderVeil(input.data(), need, tile, 6000, 4000, settings, out, &pool.pool);
    countPixels(state, tile);
}

// The argument is the number of threads, the caller among them.
BENCHMARK(downsample)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(gaussian)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(gaussianPlane)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(tripleBox)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(reduce)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(enlarge)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(boost)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mix)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(compose)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(renderTile, dusky_512, settingsOf(0, false, 0.0f), 512)
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(renderTile, dusky_advanced_boost16_1024, settingsOf(0, true, 16.0f), 1024)
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(renderTile, streak_1024, settingsOf(3, false, 0.0f), 1024)
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
