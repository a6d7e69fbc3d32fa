#include "engine/kernels/samples.h"

namespace veil {

VEIL_ALWAYS_INLINE static inline Pixels saturated(const Pixels& glow, float saturation) {
    Floats r = glow.r, g = glow.g, b = glow.b;
    const Floats l = luma(r, g, b);
    const Floats grey = (1.0f - saturation) * l, zero = all(0.0f);
    r = larger(zero, r * saturation + grey);
    g = larger(zero, g * saturation + grey);
    b = larger(zero, b * saturation + grey);
    // The clip at 0 may have taken light away; the luma stays that of the glow.
    const Floats clippedLuma = luma(r, g, b);
    const Floats back = clippedLuma > all(kEpsilon) ? l / clippedLuma : all(1.0f);
    return {r * back, g * back, b * back};
}

// What is left of the glow where the source is dark.
VEIL_ALWAYS_INLINE static inline Floats keptInShadow(const Pixels& source, float protect) {
    const Floats t = saturate(luma(source) / 0.35f);
    return 1.0f - (1.0f - smooth(t)) * protect;
}

VEIL_ALWAYS_INLINE static inline Floats screen(Floats glow, Floats source) {
    return 1.0f - (1.0f - glow) * (1.0f - source);
}

// A glow of any numbers over any source.
template <class Kind>
VEIL_ALWAYS_INLINE static inline void composeAny(const Pixels& blurred, const void* source,
                                                 const ComposeConstants& c, void* out, int i, int n) {
    Pixels glow = saturated(blurred, c.saturation);
    glow = {saturate(glow.r * c.tintR * c.strength), saturate(glow.g * c.tintG * c.strength),
            saturate(glow.b * c.tintB * c.strength)};
    const bool protects = c.shadowProtect > 0.0f;
    if (protects || !c.glowOnly) {
        const Pixels picture = splitOf<Kind>(source, i, n);
        if (protects) {
            const Floats kept = keptInShadow(picture, c.shadowProtect);
            glow = {glow.r * kept, glow.g * kept, glow.b * kept};
        }
        if (!c.glowOnly)
            glow = {saturate(screen(glow.r, picture.r)), saturate(screen(glow.g, picture.g)),
                    saturate(screen(glow.b, picture.b))};
    }
    joinTo(glow, i, n,
           [&](int at, Floats v, int lanes) VEIL_ALWAYS_INLINE { Kind::store(out, at, v, lanes); });
}

// Whether composeUnit does: with constants in their usual ranges no product of a bounded glow overflows, and
// most limits are kept without a step of their own.
static inline bool areUsual(const ComposeConstants& c) {
    constexpr float kMost = 1e6f;
    const auto isUsual = [](float v) { return v >= 0.0f && v <= kMost; };
    return isUsual(c.saturation) && isUsual(c.tintR) && isUsual(c.tintG) && isUsual(c.tintB) &&
           isUsual(c.strength) && c.shadowProtect >= 0.0f && c.shadowProtect <= 1.0f;
}

// What a look asks for, as constants: branches between the steps would keep them from running side by side.
template <bool mixesGrey, bool protectsShadows, bool isGlowOnly>
struct Steps {
    static constexpr bool kMixesGrey = mixesGrey, kProtects = protectsShadows, kGlowOnly = isGlowOnly;
};

// Whole vectors side by side, as each step of one waits for the step before.
template <class Kind, class Steps, int vectors>
VEIL_ALWAYS_INLINE static inline void composeUnit(const Pixels (&blurred)[vectors], const void* source,
                                                  const ComposeConstants& c, void* out, int i) {
    constexpr float kWhite = 1.0f / Kind::kUnit;
    const Floats one = all(1.0f), unit = all(Kind::kUnit), white = all(kWhite);
    const float strength = c.strength * Kind::kUnit;
    Pixels glow[vectors], picture[vectors];
    for (int v = 0; v < vectors; ++v) {
        if (Steps::kProtects || !Steps::kGlowOnly) picture[v] = Kind::pixels(source, i + v * kLanes);
        glow[v] = Steps::kMixesGrey ? saturated(blurred[v], c.saturation) : blurred[v];
    }
    // In units of the source's white, so that the product of both shades needs no factor.
    for (Pixels& g : glow)
        g = {smaller(unit, g.r * c.tintR * strength), smaller(unit, g.g * c.tintG * strength),
             smaller(unit, g.b * c.tintB * strength)};
    if (Steps::kProtects) {
        Floats t[vectors];
        for (int v = 0; v < vectors; ++v) {
            const Pixels& p = picture[v];
            const Floats l =
                (0.2126f * Kind::kUnit) * p.r + (0.7152f * Kind::kUnit) * p.g + (0.0722f * Kind::kUnit) * p.b;
            t[v] = smaller(one, Kind::notNegative(l / 0.35f));
        }
        for (int v = 0; v < vectors; ++v) {
            const Floats kept = 1.0f - (1.0f - smooth(t[v])) * c.shadowProtect;
            glow[v] = {glow[v].r * kept, glow[v].g * kept, glow[v].b * kept};
        }
    }
    for (int v = 0; v < vectors; ++v) {
        Pixels& g = glow[v];
        const Pixels& p = picture[v];
        if (Steps::kGlowOnly)
            g = {g.r * kWhite, g.g * kWhite, g.b * kWhite};
        else
            g = {1.0f - (unit - g.r) * (white - p.r), 1.0f - (unit - g.g) * (white - p.g),
                 1.0f - (unit - g.b) * (white - p.b)};
    }
    for (int v = 0; v < vectors; ++v) Kind::storePixels(out, i + v * kLanes, glow[v]);
}

static bool areBounded(const float* samples, int count) {
    bool are = true;
    forLanes(count, [&](int i, int n) VEIL_ALWAYS_INLINE { are = areBounded(load(samples + i, n)) && are; });
    return are;
}

// One row: the glow as the lerp of two, over a source.
struct Composing {
    GlowRow top, bottom;
    float fraction;
    const void* source;
    ComposeConstants constants;
    void* out;
    int pixels;
    RowAhead ahead;

    template <int vectors>
    VEIL_ALWAYS_INLINE void glowAt(int i, int n, Pixels (&glow)[vectors]) const {
        for (int v = 0; v < vectors; ++v, i += kLanes)
            glow[v] = {lerp(load(top.r + i, n), load(bottom.r + i, n), fraction),
                       lerp(load(top.g + i, n), load(bottom.g + i, n), fraction),
                       lerp(load(top.b + i, n), load(bottom.b + i, n), fraction)};
    }
};

// A row of at least one group of vectors, whose last group may begin in the one before, so that a host's
// buffer which is source and result must hold whole groups; false for other rows.
template <class Kind, class Steps>
static bool composeUnits(const Composing& composing) {
    const Composing row = composing;
    constexpr int kVectors = 4, kGroup = kVectors * kLanes;
    constexpr int kPixelBytes = 3 * sampleBytes(Kind::kKind), kGroupBytes = kGroup * kPixelBytes;
    if (row.pixels < kGroup || (row.source == row.out && row.pixels % kGroup != 0)) return false;
    for (int next = 0; next < row.pixels; next += kGroup) {
        const int i = next + kGroup <= row.pixels ? next : row.pixels - kGroup;
        fetchPart<false, kGroupBytes>(row.ahead.source, i * kPixelBytes);
        fetchPart<true, kGroupBytes>(row.ahead.out, i * kPixelBytes);
        Pixels glow[kVectors];
        row.glowAt(i, kLanes, glow);
        composeUnit<Kind, Steps>(glow, row.source, row.constants, row.out, i);
    }
    return true;
}

// A saturation of 1 changes no bit of what a blur makes of a picture, for the grey is 0 and l / l is 1.
template <class Kind, bool protectsShadows, bool isGlowOnly>
VEIL_ALWAYS_INLINE static inline bool composeUnits(const Composing& row) {
    return row.constants.saturation == 1.0f
               ? composeUnits<Kind, Steps<false, protectsShadows, isGlowOnly>>(row)
               : composeUnits<Kind, Steps<true, protectsShadows, isGlowOnly>>(row);
}

template <class Kind>
static void composeRow(const GlowRow& top, const GlowRow& bottom, float fraction, const void* source,
                       const ComposeConstants& constants, void* out, int pixels, const RowAhead& ahead) {
    const ComposeConstants c = constants;
    // What is in the cache costs nothing to fetch.
    const Composing row{
        top, bottom, fraction, source,
        c,   out,    pixels,   {ahead.source ? ahead.source : out, ahead.out ? ahead.out : out}};
    const bool protects = c.shadowProtect > 0.0f;
    if (top.isBounded && bottom.isBounded && areUsual(c)) {
        const bool isDone =
            c.glowOnly
                ? (protects ? composeUnits<Kind, true, true>(row) : composeUnits<Kind, false, true>(row))
                : (protects ? composeUnits<Kind, true, false>(row) : composeUnits<Kind, false, false>(row));
        if (isDone) return;
    }
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        Pixels glow[1];
        row.glowAt(i, n, glow);
        composeAny<Kind>(glow[0], source, c, out, i, n);
    });
}

}  // namespace veil
