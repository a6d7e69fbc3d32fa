#include "engine/kernels/lanes.h"

namespace veil {

static constexpr float kLitLuma = 0.9f;  // up to here the knee is 0 and the boost changes nothing

// A bit for each lane above the luma, or not a number.
VEIL_ALWAYS_INLINE static inline unsigned litLanes(Floats l) {
    const Ints isLit = ~(l <= kLitLuma);
#if defined(__AVX512F__)
    return _mm512_movepi32_mask(reinterpret_cast<__m512i>(isLit));
#elif defined(__AVX2__)
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(isLit)));
#else
    unsigned bits = 0;
    for (int i = 0; i < kLanes; ++i) bits |= isLit[i] ? 1u << i : 0u;
    return bits;
#endif
}

static void litSpan(const float* base, int pixels, int* begin, int* end) {
    int first = pixels, last = -1;
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const unsigned lit = litLanes(luma(loadPixels(base + i * 3, n)));
        if (lit == 0) return;
        if (last < 0) first = i + __builtin_ctz(lit);
        last = i + 31 - __builtin_clz(lit);
    });
    *begin = last < 0 ? 0 : first;
    *end = last + 1;
}

static void coreMaskRow(const float* base, float* mask, int pixels) {
    constexpr float kCoreRange = 0.050000012f;  // 1 - 0.95 in 32-bit floats
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        store(mask + i, smooth(saturate((luma(loadPixels(base + i * 3, n)) - 0.95f) / kCoreRange)), n);
    });
}

VEIL_ALWAYS_INLINE static inline Floats rimWeightOf(const Pixels& p, Floats core) {
    const Floats l = luma(p), least = all(kEpsilon);
    const Floats high = larger(larger(p.r, p.g), p.b);
    const Floats low = smaller(smaller(p.r, p.g), p.b);
    // The green cast of foliage is not the colour of a light.
    const Floats greenExcess = smaller(p.g - p.r, p.g - p.b) / larger(l, least);
    const Floats green = smooth(saturate(greenExcess / 0.3f));
    const Floats clipped = smooth(saturate((high - 0.92f) / 0.08f));
    const Floats saturation = (high - low) / larger(high, least) * l;
    return (1.0f - clipped) * saturation * saturation * saturation * core * (1.0f - green);
}

static void rimRow(const float* base, const float* core, float* rimColor, float* rimWeight, int pixels) {
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const Pixels p = loadPixels(base + i * 3, n);
        const Floats weight = rimWeightOf(p, load(core + i, n));
        storePixels(rimColor + i * 3, {p.r * weight, p.g * weight, p.b * weight}, n);
        store(rimWeight + i, weight, n);
    });
}

// How far a pixel is blown out, and its gain: small lights in the dark gain most.
struct Gain {
    Floats knee, gain;
};

VEIL_ALWAYS_INLINE static inline Gain gainOf(Floats base, Floats around, Floats wide, Floats coreSpread,
                                             float highlightBoost) {
    const Floats knee = smooth(saturate((base - kLitLuma) / 0.1f));
    const Floats isolation = 1.0f - smooth(saturate((around - 0.25f) * 4.0f));
    const Floats nearCore = smooth(saturate((coreSpread - 0.05f) / 0.35f));
    const Floats wideDark = 1.0f - smooth(saturate((wide - 0.25f) * 4.0f));
    return {knee, 1.0f + (isolation + wideDark * nearCore) * knee * highlightBoost};
}

// The gain, and the rim's colour at the light's own luma.
VEIL_ALWAYS_INLINE static inline Pixels colored(const Pixels& light, const Pixels& rim, Floats rimWeight,
                                                const Gain& by) {
    constexpr float kNeutral = 0.0001f;  // makes the ratio (1, 1, 1) where no rim was found
    const Floats zero = all(0.0f), least = all(kEpsilon), weight = rimWeight + kNeutral;
    const Pixels q{light.r * by.gain, light.g * by.gain, light.b * by.gain};
    Pixels c{(rim.r + kNeutral) / weight, (rim.g + kNeutral) / weight, (rim.b + kNeutral) / weight};
    const Floats toUnit = 1.0f / larger(luma(c), least);
    // Four times the saturation about neutral, so that a faint rim still colours the core.
    c.r = larger(zero, (c.r * toUnit - 1.0f) * 4.0f + 1.0f);
    c.g = larger(zero, (c.g * toUnit - 1.0f) * 4.0f + 1.0f);
    c.b = larger(zero, (c.b * toUnit - 1.0f) * 4.0f + 1.0f);
    const Floats scale = luma(q) * (1.0f / larger(luma(c), least));
    return {q.r * (1.0f - by.knee) + c.r * scale * by.knee, q.g * (1.0f - by.knee) + c.g * scale * by.knee,
            q.b * (1.0f - by.knee) + c.b * scale * by.knee};
}

static void boostRow(const BoostRows& rows, float highlightBoost, float* bright, int pixels) {
    const BoostRows in = rows;
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const Gain gain =
            gainOf(luma(loadPixels(in.base + i * 3, n)), luma(loadPixels(in.surround + i * 3, n)),
                   luma(loadPixels(in.wideBlur + i * 3, n)), load(in.coreSpread + i, n), highlightBoost);
        const Pixels light = loadPixels(bright + i * 3, n), rim = loadPixels(in.rimColor + i * 3, n);
        storePixels(bright + i * 3, colored(light, rim, load(in.rimWeight + i, n), gain), n);
    });
}

}  // namespace veil
