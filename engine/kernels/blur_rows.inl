#include "engine/kernels/lanes.h"

namespace veil {

constexpr int kTapVectors = 4;  // sums kept in registers; as many additions hide each other's latency

// One group of `vectors` vectors: the centre, all taps in order, and the norm.
template <int vectors, class Tap, class Read>
VEIL_ALWAYS_INLINE static inline void sumTaps(const float* centre, const Tap* taps, int tapCount, float norm,
                                              float* out, int i, int lanes, Read read) {
    Floats sums[vectors];
    for (int v = 0; v < vectors; ++v) sums[v] = load(centre + i + v * kLanes, lanes);
    for (int k = 0; k < tapCount; ++k) {
        const Tap tap = taps[k];
        for (int v = 0; v < vectors; ++v) sums[v] += tap.weight * read(tap, i + v * kLanes, lanes);
    }
    for (int v = 0; v < vectors; ++v) store(out + i + v * kLanes, sums[v] * norm, lanes);
}

template <class Tap, class Read>
VEIL_ALWAYS_INLINE static inline void sumTapsOfRow(const float* centre, const Tap* taps, int tapCount,
                                                   float norm, float* out, int count, Read read) {
    constexpr int kGroup = kTapVectors * kLanes;
    int i = 0;
    for (; i + kGroup <= count; i += kGroup)
        sumTaps<kTapVectors>(centre, taps, tapCount, norm, out, i, kLanes, read);
    for (; i + kLanes <= count; i += kLanes) sumTaps<1>(centre, taps, tapCount, norm, out, i, kLanes, read);
    if (i < count) sumTaps<1>(centre, taps, tapCount, norm, out, i, count - i, read);
}

// The lines of one group of vectors, which stay in registers.
template <int vectors>
VEIL_ALWAYS_INLINE static inline void lerpGroup(const float* line, int step, const float* fractions,
                                                int lineCount, float* out, int outLength, int i, int lanes) {
    Floats low[vectors], high[vectors];
    for (int v = 0; v < vectors; ++v) {
        low[v] = load(line + i + v * kLanes, lanes);
        high[v] = load(line + i + v * kLanes + step, lanes);
    }
    float* to = out + i;
    for (int k = 0; k < lineCount; ++k, to += outLength) {
        const float fraction = fractions[k];
        for (int v = 0; v < vectors; ++v) store(to + v * kLanes, lerp(low[v], high[v], fraction), lanes);
    }
}

static void lerpLines(const float* line, int step, const float* fractions, int lineCount, float* out,
                      int outLength, int count) {
    constexpr int kGroup = kTapVectors * kLanes;
    int i = 0;
    for (; i + kGroup <= count; i += kGroup)
        lerpGroup<kTapVectors>(line, step, fractions, lineCount, out, outLength, i, kLanes);
    for (; i + kLanes <= count; i += kLanes)
        lerpGroup<1>(line, step, fractions, lineCount, out, outLength, i, kLanes);
    if (i < count) lerpGroup<1>(line, step, fractions, lineCount, out, outLength, i, count - i);
}

static void tapRow(const float* centre, const TapReads* taps, int tapCount, int step, float norm, float* out,
                   int count) {
    const auto read = [step](const TapReads& tap, int i, int lanes) VEIL_ALWAYS_INLINE {
        const float *minus = tap.minus + i, *plus = tap.plus + i;
        return lerp(load(minus, lanes), load(minus + step, lanes), tap.minusFraction) +
               lerp(load(plus, lanes), load(plus + step, lanes), tap.plusFraction);
    };
    sumTapsOfRow(centre, taps, tapCount, norm, out, count, read);
}

static void pairRow(const float* centre, const TapPair* taps, int tapCount, float norm, float* out,
                    int count) {
    const auto read = [](const TapPair& tap, int i, int lanes) VEIL_ALWAYS_INLINE {
        return load(tap.minus + i, lanes) + load(tap.plus + i, lanes);
    };
    sumTapsOfRow(centre, taps, tapCount, norm, out, count, read);
}

// A linear read with a fraction a lane. A negative zero stands for a fraction of 0 one step further on.
VEIL_ALWAYS_INLINE static inline Floats edgeRead(const float* row, const float* fractions, int step,
                                                 int lanes) {
    const Floats stored = load(fractions, lanes);
    const Ints isShifted = reinterpret_cast<Ints>(stored) < 0;
    const Floats fraction = reinterpret_cast<Floats>(reinterpret_cast<Ints>(stored) & 0x7FFFFFFF);
    const Floats a = load(row, lanes), b = load(row + step, lanes), c = load(row + 2 * step, lanes);
    const Floats low = isShifted ? b : a, high = isShifted ? c : b;
    return (1.0f - fraction) * low + fraction * high;
}

static void edgeRow(const float* centre, const EdgeReads* taps, int tapCount, int step, float norm,
                    float* out, int count) {
    const auto read = [step](const EdgeReads& tap, int i, int lanes) VEIL_ALWAYS_INLINE {
        return edgeRead(tap.minus + i, tap.minusFractions + i, step, lanes) +
               edgeRead(tap.plus + i, tap.plusFractions + i, step, lanes);
    };
    sumTapsOfRow(centre, taps, tapCount, norm, out, count, read);
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
