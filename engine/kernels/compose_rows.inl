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

template <class Kind>
VEIL_ALWAYS_INLINE static inline void composeUnit(const Pixels& blurred, const void* source,
                                                  const ComposeConstants& c, void* out, int i, int n) {
    constexpr float kWhite = 1.0f / Kind::kUnit;
    const Floats one = all(1.0f), unit = all(Kind::kUnit), white = all(kWhite);
    const float strength = c.strength * Kind::kUnit;
    // A saturation of 1 changes no bit of what a blur makes of a picture, for the grey is 0 and l / l is 1.
    Pixels glow = c.saturation == 1.0f ? blurred : saturated(blurred, c.saturation);
    // In units of the source's white, so that the product of both shades needs no factor.
    glow = {smaller(unit, glow.r * c.tintR * strength), smaller(unit, glow.g * c.tintG * strength),
            smaller(unit, glow.b * c.tintB * strength)};
    const bool protects = c.shadowProtect > 0.0f;
    Pixels picture;
    if (protects || !c.glowOnly) picture = Kind::pixels(source, i, n);
    if (protects) {
        const Floats l = (0.2126f * Kind::kUnit) * picture.r + (0.7152f * Kind::kUnit) * picture.g +
                         (0.0722f * Kind::kUnit) * picture.b;
        const Floats t = smaller(one, Kind::notNegative(l / 0.35f));
        const Floats kept = 1.0f - (1.0f - smooth(t)) * c.shadowProtect;
        glow = {glow.r * kept, glow.g * kept, glow.b * kept};
    }
    if (c.glowOnly)
        glow = {glow.r * kWhite, glow.g * kWhite, glow.b * kWhite};
    else
        glow = {1.0f - (unit - glow.r) * (white - picture.r), 1.0f - (unit - glow.g) * (white - picture.g),
                1.0f - (unit - glow.b) * (white - picture.b)};
    Kind::storePixels(out, i, glow, n);
}

static bool areBounded(const float* samples, int count) {
    bool are = true;
    forLanes(count, [&](int i, int n) VEIL_ALWAYS_INLINE { are = areBounded(load(samples + i, n)) && are; });
    return are;
}

template <class Kind>
static void composeRow(const GlowRow& top, const GlowRow& bottom, float fraction, const void* source,
                       const ComposeConstants& constants, void* out, int pixels) {
    const ComposeConstants c = constants;
    const GlowRow upper = top, lower = bottom;
    const bool isUnit = top.isBounded && bottom.isBounded && areUsual(c);
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const auto glowAt = [&](const float* high, const float* low) VEIL_ALWAYS_INLINE {
            return lerp(load(high + i, n), load(low + i, n), fraction);
        };
        const Pixels glow{glowAt(upper.r, lower.r), glowAt(upper.g, lower.g), glowAt(upper.b, lower.b)};
        if (isUnit)
            composeUnit<Kind>(glow, source, c, out, i, n);
        else
            composeAny<Kind>(glow, source, c, out, i, n);
    });
}

}  // namespace veil
