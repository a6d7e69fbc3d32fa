#include "engine/kernels/kernels.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "engine/render.h"
#include "tests/engine/pictures.h"

using namespace veil;

namespace {

constexpr int kLongest = 67, kSlack = 3 * 40;  // pixels; samples around a row
constexpr unsigned char kGuard = 0xA5;

float noiseOrSpecial(int i, int seed) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kSpecial[] = {std::numeric_limits<float>::quiet_NaN(),
                                  kInfinity,
                                  -kInfinity,
                                  -0.0f,
                                  0.0f,
                                  1e-40f,
                                  -1e-40f,
                                  1e-6f,
                                  -1.0f,
                                  2.0f};
    const bool isSpecial = seed >= 100 && pictures::noise(i, 1, seed) < 0.2f;
    return isSpecial ? kSpecial[static_cast<int>(pictures::noise(i, 2, seed) * 9.99f)]
                     : pictures::noise(i, 0, seed);
}

// Inputs that begin `shift` bytes behind an aligned address, and outputs with guards behind them.
struct Rows {
    int pixels, shift;
    std::vector<unsigned char> in[7], out[2];
    std::vector<int> centres;
    std::vector<BilinearColumn> columns, ascending, planeColumns;

    Rows(int pixelCount, int shiftBytes, int seed) : pixels(pixelCount), shift(shiftBytes) {
        for (int k = 0; k < 7; ++k) {
            in[k].resize((kLongest * 3 + 2 * kSlack) * 4 + 64);
            for (int i = 0; i < kLongest * 3 + 2 * kSlack; ++i) {
                const float v = noiseOrSpecial(i, seed + k);
                std::memcpy(in[k].data() + shift + i * 4, &v, 4);
            }
        }
        for (auto& bytes : out) bytes.assign(kLongest * 3 * 4 * 4 + 128, kGuard);
        for (int i = 0; i < pixels; ++i) {
            const int left = static_cast<int>(pictures::noise(i, 3, seed) * static_cast<float>(pixels - 1));
            const int right = left + (i % 5 > 0 && left + 1 < pixels ? 1 : 0);
            centres.push_back(i * 2 % pixels);
            columns.push_back({left * 3, right * 3, static_cast<float>(i % 4) * 0.25f});
            const int next = i * (1 + pixels % 4) / 4;
            ascending.push_back(
                {next * 3, std::min(next + 1, pixels - 1) * 3, static_cast<float>(i % 3) * 0.4f});
            planeColumns.push_back({left, right, static_cast<float>(i % 4) * 0.25f});
        }
    }
    const float* at(int k) const { return reinterpret_cast<const float*>(in[k].data() + shift) + kSlack; }
    float* to(int k) { return reinterpret_cast<float*>(out[k].data() + shift); }
    float* copied(int k) {
        std::memcpy(to(0), at(k), static_cast<std::size_t>(count()) * 4);
        return to(0);
    }
    int count() const { return pixels * 3; }
    int linePixels() const { return pixels / 8; }
    float threshold() const { return pixels % 4 == 0 ? 0.0f : 0.6f; }
};

struct Kernel {
    const char* name;
    void (*call)(const KernelTable&, Rows&);
    int outSamples, secondSamples = 0;  // a pixel
    bool writesBytes = false;
};

ComposeConstants composing(const Rows& r) {
    constexpr float kSaturations[] = {0.8f, 1.0f, 1.8f};
    return {kSaturations[r.pixels % 3],
            0.7f,
            r.pixels % 2 == 0 ? 0.2f : 0.0f,
            1.0f,
            0.9f,
            0.8f,
            r.pixels % 5 < 2};
}

FiveRows fiveOf(const Rows& r, int shift) {
    FiveRows rows;
    for (int k = 0; k < kBoxHeight; ++k) rows.row[k] = r.in[k].data() + kSlack * 4 + r.shift + shift;
    return rows;
}

template <SampleKind kind>
void callSumFiveRows(const KernelTable& k, Rows& r) {
    // Integers at odd addresses too.
    k.sumFiveRows[static_cast<int>(kind)](fiveOf(r, kind == SampleKind::floats ? 0 : r.pixels % 2), r.to(0),
                                          r.count());
}

template <SampleKind kind>
void callComposeRow(const KernelTable& k, Rows& r) {
    bool isBounded = true;
    for (int i = 0; i < 6; ++i) isBounded = k.areBounded(r.at(i), r.pixels) && isBounded;
    const unsigned char* source =
        r.in[6].data() + kSlack * 4 + r.shift + (kind == SampleKind::floats ? 0 : r.pixels % 3);
    k.composeRow[static_cast<int>(kind)]({r.at(0), r.at(1), r.at(2), isBounded},
                                         {r.at(3), r.at(4), r.at(5), isBounded}, 0.3f, source, composing(r),
                                         r.out[0].data() + r.shift, r.pixels, {});
}

constexpr int kTaps = 9;

float weightOf(int tap) { return 1.0f / static_cast<float>(tap + 2); }

// Fractions of 0 and 1 are among them.
void callTapLine(const KernelTable& k, Rows& r) {
    TapReads taps[kTaps];
    for (int i = 0; i < kTaps; ++i)
        taps[i] = {-6 - i * 9, i * 9, static_cast<float>(i % 5) * 0.25f, static_cast<float>(i % 3) * 0.3f,
                   weightOf(i)};
    k.tapLine(r.at(0), taps, kTaps, 0.2f, r.to(0), r.linePixels());
}

void callPairLine(const KernelTable& k, Rows& r) {
    TapPair taps[kTaps];
    for (int i = 0; i < kTaps; ++i) taps[i] = {r.at(0) - 6 - i * 9, r.at(0) + i * 9, weightOf(i)};
    k.pairLine(r.at(0), taps, kTaps, 1 + r.pixels % 4, 0.2f, r.to(0), r.linePixels());
}

void callRowsToLines(const KernelTable& k, Rows& r) {
    const float* rows[kLineLanes];
    for (int i = 0; i < kLineLanes; ++i) rows[i] = r.at(i % 7) + i;
    const int pixels = r.pixels / 4;
    k.rowsToLines(rows, r.pixels % 2 > 0 ? 3 : 1, r.to(0), pixels * kLineLanes, pixels);
}

void callLinesToRows(const KernelTable& k, Rows& r) {
    float* rows[kLineLanes];
    const int pixels = r.pixels / 11;
    for (int i = 0; i < kLineLanes; ++i) rows[i] = r.to(0) + i * pixels * 3;
    k.linesToRows(r.at(0), pixels * kLineLanes, r.pixels % 2 > 0 ? 3 : 1, rows, 1 + r.pixels % kLineLanes,
                  pixels);
}

#define CALL(...) [](const KernelTable& k, Rows& r) { __VA_ARGS__; }

const Kernel kKernels[] = {
    {"sumFiveRows", callSumFiveRows<SampleKind::floats>, 3},
    {"sumFiveRows of bytes", callSumFiveRows<SampleKind::bytes>, 3},
    {"sumFiveRows of words", callSumFiveRows<SampleKind::words>, 3},
    {"boxRow", CALL(k.boxRow(r.at(0), r.centres.data(), r.to(0), r.pixels)), 3},
    {"boxRowClamped", CALL(k.boxRowClamped(r.at(0), r.pixels, r.centres.data(), r.to(0), r.pixels)), 3},
    {"expandRow", CALL(k.expandRow(r.at(0), r.columns.data(), r.to(0), r.pixels)), 3},
    {"expandRowToPlanes",
     CALL(float* out = r.to(0);
          k.expandRowToPlanes(r.at(0), r.columns.data(), out, out + r.pixels, out + 2 * r.pixels, r.pixels)),
     3},
    {"expandRowToPlanes, ascending",
     CALL(float* out = r.to(0); k.expandRowToPlanes(r.at(0), r.ascending.data(), out, out + r.pixels,
                                                    out + 2 * r.pixels, r.pixels)),
     3},
    {"expandPlaneRow", CALL(k.expandPlaneRow(r.at(0), r.planeColumns.data(), r.to(0), r.pixels)), 1},
    {"lerpRows", CALL(k.lerpRows(r.at(0), r.at(1), 0.3f, r.to(0), r.count())), 3},
    {"lerpLines",
     CALL(const float fractions[] = {0.3f, 0.625f};
          k.lerpLines(r.at(0), fractions, 2, r.to(0), r.linePixels())),
     4},
    {"tapLine", callTapLine, 2},
    {"pairLine", callPairLine, 2},
    {"rowsToLines", callRowsToLines, 12},
    {"linesToRows", callLinesToRows, 5},
    {"boxBlurRows",
     CALL(if (r.pixels > 0)
              k.boxBlurRows({r.at(0), r.pixels < 20 ? kBoxRows : 1, r.count()}, r.pixels, 5, r.pixels / 5,
                            r.pixels, std::vector<float>(4000).data(), r.to(0), r.count())),
     3 * kBoxRows},
    {"thresholdRow", CALL(k.thresholdRow(r.at(0), r.threshold(), r.to(0), r.pixels)), 3},
    {"thresholdFogRow", CALL(k.thresholdFogRow(r.copied(0), r.threshold(), 0.2f, r.pixels)), 3},
    {"veilMixRow", CALL(k.veilMixRow(r.at(0), r.at(1), 0.3f, r.to(0), r.count())), 3},
    {"litSpan",
     CALL(int span[2]; k.litSpan(r.at(0), r.pixels, span, span + 1);
          if (r.pixels > 0) std::memcpy(r.to(0), span, sizeof span)),
     2},
    {"coreMaskRow", CALL(k.coreMaskRow(r.at(0), r.to(0), r.pixels)), 1},
    {"rimRow", CALL(k.rimRow(r.at(0), r.at(1), r.to(0), r.to(1), r.pixels)), 3, 1},
    {"boostRow",
     CALL(k.boostRow({r.at(0), r.at(1), r.at(2), r.at(3), r.at(4), r.at(5)}, 16.0f, r.copied(6), r.pixels)),
     3},
    {"areBounded", CALL(if (r.pixels > 0) * r.to(0) = k.areBounded(r.at(0), r.count()) ? 1.0f : 0.0f), 1},
    {"composeRow", callComposeRow<SampleKind::floats>, 3},
    {"composeRow of bytes", callComposeRow<SampleKind::bytes>, 3, 0, true},
    {"composeRow of words", callComposeRow<SampleKind::words>, 6, 0, true},
    {"bytesToFloats", CALL(k.bytesToFloats(r.in[0].data() + r.shift, r.to(0), r.count())), 3},
    {"wordsToFloats", CALL(k.wordsToFloats(r.in[0].data() + r.shift + 1, r.to(0), r.count())), 3},
    {"floatsToBytes", CALL(k.floatsToBytes(r.at(0), r.out[0].data() + r.shift, r.count())), 3, 0, true},
    {"floatsToWords", CALL(k.floatsToWords(r.at(0), r.out[0].data() + r.shift, r.count())), 6, 0, true},
};

// A NaN's sign and payload are nobody's.
bool isSame(const Kernel& kernel, const std::vector<unsigned char>& a, const std::vector<unsigned char>& b,
            int shift) {
    if (a == b || kernel.writesBytes) return a == b;
    for (std::size_t i = static_cast<std::size_t>(shift); i + 4 <= a.size(); i += 4) {
        float x, y;
        std::memcpy(&x, &a[i], 4);
        std::memcpy(&y, &b[i], 4);
        if (std::memcmp(&x, &y, 4) != 0 && !(std::isnan(x) && std::isnan(y))) return false;
    }
    return true;
}

bool isGuarded(const std::vector<unsigned char>& out, int from) {
    for (int i = 0; i < static_cast<int>(out.size()); ++i)
        if (i >= from && out[static_cast<std::size_t>(i)] != kGuard) return false;
    return true;
}

}  // namespace

TEST_CASE("every kernel of every set gives the baseline's bits and stays inside its buffer") {
    for (const Kernel& kernel : kKernels)
        for (int pixels = 0; pixels <= kLongest; ++pixels)
            for (int shift = 0; shift < 64; shift += pixels % 8 == 3 ? 4 : 20)
                for (const int seed : {1, 100}) {
                    Rows expected(pixels, shift, seed);
                    kernel.call(kBaselineKernels, expected);
                    for (const InstructionSet set : availableSets()) {
                        INFO(kernel.name, " of ", name(set), ", ", pixels, " pixels, shift ", shift,
                             ", seed ", seed);
                        Rows actual(pixels, shift, seed);
                        kernel.call(kernelsFor(set), actual);
                        const int size = kernel.writesBytes ? 1 : 4;
                        CHECK(isSame(kernel, actual.out[0], expected.out[0], shift));
                        CHECK(isSame(kernel, actual.out[1], expected.out[1], shift));
                        CHECK(isGuarded(actual.out[0], shift + pixels * kernel.outSamples * size));
                        CHECK(isGuarded(actual.out[1], shift + pixels * kernel.secondSamples * size));
                    }
                }
}

TEST_CASE("a glow is bounded up to a power of two, and neither negative nor a NaN") {
    constexpr float kBound = 0x1p60f;
    const std::pair<float, bool> table[] = {{0.0f, true},
                                            {1e-40f, true},
                                            {2.0f, true},
                                            {std::nextafter(kBound, 0.0f), true},
                                            {kBound, false},
                                            {-0.0f, false},
                                            {-1e-40f, false},
                                            {std::numeric_limits<float>::infinity(), false},
                                            {std::numeric_limits<float>::quiet_NaN(), false}};
    for (const InstructionSet set : availableSets())
        for (const auto& [value, isBounded] : table)
            for (const int at : {0, 15, 16, 18}) {
                INFO(name(set), ", ", value, " at ", at);
                std::vector<float> samples(19, 0.5f);
                samples[static_cast<std::size_t>(at)] = value;
                CHECK(kernelsFor(set).areBounded(samples.data(), 19) == isBounded);
            }
}

namespace {

int countOf(SampleKind kind) { return kind == SampleKind::bytes ? 1026 : 65538; }

// All values of a kind, one a sample, in an order that is another for each `step`. Bytes come four times, in
// several groups of vectors.
std::vector<unsigned char> allValues(SampleKind kind, int step) {
    const int values = kind == SampleKind::bytes ? 256 : 65536;
    std::vector<unsigned char> samples;
    for (int i = 0; i < countOf(kind); ++i) {
        const int v = i * step % values;
        samples.push_back(static_cast<unsigned char>(v));
        if (kind == SampleKind::words) samples.push_back(static_cast<unsigned char>(v >> 8));
    }
    return samples;
}

std::vector<float> quotients(SampleKind kind, const std::vector<unsigned char>& samples) {
    std::vector<float> floats;
    for (std::size_t i = 0; i < samples.size(); i += sampleBytes(kind))
        floats.push_back(kind == SampleKind::bytes
                             ? static_cast<float>(samples[i] / 255.0)
                             : static_cast<float>((samples[i] + 256 * samples[i + 1]) / 32768.0));
    return floats;
}

}  // namespace

TEST_CASE(
    "every sample of a host reads as the rounded quotient in every set, alone, in sums and in pictures") {
    for (const InstructionSet set : availableSets())
        for (const SampleKind kind : {SampleKind::bytes, SampleKind::words}) {
            INFO(name(set), ", ", sampleBytes(kind), " bytes");
            const KernelTable& kernels = kernelsFor(set);
            const bool isBytes = kind == SampleKind::bytes;
            const int count = countOf(kind), pixels = count / 3;
            std::vector<unsigned char> rows[kBoxHeight];
            FiveRows five;
            std::vector<float> sums(static_cast<std::size_t>(count)), read(sums.size());
            for (int k = 0; k < kBoxHeight; ++k) {
                rows[k] = allValues(kind, 2 * k + 1);
                five.row[k] = rows[k].data();
                const std::vector<float> values = quotients(kind, rows[k]);
                for (std::size_t i = 0; i < sums.size(); ++i)
                    sums[i] = k > 0 ? sums[i] + values[i] : values[i];
                (isBytes ? kernels.bytesToFloats : kernels.wordsToFloats)(rows[k].data(), read.data(), count);
                CHECK((read == values));
            }
            kernels.sumFiveRows[static_cast<int>(kind)](five, read.data(), count);
            CHECK((read == sums));

            const std::vector<float> source = quotients(kind, rows[1]);
            for (const float brightest : {0.0f, 1.0f, 3.0f, 1e6f})
                for (const bool glowOnly : {false, true}) {
                    std::vector<float> glow[6];
                    for (int k = 0; k < 6; ++k)
                        for (int i = 0; i < pixels; ++i)
                            glow[k].push_back(pictures::noise(i, k, 5) * brightest);
                    const ComposeConstants constants{
                        brightest == 3.0f ? 1.7f : 1.0f, 0.8f, 0.3f, 1.0f, 0.94f, 0.88f, glowOnly};
                    const auto compose = [&](SampleKind as, bool isBounded, const void* from, void* to) {
                        kernels.composeRow[static_cast<int>(as)](
                            {glow[0].data(), glow[1].data(), glow[2].data(), isBounded},
                            {glow[3].data(), glow[4].data(), glow[5].data(), isBounded}, 0.375f, from,
                            constants, to, pixels, {});
                    };
                    // The long way: floats, and a step for each limit.
                    std::vector<float> floats(sums.size());
                    compose(SampleKind::floats, false, source.data(), floats.data());
                    std::vector<unsigned char> expected(rows[1].size()), actual(expected.size());
                    (isBytes ? kernels.floatsToBytes : kernels.floatsToWords)(floats.data(), expected.data(),
                                                                              count);
                    for (const bool isBounded : {false, true}) {
                        INFO("glow to ", brightest, ", alone ", glowOnly, ", bounded ", isBounded);
                        compose(kind, isBounded, rows[1].data(), actual.data());
                        CHECK((actual == expected));
                        actual = rows[1];
                        compose(kind, isBounded, actual.data(), actual.data());
                        CHECK((actual == expected));
                        std::vector<float> again(floats.size());
                        compose(SampleKind::floats, isBounded, source.data(), again.data());
                        CHECK((again == floats));
                    }
                }
        }
}

TEST_CASE("a picture has the same bits by every set and number of workers") {
    const pictures::Picture picture = pictures::nightScene(301, 203);
    for (const bool anamorphic : {false, true})
        for (const float radius : {60.0f, 180.0f}) {
            RenderSettings settings;
            settings.radius = radius;
            settings.anamorphic = anamorphic;
            settings.wideScale = 2.4f;
            settings.highlightBoost = radius > 100.0f ? 0.6f : 0.0f;
            std::vector<float> expected, actual;
            useKernels(InstructionSet::baseline);
            renderVeil(picture.samples.data(), picture.rect(), picture.rect(), 301, 203, settings, expected,
                       nullptr);
            for (const InstructionSet set : availableSets()) {
                useKernels(set);
                for (int workers = 0; workers <= 7; ++workers) {
                    INFO(name(set), ", workers ", workers, ", radius ", radius, ", anamorphic ", anamorphic);
                    WorkerPool pool(workers);
                    renderVeil(picture.samples.data(), picture.rect(), picture.rect(), 301, 203, settings,
                               actual, &pool);
                    CHECK((actual == expected));
                }
            }
        }
    useKernels(availableSets().back());
}
