#pragma once

// Vectors of the width of the set that is being compiled, and the sample formulas on them. Everything is
// static and inlined, so that no function of one set can stand in for that of another.

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#define VEIL_ALWAYS_INLINE __attribute__((always_inline))

namespace veil {

#if defined(__AVX512F__)
constexpr int kLanes = 16;
#elif defined(__AVX2__)
constexpr int kLanes = 8;
#else
constexpr int kLanes = 4;
#endif

typedef float Floats __attribute__((vector_size(kLanes * 4)));
typedef int Ints __attribute__((vector_size(kLanes * 4)));
typedef float UnalignedFloats __attribute__((vector_size(kLanes * 4), aligned(4), may_alias));
typedef float Quad __attribute__((vector_size(16)));  // a pixel and the sample behind it
typedef float UnalignedQuad __attribute__((vector_size(16), aligned(4), may_alias));

/// A pixel a lane.
struct Pixels {
    Floats r, g, b;
};

/// Calls step(first, lanes) for each group of lanes of `count`; all but the last have kLanes of them, as a
/// constant, so that the whole loads and stores are compiled without a branch.
template <class Step>
VEIL_ALWAYS_INLINE static inline void forLanes(int count, Step step) {
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) step(i, kLanes);
    if (i < count) step(i, count - i);
}

VEIL_ALWAYS_INLINE static inline Floats all(float v) { return v - Floats{}; }

/// The first `lanes` samples, zeros in the lanes behind them.
VEIL_ALWAYS_INLINE static inline Floats load(const float* p, int lanes) {
    if (lanes >= kLanes) return *reinterpret_cast<const UnalignedFloats*>(p);
#if defined(__AVX512F__)
    return _mm512_maskz_loadu_ps(static_cast<__mmask16>((1u << lanes) - 1), p);
#else
    float copy[kLanes] = {};
    for (int i = 0; i < lanes; ++i) copy[i] = p[i];
    return *reinterpret_cast<const UnalignedFloats*>(copy);
#endif
}

VEIL_ALWAYS_INLINE static inline void store(float* p, Floats v, int lanes) {
    if (lanes >= kLanes) {
        *reinterpret_cast<UnalignedFloats*>(p) = v;
        return;
    }
#if defined(__AVX512F__)
    _mm512_mask_storeu_ps(p, static_cast<__mmask16>((1u << lanes) - 1), v);
#else
    float copy[kLanes];
    *reinterpret_cast<UnalignedFloats*>(copy) = v;
    for (int i = 0; i < lanes; ++i) p[i] = copy[i];
#endif
}

VEIL_ALWAYS_INLINE static inline Quad loadQuad(const float* p) {
    return *reinterpret_cast<const UnalignedQuad*>(p);
}
VEIL_ALWAYS_INLINE static inline void storeQuad(float* p, Quad v) {
    *reinterpret_cast<UnalignedQuad*>(p) = v;
}

/// How many of `samples` fall into the vector that begins at sample `first`.
VEIL_ALWAYS_INLINE static inline int lanesFrom(int samples, int first) {
    const int left = samples > first ? samples - first : 0;
    return left < kLanes ? left : kLanes;
}

// Interleaved pixels to and from a vector a channel. Sample 3 * i + c lies in lane (3 * i + c) mod kLanes of
// one of three vectors, and no two samples of a channel in the same lane. So two blends bring a channel
// together and one permutation puts it in order, where a compiler takes two shuffles a vector.

#if defined(__AVX2__)

/// Lanes 0, 3, 6... of `a`, 1, 4... of `b` and 2, 5... of `c`.
VEIL_ALWAYS_INLINE static inline Floats everyThird(Floats a, Floats b, Floats c) {
#if defined(__AVX512F__)
    return _mm512_mask_blend_ps(0x4924, _mm512_mask_blend_ps(0x2492, a, b), c);
#else
    return _mm256_blend_ps(_mm256_blend_ps(a, b, 0x92), c, 0x24);
#endif
}

VEIL_ALWAYS_INLINE static inline Floats permute(Floats v, Ints order) {
#if defined(__AVX512F__)
    return _mm512_permutexvar_ps(reinterpret_cast<__m512i>(order), v);
#else
    return _mm256_permutevar8x32_ps(v, reinterpret_cast<__m256i>(order));
#endif
}

#if defined(__AVX512F__)
constexpr Ints kLaneIndex = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr int kThird = 11;  // 3 * 11 = 1 mod 16
#else
constexpr Ints kLaneIndex = {0, 1, 2, 3, 4, 5, 6, 7};
constexpr int kThird = 3;  // 3 * 3 = 1 mod 8
#endif

VEIL_ALWAYS_INLINE static inline Floats ordered(Floats v, int channel) {
    return permute(v, (kLaneIndex * 3 + channel) & (kLanes - 1));
}
VEIL_ALWAYS_INLINE static inline Floats scattered(Floats v, int channel) {
    return permute(v, ((kLaneIndex - channel) * kThird) & (kLanes - 1));
}

VEIL_ALWAYS_INLINE static inline Pixels split(Floats v0, Floats v1, Floats v2) {
#if defined(__AVX512F__)
    const Floats r = everyThird(v0, v2, v1), g = everyThird(v1, v0, v2), b = everyThird(v2, v1, v0);
#else
    const Floats r = everyThird(v0, v1, v2), g = everyThird(v2, v0, v1), b = everyThird(v1, v2, v0);
#endif
    return {ordered(r, 0), ordered(g, 1), ordered(b, 2)};
}

VEIL_ALWAYS_INLINE static inline void join(const Pixels& p, Floats& v0, Floats& v1, Floats& v2) {
    const Floats r = scattered(p.r, 0), g = scattered(p.g, 1), b = scattered(p.b, 2);
    v0 = everyThird(r, g, b);
#if defined(__AVX512F__)
    v1 = everyThird(g, b, r);
    v2 = everyThird(b, r, g);
#else
    v1 = everyThird(b, r, g);
    v2 = everyThird(g, b, r);
#endif
}

#else  // four lanes: each step is one SSE shuffle

VEIL_ALWAYS_INLINE static inline Pixels split(Floats v0, Floats v1, Floats v2) {
    const Floats r12 = __builtin_shufflevector(v1, v2, 2, 2, 5, 5);
    const Floats g01 = __builtin_shufflevector(v0, v1, 1, 1, 4, 4);
    const Floats g12 = __builtin_shufflevector(v1, v2, 3, 3, 6, 6);
    const Floats b01 = __builtin_shufflevector(v0, v1, 2, 2, 5, 5);
    return {__builtin_shufflevector(v0, r12, 0, 3, 4, 6), __builtin_shufflevector(g01, g12, 0, 2, 4, 6),
            __builtin_shufflevector(b01, v2, 0, 2, 4, 7)};
}

VEIL_ALWAYS_INLINE static inline void join(const Pixels& p, Floats& v0, Floats& v1, Floats& v2) {
    const Floats rg = __builtin_shufflevector(p.r, p.g, 0, 4, 1, 5);
    const Floats br = __builtin_shufflevector(p.b, p.r, 0, 0, 5, 5);
    const Floats gb1 = __builtin_shufflevector(p.g, p.b, 1, 1, 5, 5);
    const Floats rg2 = __builtin_shufflevector(p.r, p.g, 2, 2, 6, 6);
    const Floats br23 = __builtin_shufflevector(p.b, p.r, 2, 2, 7, 7);
    const Floats gb3 = __builtin_shufflevector(p.g, p.b, 3, 3, 7, 7);
    v0 = __builtin_shufflevector(rg, br, 0, 1, 4, 6);
    v1 = __builtin_shufflevector(gb1, rg2, 0, 2, 4, 6);
    v2 = __builtin_shufflevector(br23, gb3, 0, 2, 4, 6);
}

#endif

VEIL_ALWAYS_INLINE static inline Pixels loadPixels(const float* rgb, int lanes) {
    const int samples = lanes * 3;
    return split(load(rgb, lanesFrom(samples, 0)), load(rgb + kLanes, lanesFrom(samples, kLanes)),
                 load(rgb + 2 * kLanes, lanesFrom(samples, 2 * kLanes)));
}

VEIL_ALWAYS_INLINE static inline void storePixels(float* rgb, const Pixels& p, int lanes) {
    const int samples = lanes * 3;
    Floats v0, v1, v2;
    join(p, v0, v1, v2);
    store(rgb, v0, lanesFrom(samples, 0));
    store(rgb + kLanes, v1, lanesFrom(samples, kLanes));
    store(rgb + 2 * kLanes, v2, lanesFrom(samples, 2 * kLanes));
}

// The sample formulas.

/// a > b ? a : b, a NaN and two zeros included; the compiler does not always see the one instruction in it.
VEIL_ALWAYS_INLINE static inline Floats larger(Floats a, Floats b) {
#if defined(__AVX512F__)
    return _mm512_max_ps(a, b);
#elif defined(__AVX2__)
    return _mm256_max_ps(a, b);
#elif defined(__x86_64__)
    return _mm_max_ps(a, b);
#else
    return a > b ? a : b;
#endif
}

/// a < b ? a : b.
VEIL_ALWAYS_INLINE static inline Floats smaller(Floats a, Floats b) {
#if defined(__AVX512F__)
    return _mm512_min_ps(a, b);
#elif defined(__AVX2__)
    return _mm256_min_ps(a, b);
#elif defined(__x86_64__)
    return _mm_min_ps(a, b);
#else
    return a < b ? a : b;
#endif
}

/// Limited to 0 to 1; NaN stays.
VEIL_ALWAYS_INLINE static inline Floats saturate(Floats v) {
    return smaller(all(1.0f), larger(all(0.0f), v));
}

/// Whether all samples are from 0 up to, but not including, 2^60, so that their products with usual numbers
/// don't overflow. -0 and NaN are not.
VEIL_ALWAYS_INLINE static inline bool areBounded(Floats v) {
    constexpr int kBound = 0x5D800000;  // 2^60; the bits of positive floats ascend with them
    const Ints bits = reinterpret_cast<Ints>(v);
#if defined(__AVX512F__)
    return _mm512_cmpge_epu32_mask(reinterpret_cast<__m512i>(bits), _mm512_set1_epi32(kBound)) == 0;
#else
    const Ints isOutside = (bits < 0) | (bits >= kBound);
#if defined(__AVX2__)
    return _mm256_movemask_ps(reinterpret_cast<__m256>(isOutside)) == 0;
#elif defined(__x86_64__)
    return _mm_movemask_ps(reinterpret_cast<__m128>(isOutside)) == 0;
#else
    bool are = true;
    for (int i = 0; i < kLanes; ++i) are = are && isOutside[i] == 0;
    return are;
#endif
#endif
}

/// Luma weights of linear-light primaries, applied to coded values on purpose.
VEIL_ALWAYS_INLINE static inline Floats luma(Floats r, Floats g, Floats b) {
    return 0.2126f * r + 0.7152f * g + 0.0722f * b;
}
VEIL_ALWAYS_INLINE static inline Floats luma(const Pixels& p) { return luma(p.r, p.g, p.b); }

/// 0 at 0, 1 at 1, level at both ends.
VEIL_ALWAYS_INLINE static inline Floats smooth(Floats t) { return t * t * (3.0f - 2.0f * t); }

VEIL_ALWAYS_INLINE static inline Floats lerp(Floats a, Floats b, float fraction) {
    return (1.0f - fraction) * a + fraction * b;
}

constexpr float kEpsilon = 1e-6f;  // least luma that is divided by; one 4000th of an 8-bit step

}  // namespace veil
