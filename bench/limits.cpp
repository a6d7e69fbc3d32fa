#include "bench/limits.h"

#include <cstring>
#include <vector>

#include "engine/kernels/kernels.h"
#include "engine/worker_pool.h"

namespace {

constexpr int kRounds = 100000, kChains = 6;  // as many of each kind as hide the latency of four cycles

// Chains of two kinds, so that all units are at work. Each has its own values: a compiler joins equal ones.
#define VEIL_CHAINS(name, attributes, lanes)                                                                \
    __attribute__((noinline)) attributes void name(float* seed) {                                           \
        typedef float Vector __attribute__((vector_size((lanes)*4)));                                       \
        const Vector factor = seed[0] - Vector{}, term = seed[1] - Vector{};                                \
        Vector p0 = factor, p1 = p0 + term, p2 = p1 + term, p3 = p2 + term, p4 = p3 + term, p5 = p4 + term; \
        Vector s0 = p5 + term, s1 = s0 + term, s2 = s1 + term, s3 = s2 + term, s4 = s3 + term,              \
               s5 = s4 + term;                                                                              \
        for (int i = 0; i < kRounds; ++i) {                                                                 \
            p0 *= factor, p1 *= factor, p2 *= factor, p3 *= factor, p4 *= factor, p5 *= factor;             \
            s0 += term, s1 += term, s2 += term, s3 += term, s4 += term, s5 += term;                         \
        }                                                                                                   \
        const Vector sum = p0 + p1 + p2 + p3 + p4 + p5 + s0 + s1 + s2 + s3 + s4 + s5;                       \
        seed[2] = sum[0];                                                                                   \
    }
VEIL_CHAINS(chainsBaseline, , 4)
#if defined(__x86_64__)
VEIL_CHAINS(chainsAvx2, __attribute__((target("avx2"))), 8)
VEIL_CHAINS(chainsAvx512, __attribute__((target("avx512f"))), 16)
#endif

struct Chains {
    void (*run)(float* seed);
    int lanes;
};

Chains chainsOf(veil::InstructionSet set) {
    switch (set) {
#if defined(__x86_64__)
        case veil::InstructionSet::avx512:
            return {chainsAvx512, 16};
        case veil::InstructionSet::avx2:
            return {chainsAvx2, 8};
#endif
        default:
            return {chainsBaseline, 4};
    }
}

// Every benchmark of a program must have the same counters; what it doesn't measure is 0.
void countRates(benchmark::State& state, double bytes, double operations) {
    using Rate = benchmark::Counter;
    state.counters["MP/s"] = 0;
    state.counters["GB/s"] = Rate(bytes * 1e-9, Rate::kIsIterationInvariantRate);
    state.counters["Gop/s"] = Rate(operations * 1e-9, Rate::kIsIterationInvariantRate);
}

}  // namespace

void measureCopy(benchmark::State& state, std::size_t bytes) {
    const int threads = static_cast<int>(state.range(0));
    veil::WorkerPool pool(threads - 1);
    std::vector<char> from(bytes, 1), to(bytes);
    constexpr int kSlices = 64;
    const std::size_t slice = bytes / kSlices;
    for (auto _ : state) {
        pool.parallelFor(0, kSlices, [&](int first, int end) {
            const std::size_t begin = static_cast<std::size_t>(first) * slice;
            std::memcpy(to.data() + begin, from.data() + begin,
                        static_cast<std::size_t>(end - first) * slice);
        });
        benchmark::ClobberMemory();
    }
    countRates(state, 2.0 * static_cast<double>(slice * kSlices), 0);
}

void measureArithmetic(benchmark::State& state) {
    const int threads = static_cast<int>(state.range(0));
    veil::WorkerPool pool(threads - 1);
    const Chains chains = chainsOf(veil::availableSets().back());
    for (auto _ : state)
        pool.parallelFor(0, threads, [&](int, int) {
            float seed[3] = {0.9999999f, 1e-6f, 0.0f};
            chains.run(seed);
            benchmark::DoNotOptimize(seed);
        });
    countRates(state, 0, 2.0 * kRounds * kChains * chains.lanes * threads);
}
