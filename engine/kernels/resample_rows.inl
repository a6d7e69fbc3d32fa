#include "engine/kernels/samples.h"

namespace veil {

// The sum of five rows by `sumAt`, which takes an index and the lanes that are wanted.
template <SampleKind kind, class SumAt>
VEIL_ALWAYS_INLINE static inline void sumRows(const FiveRows& rows, float* out, int count, SumAt sumAt) {
    constexpr int kBytes = sampleBytes(kind);
    FiveRows in = rows;
    for (int k = 0; k < kBoxHeight; ++k)
        if (!in.ahead[k]) in.ahead[k] = in.row[k];  // which costs nothing
    forLanes(count, [&](int i, int n) VEIL_ALWAYS_INLINE {
        for (const void* row : in.ahead) fetchPart<false, kLanes * kBytes>(row, i * kBytes);
        store(out + i, sumAt(in, i, n), n);
    });
}

template <class Kind>
static void sumFiveRows(const FiveRows& rows, float* out, int count) {
    sumRows<Kind::kKind>(rows, out, count, [](const FiveRows& in, int i, int n) VEIL_ALWAYS_INLINE {
        Floats sum = Kind::loadUnits(in.row[0], i, n);
        for (int k = 1; k < kBoxHeight; ++k) sum += Kind::loadUnits(in.row[k], i, n);
        return sum * Kind::kUnit;
    });
}

// Sums of words divided by a power of two are floats without a rounding, so they are summed as integers.
static void sumFiveWordRows(const FiveRows& rows, float* out, int count) {
    sumRows<SampleKind::words>(rows, out, count, [](const FiveRows& in, int i, int n) VEIL_ALWAYS_INLINE {
        Ints sum = WordSamples::loadInts(in.row[0], i, n);
        for (int k = 1; k < kBoxHeight; ++k) sum += WordSamples::loadInts(in.row[k], i, n);
        return __builtin_convertvector(sum, Floats) * WordSamples::kUnit;
    });
}

// A pixel and, unless it is the last of its row, one sample more, which the next pixel overwrites.
VEIL_ALWAYS_INLINE static inline void storePixel(float* out, Quad pixel, bool isFollowed) {
    if (isFollowed) {
        storeQuad(out, pixel);
        return;
    }
    for (int c = 0; c < 3; ++c) out[c] = pixel[c];
}

static constexpr float kBoxMean = 1.0f / 25.0f;  // 5 by 5 samples, clamped ones counted again

// A pixel at a time, its channels in one vector. The last column comes from a sample further left, so that
// nothing behind the sums is read.
static void boxRow(const float* sums, const int* centres, float* out, int pixels) {
    for (int i = 0; i < pixels; ++i) {
        const float* s = sums + (centres[i] - 2) * 3;
        const Quad beforeLast = loadQuad(s + 11);
        const Quad last = __builtin_shufflevector(beforeLast, beforeLast, 1, 2, 3, 3);
        const Quad sum = loadQuad(s) + loadQuad(s + 3) + loadQuad(s + 6) + loadQuad(s + 9) + last;
        storePixel(out + i * 3, sum * kBoxMean, i + 1 < pixels);
    }
}

static void boxRowClamped(const float* sums, int width, const int* centres, float* out, int pixels) {
    for (int i = 0; i < pixels; ++i) {
        float r = 0.0f, g = 0.0f, b = 0.0f;
        for (int k = -2; k <= 2; ++k) {
            int x = centres[i] + k;
            x = x < width - 1 ? x : width - 1;
            x = x > 0 ? x : 0;
            r += sums[x * 3];
            g += sums[x * 3 + 1];
            b += sums[x * 3 + 2];
        }
        out[i * 3] = r * kBoxMean;
        out[i * 3 + 1] = g * kBoxMean;
        out[i * 3 + 2] = b * kBoxMean;
    }
}

// The two pixels of a column and its fraction. Where they are neighbours, which they are but at the ends,
// both come in whole vectors that end with the right one.
VEIL_ALWAYS_INLINE static inline Quad columnOf(const float* row, const BilinearColumn& column) {
    const float *a = row + column.left, *b = row + column.right;
    Quad left, right;
    if (b == a + 3) {
        const Quad behind = loadQuad(a + 2);
        left = loadQuad(a);
        right = __builtin_shufflevector(behind, behind, 1, 2, 3, 3);
    } else {
        left = Quad{a[0], a[1], a[2], 0.0f};
        right = Quad{b[0], b[1], b[2], 0.0f};
    }
    return (1.0f - column.fraction) * left + column.fraction * right;
}

static void expandRow(const float* row, const BilinearColumn* columns, float* out, int pixels) {
    for (int i = 0; i < pixels; ++i) storePixel(out + i * 3, columnOf(row, columns[i]), i + 1 < pixels);
}

#if defined(__AVX512F__)
// A vector of columns whose pixels all lie in 32 samples, which two registers hold; false if they don't.
VEIL_ALWAYS_INLINE static inline bool expandNear(const float* row, const BilinearColumn* columns, float* r,
                                                 float* g, float* b) {
    const Pixels fields = loadPixels(reinterpret_cast<const float*>(columns), kLanes);
    const int base = columns[0].left, last = columns[kLanes - 1].right - base;
    if (last < 0 || last + 3 > 2 * kLanes) return false;
    const Ints left = reinterpret_cast<Ints>(fields.r) - base,
               right = reinterpret_cast<Ints>(fields.g) - base;
    const __m512i limit = _mm512_set1_epi32(last);
    if ((_mm512_cmpgt_epu32_mask(reinterpret_cast<__m512i>(left), limit) |
         _mm512_cmpgt_epu32_mask(reinterpret_cast<__m512i>(right), limit)) != 0)
        return false;
    const Floats low = load(row + base, lanesFrom(last + 3, 0));
    const Floats high = load(row + base + kLanes, lanesFrom(last + 3, kLanes));
    const auto channel = [&](int c) VEIL_ALWAYS_INLINE -> Floats {
        const Floats a = _mm512_permutex2var_ps(low, reinterpret_cast<__m512i>(left + c), high);
        const Floats z = _mm512_permutex2var_ps(low, reinterpret_cast<__m512i>(right + c), high);
        return (1.0f - fields.b) * a + fields.b * z;
    };
    store(r, channel(0), kLanes);
    store(g, channel(1), kLanes);
    store(b, channel(2), kLanes);
    return true;
}
#endif

static void expandRowToPlanes(const float* row, const BilinearColumn* columns, float* r, float* g, float* b,
                              int pixels) {
    int i = 0;
#if defined(__AVX512F__)
    while (i + kLanes <= pixels && expandNear(row, columns + i, r + i, g + i, b + i)) i += kLanes;
#endif
    for (; i + 4 <= pixels; i += 4) {  // four pixels, transposed
        const Quad p0 = columnOf(row, columns[i]), p1 = columnOf(row, columns[i + 1]);
        const Quad p2 = columnOf(row, columns[i + 2]), p3 = columnOf(row, columns[i + 3]);
        const Quad rg01 = __builtin_shufflevector(p0, p1, 0, 4, 1, 5);
        const Quad rg23 = __builtin_shufflevector(p2, p3, 0, 4, 1, 5);
        const Quad b01 = __builtin_shufflevector(p0, p1, 2, 6, 2, 6);
        const Quad b23 = __builtin_shufflevector(p2, p3, 2, 6, 2, 6);
        storeQuad(r + i, __builtin_shufflevector(rg01, rg23, 0, 1, 4, 5));
        storeQuad(g + i, __builtin_shufflevector(rg01, rg23, 2, 3, 6, 7));
        storeQuad(b + i, __builtin_shufflevector(b01, b23, 0, 1, 4, 5));
    }
    for (; i < pixels; ++i) {
        const Quad p = columnOf(row, columns[i]);
        r[i] = p[0];
        g[i] = p[1];
        b[i] = p[2];
    }
}

static void expandPlaneRow(const float* row, const BilinearColumn* columns, float* out, int pixels) {
    for (int i = 0; i < pixels; ++i) {
        const float f = columns[i].fraction;
        out[i] = (1.0f - f) * row[columns[i].left] + f * row[columns[i].right];
    }
}

static void lerpRows(const float* top, const float* bottom, float fraction, float* out, int count) {
    for (int i = 0; i < count; ++i) out[i] = (1.0f - fraction) * top[i] + fraction * bottom[i];
}

}  // namespace veil
