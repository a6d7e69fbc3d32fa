// The whole filter through PluginMain and the stand-in host, on a picture of 24 megapixels in memory.
// "beyond_MB" is the peak of the resident memory during the runs, less what was resident before, which is
// both of the host's pictures.

#include <benchmark/benchmark.h>

#include "bench/runs.h"
#include "bench/variants.h"

namespace {

using namespace veil;

constexpr int kWidth = 6000, kHeight = 4000;

void wholeFilter(benchmark::State& state, const VeilParams& params) {
    const int depth = static_cast<int>(state.range(0));
    const standin::Plugin plugin(VEIL_PLUGIN);
    standin::HostSession session(plugin, bench::noisePicture(kWidth, kHeight, depth), bench::inMemory());
    session.storeParameters(params);
    session.undo();
    const double before = bench::beginPeak();
    for (auto _ : state) {
        state.PauseTiming();
        session.undo();
        state.ResumeTiming();
        const standin::RunReport report = session.repeat();
        if (report.result != photoshop::noErr)
            state.SkipWithError(standin::resultName(report.result).c_str());
    }
    state.counters["beyond_MB"] = bench::peakMegabytes() - before;
    state.counters["MP/s"] =
        benchmark::Counter(kWidth * kHeight * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

// The argument is the depth.
BENCHMARK_CAPTURE(wholeFilter, dusky, bench::variant(0, false, 0.0f))
    ->Arg(8)
    ->Arg(16)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(wholeFilter, dusky_advanced_boost16, bench::variant(0, true, 16.0f))
    ->Arg(8)
    ->Arg(16)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(wholeFilter, streak, bench::variant(3, false, 0.0f))
    ->Arg(8)
    ->Arg(16)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
