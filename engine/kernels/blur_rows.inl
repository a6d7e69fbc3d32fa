#include "engine/kernels/lanes.h"

namespace veil {

// As many vectors of all lines; what they are made from stays in registers.
template <int vectors>
VEIL_ALWAYS_INLINE static inline void lerpGroup(const float* line, const float* fractions, int lineCount,
                                                float* out, int outLength, int i) {
    Floats low[vectors], high[vectors];
    for (int v = 0; v < vectors; ++v) {
        low[v] = load(line + i + v * kLanes, kLanes);
        high[v] = load(line + i + v * kLanes + kLineLanes, kLanes);
    }
    float* to = out + i;
    for (int k = 0; k < lineCount; ++k, to += outLength) {
        const float fraction = fractions[k];
        for (int v = 0; v < vectors; ++v) store(to + v * kLanes, lerp(low[v], high[v], fraction), kLanes);
    }
}

static void lerpLines(const float* line, const float* fractions, int lineCount, float* out, int pixels) {
    constexpr int kVectors = 4, kGroup = kVectors * kLanes;
    const int count = pixels * kLineLanes;
    int i = 0;
    for (; i + kGroup <= count; i += kGroup) lerpGroup<kVectors>(line, fractions, lineCount, out, count, i);
    for (; i < count; i += kLanes) lerpGroup<1>(line, fractions, lineCount, out, count, i);
}

// As many pixels of a line, one after the other: the right one of a linear read is the left one of the next.
template <int pixels>
VEIL_ALWAYS_INLINE static inline void sumTaps(const float* centre, const TapReads* taps, int tapCount,
                                              float norm, float* out, int first) {
    for (int i = first; i < first + kLineLanes; i += kLanes) {
        Floats sums[pixels];
        for (int v = 0; v < pixels; ++v) sums[v] = load(centre + i + v * kLineLanes, kLanes);
        for (int k = 0; k < tapCount; ++k) {
            const TapReads tap = taps[k];
            Floats minus[pixels + 1], plus[pixels + 1];
            for (int v = 0; v <= pixels; ++v) {
                minus[v] = load(centre + tap.minus + i + v * kLineLanes, kLanes);
                plus[v] = load(centre + tap.plus + i + v * kLineLanes, kLanes);
            }
            for (int v = 0; v < pixels; ++v)
                sums[v] += tap.weight * (lerp(minus[v], minus[v + 1], tap.minusFraction) +
                                         lerp(plus[v], plus[v + 1], tap.plusFraction));
        }
        for (int v = 0; v < pixels; ++v) store(out + i + v * kLineLanes, sums[v] * norm, kLanes);
    }
}

static void tapLine(const float* centre, const TapReads* taps, int tapCount, float norm, float* out,
                    int pixels) {
    constexpr int kGroup = 4;  // sums kept in registers; as many additions hide each other's latency
    int y = 0;
    for (; y + kGroup <= pixels; y += kGroup)
        sumTaps<kGroup>(centre, taps, tapCount, norm, out, y * kLineLanes);
    for (; y < pixels; ++y) sumTaps<1>(centre, taps, tapCount, norm, out, y * kLineLanes);
}

// As many pixels of a line, `spacing` samples apart.
template <int pixels>
static void sumPairs(const float* centre, const TapPair* taps, int tapCount, int spacing, float norm,
                     float* out, int first) {
    for (int i = first; i < first + kLineLanes; i += kLanes) {
        Floats sums[pixels];
        for (int v = 0; v < pixels; ++v) sums[v] = load(centre + i + v * spacing, kLanes);
        for (int k = 0; k < tapCount; ++k) {
            const TapPair tap = taps[k];
            for (int v = 0; v < pixels; ++v)
                sums[v] += tap.weight * (load(tap.minus + i + v * spacing, kLanes) +
                                         load(tap.plus + i + v * spacing, kLanes));
        }
        for (int v = 0; v < pixels; ++v) store(out + i + v * spacing, sums[v] * norm, kLanes);
    }
}

static void pairLine(const float* centre, const TapPair* taps, int tapCount, int spacing, float norm,
                     float* out, int pixels) {
    constexpr int kMost = 6;  // pixels whose sums are kept in registers
    constexpr decltype(&sumPairs<1>) kSums[] = {sumPairs<1>, sumPairs<2>, sumPairs<3>,
                                                sumPairs<4>, sumPairs<5>, sumPairs<kMost>};
    const int apart = spacing * kLineLanes;
    for (int y = 0; y < spacing && y < pixels; ++y) {
        int left = (pixels - y + spacing - 1) / spacing;
        int first = y * kLineLanes;
        for (int groups = (left + kMost - 1) / kMost; groups > 0; --groups) {
            const int count = (left + groups - 1) / groups;
            kSums[count - 1](centre, taps, tapCount, apart, norm, out, first);
            first += count * apart;
            left -= count;
        }
    }
}

VEIL_ALWAYS_INLINE static inline void transpose(Quad (&q)[4]) {
    const Quad low01 = __builtin_shufflevector(q[0], q[1], 0, 4, 1, 5),
               low23 = __builtin_shufflevector(q[2], q[3], 0, 4, 1, 5),
               high01 = __builtin_shufflevector(q[0], q[1], 2, 6, 3, 7),
               high23 = __builtin_shufflevector(q[2], q[3], 2, 6, 3, 7);
    q[0] = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
    q[1] = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
    q[2] = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
    q[3] = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
}

// Calls step(sample, addresses) for each four samples of rows of pixels, the addresses being those of the
// samples' pixels in the channels' lines; the last four may begin among those before. Then single(sample,
// address) for the samples of a row of fewer.
template <class Line, class Step, class Single>
VEIL_ALWAYS_INLINE static inline void forFours(Line* lines, int lineLength, int channels, int pixels,
                                               Step step, Single single) {
    const int count = pixels * channels;
    const auto at = [&](int s) VEIL_ALWAYS_INLINE {
        return lines + s % channels * lineLength + s / channels * kLineLanes;
    };
    int s = 0;
    for (; s + 4 <= count; s += 4) {
        Line* const addresses[4] = {at(s), at(s + 1), at(s + 2), at(s + 3)};
        step(s, addresses);
    }
    if (s == count) return;
    if (count >= 4) {
        s = count - 4;
        Line* const addresses[4] = {at(s), at(s + 1), at(s + 2), at(s + 3)};
        step(s, addresses);
        return;
    }
    for (; s < count; ++s) single(s, at(s));
}

static void rowsToLines(const float* const* rows, int channels, float* lines, int lineLength, int pixels) {
    forFours(
        lines, lineLength, channels, pixels,
        [&](int s, float* const* to) VEIL_ALWAYS_INLINE {
            for (int k = 0; k < kLineLanes; k += 4) {
                Quad q[4];
                for (int j = 0; j < 4; ++j) q[j] = loadQuad(rows[k + j] + s);
                transpose(q);
                for (int j = 0; j < 4; ++j) storeQuad(to[j] + k, q[j]);
            }
        },
        [&](int s, float* to) VEIL_ALWAYS_INLINE {
            for (int k = 0; k < kLineLanes; ++k) to[k] = rows[k][s];
        });
}

static void linesToRows(const float* lines, int lineLength, int channels, float* const* rows, int rowCount,
                        int pixels) {
    forFours(
        lines, lineLength, channels, pixels,
        [&](int s, const float* const* from) VEIL_ALWAYS_INLINE {
            for (int k = 0; k < rowCount; k += 4) {
                Quad q[4];
                for (int j = 0; j < 4; ++j) q[j] = loadQuad(from[j] + k);
                transpose(q);
                for (int j = 0; j < 4 && k + j < rowCount; ++j) storeQuad(rows[k + j] + s, q[j]);
            }
        },
        [&](int s, const float* from) VEIL_ALWAYS_INLINE {
            for (int k = 0; k < rowCount; ++k) rows[k][s] = from[k];
        });
}

// Each sum waits for the one before, so a few rows are summed side by side, and the channels of a pixel in
// one vector. Its fourth lane adds up the sample behind the pixel, and is overwritten by the next pixel.
static void boxBlurRows(const BoxSource& source, int pixels, int halfWidth, int begin, int end, float* sums,
                        float* out, int outLength) {
    const int span = 2 * halfWidth + 1, length = end + span - 1;
    const int sumsLength = (length + 1) * 3 + 1;
    const int lastPixel = halfWidth + pixels - 1, inside = length < lastPixel ? length : lastPixel;
    const float* in[kBoxRows];
    float* next[kBoxRows];
    Quad total[kBoxRows], edge[kBoxRows];
    for (int k = 0; k < kBoxRows; ++k) {
        in[k] = source.rows + (k < source.rowCount ? k : source.rowCount - 1) * source.rowLength;
        next[k] = sums + k * sumsLength;
        edge[k] = Quad{in[k][0], in[k][1], in[k][2], 0.0f};
        total[k] = Quad{};
        storeQuad(next[k], total[k]);
        next[k] += 3;
    }
    const auto add = [&](int k, int i, Quad pixel) VEIL_ALWAYS_INLINE {
        total[k] += pixel;
        storeQuad(next[k] + i * 3, total[k]);
    };
    int i = 0;
    for (; i < halfWidth && i < inside; ++i)
        for (int k = 0; k < kBoxRows; ++k) add(k, i, edge[k]);
    for (; i < inside; ++i)
        for (int k = 0; k < kBoxRows; ++k) add(k, i, loadQuad(in[k] + (i - halfWidth) * 3));
    if (i < length) {
        for (int k = 0; k < kBoxRows; ++k) {
            const float* last = in[k] + (pixels - 1) * 3;
            edge[k] = Quad{last[0], last[1], last[2], 0.0f};
        }
        for (; i < length; ++i)
            for (int k = 0; k < kBoxRows; ++k) add(k, i, edge[k]);
    }
    const float inverse = 1.0f / static_cast<float>(span);
    for (int k = 0; k < source.rowCount; ++k) {
        const float *behind = sums + k * sumsLength + begin * 3, *ahead = behind + span * 3;
        float* to = out + k * outLength;
        for (int j = 0; j < (end - begin) * 3; ++j) to[j] = (ahead[j] - behind[j]) * inverse;
    }
}

}  // namespace veil
