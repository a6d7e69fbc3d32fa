// Each pass of the engine, and renderVeil on a tile. Rates are in pixels of the plane that the pass works on.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <set>
#include <span>
#include <vector>

#include "bench/limits.h"
#include "bench/noise.h"
#include "engine/averaged_window.h"
#include "engine/blur.h"
#include "engine/boost.h"
#include "engine/composition.h"
#include "engine/geometry.h"
#include "engine/kernels/rows.h"
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

// What a pass can't do without, for each pixel of its plane: samples read and written once, in bytes, and the
// additions, multiplications, divisions and comparisons of its formulas, where work that pixels share is
// counted once.
struct Cost {
    double bytes, operations;
};

void countWork(benchmark::State& state, const Rect& rect, Cost cost) {
    using Rate = benchmark::Counter;
    const double pixels = static_cast<double>(rect.width()) * rect.height() * 1e-9;
    state.counters["MP/s"] = Rate(pixels * 1e3, Rate::kIsIterationInvariantRate);
    state.counters["GB/s"] = Rate(pixels * cost.bytes, Rate::kIsIterationInvariantRate);
    state.counters["Gop/s"] = Rate(pixels * cost.operations, Rate::kIsIterationInvariantRate);
}

// Of one sample along one axis: a linear read for each fraction that occurs, two reads and a weight for each
// tap.
double gaussianOperations(float radius) {
    const TapTable table = makeTapTable(radius);
    std::set<float> fractions;
    for (int k = 0; k < table.count; ++k) fractions.insert({table.taps[k].frac, table.taps[k].negFrac});
    return 3.0 * static_cast<double>(fractions.size()) + 3.0 * table.count + 1;
}

constexpr float kRadius = 45.0f;                               // of a radius of 180 on the working plane
constexpr double kLinearRead = 3, kLuma = 5, kSmoothStep = 8;  // operations; the step with its limits

// The boost: eight channels are enlarged and eight blurred, those on the half plane with half the radius.
double boostOperations() {
    const double enlarging = 8 * (kLinearRead / 2 + kLinearRead);
    const double blurring = 8 * 2 * gaussianOperations(kRadius * 0.5f) / 4;
    const double reducing = 3, coreMask = (kLuma + kSmoothStep) / 4, rim = (kLuma + 38) / 4;
    const double gain = 3 * kLuma + 4 * kSmoothStep + 6, color = 57;
    return reducing + blurring + enlarging + coreMask + rim + gain + color;
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
    countWork(state, image.rect, {12.75, 3.9});
}

// Along rows, then across them, as the full route does.
void blurBoth(const FloatImage& image, float radius, bool anamorphic, AcrossBlur<FloatImage>& across,
              FloatImage& out, WorkerPool& pool) {
    const Span axis{0, image.height()};
    across.begin(radius, anamorphic, axis, axis, {0, image.width()});
    LinePlans plans;
    const AlongBlur along = makeAlongBlur(plans, radius, anamorphic, image.width(), 0, image.width());
    runRows(&pool, 0, image.height(), [&](int first, int end) {
        LineScratch scratch;
        for (int y = first; y < end; y += kRowGroup)
            blurAlong(along, image.row(y), std::min(kRowGroup, end - y), image.rowLength(), scratch,
                      across.row(y), across.rowLength());
    });
    if (!anamorphic)
        runRows(&pool, 0, image.height(), [&](int first, int end) {
            LineScratch scratch;
            across.make({0, first, image.width(), end}, scratch, out.row(first), out.rowLength());
        });
    benchmark::DoNotOptimize(out);
}

void blur(benchmark::State& state, bool anamorphic) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kPlane, kPlane);
    AcrossBlur<FloatImage> across;
    FloatImage out(image.rect);
    for (auto _ : state) blurBoth(image, kRadius, anamorphic, across, out, pool.pool);
    countWork(state, image.rect, {24, anamorphic ? 27 : 6 * gaussianOperations(kRadius)});
}

void resample(benchmark::State& state, int from, const BilinearPlan& plan, double operations) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(from, from);
    FloatImage out(plan.target);
    for (auto _ : state) {
        runRows(&pool.pool, 0, out.height(), [&](int first, int end) {
            BilinearRows<FloatImage> rows(plan, image.row(0), image.rect);
            for (int y = first; y < end; ++y) rows.make(y, out.row(y));
        });
        benchmark::DoNotOptimize(out);
    }
    countWork(state, {0, 0, kPlane, kPlane}, {15, operations});
}

RenderSettings settingsOf(std::int16_t presetId, bool advanced, float boost) {
    VeilParams params = builtinPresetParams(presetId);
    params.highlightBoost = boost;
    params.advancedMode = advanced ? 1 : 0;
    return makeRenderSettings(params);
}

// On noise that is lit at every turn.
void boost(benchmark::State& state) {
    Pool pool(state);
    const auto base = noiseImage<FloatImage>(kPlane, kPlane);
    const RenderSettings settings = settingsOf(0, true, 16.0f);
    AcrossBlur<FloatImage> wide;
    FloatImage out(base.rect);
    blurBoth(base, 108.0f, false, wide, out, pool.pool);
    HighlightBoost maker;
    const std::span<const AcrossBlur<FloatImage>> parts(&wide, 1);
    std::vector<Rect> lit;  // as a tile has them
    for (int x = 0; x < kPlane; x += 32) lit.push_back({x, 0, std::min(x + 32, kPlane), kPlane});
    for (auto _ : state)
        benchmark::DoNotOptimize(maker.make(base, base.rect, parts, lit, settings, &pool.pool));
    countWork(state, base.rect, {12 * 4, boostOperations()});
}

void compose(benchmark::State& state) {
    Pool pool(state);
    const auto image = noiseImage<FloatImage>(kImage, kImage);
    const auto glow = noiseImage<FloatImage>(kPlane, kPlane);
    FloatImage out(image.rect);
    const auto rowAt = [&](int y) -> void* { return out.row(y); };
    for (auto _ : state)
        composeOutput({image.rect, image.pixels.data()}, glow, image.rect, kImage, kImage, kPlane, kPlane,
                      settingsOf(0, false, 0.0f), {SampleKind::floats, rowAt}, &pool.pool);
    countWork(state, image.rect, {24.75, 3 * (kLinearRead / 4 + kLinearRead) + 73});
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
    countWork(state, tile, {0, 0});
}

// Tile after tile of an 8-bit picture in memory, as a run of the filter does it, without the host.
void renderPicture(benchmark::State& state, const RenderSettings& settings, int tileSize) {
    Pool pool(state);
    const Rect whole{0, 0, 6 * 512, 4 * 512};
    std::vector<float> noise(static_cast<std::size_t>(whole.width()) *
                             static_cast<std::size_t>(whole.height()) * 3);
    fillWithNoise(noise);
    std::vector<unsigned char> picture(noise.size()), result(noise.size());
    floatsToBytes(noise.data(), picture.data(), static_cast<int>(noise.size()));
    const auto indexOf = [&](int x, int y) { return static_cast<std::size_t>((y * whole.x1 + x) * 3); };
    const SourceRows source(whole, SampleKind::bytes,
                            [&](int x, int y, int) { return picture.data() + indexOf(x, y); });
    for (auto _ : state) {
        ImageRenderer renderer(whole.x1, whole.y1, settings);
        for (int y = 0; y < whole.y1; y += tileSize)
            for (int x = 0; x < whole.x1; x += tileSize) {
                const auto rowAt = [&](int row) { return result.data() + indexOf(x, row); };
                renderer.render({x, y, x + tileSize, y + tileSize}, {source, source},
                                {SampleKind::bytes, rowAt, {}}, &pool.pool);
            }
    }
    countWork(state, whole, {0, 0});
}

// The argument is the number of threads, the caller among them.
void withThreads(benchmark::internal::Benchmark* bench) {
    bench->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(measureArithmetic)->Name("limit/arithmetic")->Apply(withThreads);
// Of planes as large as those of the passes on the working plane, and on the image.
BENCHMARK_CAPTURE(measureCopy, plane, std::size_t{kPlane} * kPlane * 12)
    ->Name("limit/copy_plane")
    ->Apply(withThreads);
BENCHMARK_CAPTURE(measureCopy, image, std::size_t{kImage} * kImage * 12)
    ->Name("limit/copy_image")
    ->Apply(withThreads);
BENCHMARK(downsample)->Apply(withThreads);
BENCHMARK_CAPTURE(blur, gaussian, false)->Apply(withThreads);
BENCHMARK_CAPTURE(blur, triple_box, true)->Apply(withThreads);
BENCHMARK_CAPTURE(resample, reduce, kPlane,
                  planReduction({0, 0, kPlane, kPlane}, {0, 0, kPlane / 2, kPlane / 2}, 2), 3)
    ->Apply(withThreads);
BENCHMARK_CAPTURE(resample, enlarge, kPlane / 2,
                  planEnlargement({0, 0, kPlane / 2, kPlane / 2}, {0, 0, kPlane, kPlane}, 2),
                  3 * (kLinearRead / 2 + kLinearRead))
    ->Apply(withThreads);
BENCHMARK(boost)->Apply(withThreads);
BENCHMARK(compose)->Apply(withThreads);
BENCHMARK_CAPTURE(renderPicture, dusky, settingsOf(0, false, 0.0f), 512)->Apply(withThreads);
BENCHMARK_CAPTURE(renderPicture, dusky_advanced_boost16, settingsOf(0, true, 16.0f), 1024)
    ->Apply(withThreads);
BENCHMARK_CAPTURE(renderPicture, streak, settingsOf(3, false, 0.0f), 1024)->Apply(withThreads);
BENCHMARK_CAPTURE(renderTile, dusky_512, settingsOf(0, false, 0.0f), 512)->Apply(withThreads);
BENCHMARK_CAPTURE(renderTile, dusky_advanced_boost16_1024, settingsOf(0, true, 16.0f), 1024)
    ->Apply(withThreads);
BENCHMARK_CAPTURE(renderTile, streak_1024, settingsOf(3, false, 0.0f), 1024)->Apply(withThreads);

}  // namespace

BENCHMARK_MAIN();
