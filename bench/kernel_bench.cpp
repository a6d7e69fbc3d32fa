// Each row kernel of each instruction set that the machine has, on rows that stay in the second-level cache.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/kernels/kernels.h"

namespace {

using namespace veil;

constexpr int kPixels = 1024, kCount = kPixels * 3, kSlack = 1024;  // samples around a row for the taps

std::vector<float> noiseRow(std::uint32_t state) {
    std::vector<float> row(kCount + 2 * kSlack);
    for (float& sample : row) {
        state = state * 1664525u + 1013904223u;
        sample = static_cast<float>(state >> 8) / 16777216.0f;
    }
    return row;
}

// Inputs and outputs of every kernel; a row begins behind some slack, since taps read around it.
struct Rows {
    std::vector<float> in[8], outRow;
    std::vector<unsigned char> bytes, outBytes;
    std::vector<int> centres;
    std::vector<BilinearColumn> enlarging, enlargingPlane;

    Rows() : outRow(kCount * 8), bytes(kCount * 2), outBytes(kCount * 2) {
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 37);
        for (std::uint32_t i = 0; i < 8; ++i) in[i] = noiseRow(i);
        for (int i = 0; i < kPixels; ++i) {
            const int left = i / 4;
            centres.push_back(2 + i);
            enlarging.push_back({left * 3, left * 3 + 3, static_cast<float>(i % 4) * 0.25f});
            enlargingPlane.push_back({left, left + 1, static_cast<float>(i % 4) * 0.25f});
        }
    }
    const float* row(int i) const { return in[i].data() + kSlack; }
    float* out() { return outRow.data(); }
};

using Call = void (*)(const KernelTable&, Rows&);

void measure(benchmark::State& state, const KernelTable& kernels, Call call) {
    Rows rows;
    for (auto _ : state) {
        call(kernels, rows);
        benchmark::ClobberMemory();
    }
    state.counters["M/s"] = benchmark::Counter(kPixels * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

void compose(const KernelTable& k, int kind, Rows& r, const void* source, void* out) {
    constexpr ComposeConstants kComposing{1.0f, 0.7f, 0.2f, 1.0f, 0.9f, 0.8f, false};
    const GlowRow top{r.row(0), r.row(1), r.row(2), true}, bottom{r.row(3), r.row(4), r.row(5), true};
    k.composeRow[kind](top, bottom, 0.3f, source, kComposing, out, kPixels, {});
}

const struct {
    const char* name;
    Call call;
} kCases[] = {
    {"sumFiveRows",
     [](const KernelTable& k, Rows& r) {
         k.sumFiveRows[0]({r.row(0), r.row(1), r.row(2), r.row(3), r.row(4)}, r.out(), kCount);
     }},
    {"sumFiveRows, bytes",
     [](const KernelTable& k, Rows& r) {
         const unsigned char* row = r.bytes.data();
         k.sumFiveRows[1]({row, row + 3, row + 9, row + 11, row + 12}, r.out(), kCount);
     }},
    {"sumFiveRows, words",
     [](const KernelTable& k, Rows& r) {
         const unsigned char* row = r.bytes.data();
         k.sumFiveRows[2]({row, row, row, row, row}, r.out(), kCount);
     }},
    {"boxRow", [](const KernelTable& k, Rows& r) { k.boxRow(r.row(0), r.centres.data(), r.out(), kPixels); }},
    {"expandRow",
     [](const KernelTable& k, Rows& r) { k.expandRow(r.row(0), r.enlarging.data(), r.out(), kPixels); }},
    {"expandRowToPlanes",
     [](const KernelTable& k, Rows& r) {
         k.expandRowToPlanes(r.row(0), r.enlarging.data(), r.out(), r.out() + kPixels, r.out() + 2 * kPixels,
                             kPixels);
     }},
    {"expandPlaneRow",
     [](const KernelTable& k, Rows& r) {
         k.expandPlaneRow(r.row(0), r.enlargingPlane.data(), r.out(), kPixels);
     }},
    {"lerpRows",
     [](const KernelTable& k, Rows& r) { k.lerpRows(r.row(0), r.row(1), 0.3f, r.out(), kCount); }},
    {"thresholdRow", [](const KernelTable& k, Rows& r) { k.thresholdRow(r.row(0), 0.6f, r.out(), kPixels); }},
    {"thresholdFogRow",
     [](const KernelTable& k, Rows& r) { k.thresholdFogRow(r.out(), 0.6f, 0.99f, kPixels); }},
    {"veilMixRow",
     [](const KernelTable& k, Rows& r) { k.veilMixRow(r.row(0), r.row(1), 0.3f, r.out(), kCount); }},
    {"coreMaskRow", [](const KernelTable& k, Rows& r) { k.coreMaskRow(r.row(0), r.out(), kPixels); }},
    {"rimRow",
     [](const KernelTable& k, Rows& r) { k.rimRow(r.row(0), r.row(1), r.out(), r.out() + kCount, kPixels); }},
    {"boostRow",
     [](const KernelTable& k, Rows& r) {
         k.boostRow({r.row(0), r.row(1), r.row(2), r.row(3), r.row(4), r.row(5)}, 0.0f, r.out(), kPixels);
     }},
    {"composeRow", [](const KernelTable& k, Rows& r) { compose(k, 0, r, r.row(6), r.out()); }},
    {"composeRow, bytes",
     [](const KernelTable& k, Rows& r) { compose(k, 1, r, r.bytes.data(), r.outBytes.data()); }},
    {"composeRow, words",
     [](const KernelTable& k, Rows& r) { compose(k, 2, r, r.bytes.data(), r.outBytes.data()); }},
    {"bytesToFloats",
     [](const KernelTable& k, Rows& r) { k.bytesToFloats(r.bytes.data(), r.out(), kCount); }},
    {"wordsToFloats",
     [](const KernelTable& k, Rows& r) { k.wordsToFloats(r.bytes.data(), r.out(), kCount); }},
    {"floatsToBytes",
     [](const KernelTable& k, Rows& r) { k.floatsToBytes(r.row(0), r.bytes.data(), kCount); }},
    {"floatsToWords",
     [](const KernelTable& k, Rows& r) { k.floatsToWords(r.row(0), r.bytes.data(), kCount); }},
    {"tapLine",
     [](const KernelTable& k, Rows& r) {
         TapReads taps[24];
         for (int i = 0; i < 24; ++i) taps[i] = {-i * 32 - 32, i * 32 + 16, 0.75f, 0.25f, 0.5f};
         k.tapLine(r.row(0), taps, 24, 0.01f, r.out(), kCount / kLineLanes);
     }},
    {"pairLine",
     [](const KernelTable& k, Rows& r) {
         TapPair taps[24];
         for (int i = 0; i < 24; ++i) taps[i] = {r.row(i % 8) - i * 32, r.row(i % 8) + i * 32, 0.5f};
         k.pairLine(r.row(0), taps, 24, 15, 0.01f, r.out(), kCount / kLineLanes);
     }},
    {"rowsToLines (of 16)",
     [](const KernelTable& k, Rows& r) {
         const float* rows[kLineLanes];
         for (int i = 0; i < kLineLanes; ++i) rows[i] = r.row(i % 8);
         k.rowsToLines(rows, 3, r.out(), kCount / 2, kPixels / 32);
     }},
    {"linesToRows (of 16)",
     [](const KernelTable& k, Rows& r) {
         float* rows[kLineLanes];
         for (int i = 0; i < kLineLanes; ++i) rows[i] = r.out() + i * kCount / 4;
         k.linesToRows(r.row(0), kCount / 8, 3, rows, kLineLanes, kPixels / 32);
     }},
    {"boxBlurRows (of 4)",
     [](const KernelTable& k, Rows& r) {
         k.boxBlurRows({r.row(0), kBoxRows, 0}, kPixels, 15, 0, kPixels, r.out(), r.out() + 5 * kCount, 0);
     }},
};

}  // namespace

int main(int argc, char** argv) {
    for (const auto& kernel : kCases)
        for (const InstructionSet set : availableSets()) {
            const std::string title = std::string(kernel.name) + "/" + name(set);
            const auto run = [=](benchmark::State& state) { measure(state, kernelsFor(set), kernel.call); };
            benchmark::RegisterBenchmark(title.c_str(), run);
        }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
