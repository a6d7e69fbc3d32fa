#include "engine/kernels/kernels.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
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

// Nine taps, with fractions of 0 and 1 among them.
template <class Tap>
std::vector<Tap> tapsOf(const Rows& r) {
    std::vector<Tap> taps(9);
    for (int i = 0; i < 9; ++i) {
        Tap& tap = taps[static_cast<std::size_t>(i)];
        tap.minus = r.at(0) - 6 - i * 9;
        tap.plus = r.at(0) + i * 9;
        tap.weight = 1.0f / static_cast<float>(i + 2);
        if constexpr (requires { tap.plusFraction; }) {
            tap.minusFraction = static_cast<float>(i % 5) * 0.25f;
            tap.plusFraction = static_cast<float>(i % 3) * 0.3f;
        }
        if constexpr (requires { tap.plusFractions; }) {
            tap.minusFractions = r.at(1);
            tap.plusFractions = r.at(2);
        }
    }
    return taps;
}

#define CALL(...) [](const KernelTable& k, Rows& r) { __VA_ARGS__; }

const Kernel kKernels[] = {
    {"sumFiveRows", CALL(k.sumFiveRows(r.at(0), r.at(1), r.at(2), r.at(3), r.at(4), r.to(0), r.count())), 3},
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
    {"tapRow", CALL(k.tapRow(r.at(0), tapsOf<TapReads>(r).data(), 9, 3, 0.2f, r.to(0), r.count())), 3},
    {"pairRow", CALL(k.pairRow(r.at(0), tapsOf<TapPair>(r).data(), 9, 0.2f, r.to(0), r.count())), 3},
    {"edgeRow", CALL(k.edgeRow(r.at(0), tapsOf<EdgeReads>(r).data(), 9, 3, 0.2f, r.to(0), r.count())), 3},
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
    {"composeRow",
     CALL(k.composeRow({r.at(0), r.at(1), r.at(2)}, {r.at(3), r.at(4), r.at(5)}, 0.3f, r.at(6), composing(r),
                       r.to(0), r.pixels)),
     3},
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

TEST_CASE("every host sample reads as the rounded quotient in every set") {
    std::vector<unsigned char> bytes, words;
    for (int v = 0; v < 65536; ++v) {
        if (v < 256) bytes.push_back(static_cast<unsigned char>(v));
        words.push_back(static_cast<unsigned char>(v & 255));
        words.push_back(static_cast<unsigned char>(v >> 8));
    }
    for (const InstructionSet set : availableSets()) {
        INFO(name(set));
        std::vector<float> floats(65536);
        kernelsFor(set).bytesToFloats(bytes.data(), floats.data(), 256);
        for (int v = 0; v < 256; ++v)
            CHECK(floats[static_cast<std::size_t>(v)] == static_cast<float>(v / 255.0));
        kernelsFor(set).wordsToFloats(words.data(), floats.data(), 65536);
        int wrong = 0;
        for (int v = 0; v < 65536; ++v)
            wrong += floats[static_cast<std::size_t>(v)] != static_cast<float>(v / 32768.0);
        CHECK(wrong == 0);
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
