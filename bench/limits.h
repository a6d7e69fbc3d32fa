#pragma once

// What the machine gives at best, to hold the engine's passes against. The argument of a benchmark is the
// number of threads.

#include <benchmark/benchmark.h>

/// Copies between two arrays; "GB/s" counts what is read and what is written. `bytes` is the size of one.
void measureCopy(benchmark::State& state, std::size_t bytes);

/// Additions and multiplications of 32-bit floats that wait for nothing, in the widest vectors that the
/// engine would choose; "Gop/s" counts each lane of each.
void measureArithmetic(benchmark::State& state);
