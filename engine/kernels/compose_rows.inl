#include "engine/kernels/lanes.h"

namespace veil {

VEIL_ALWAYS_INLINE static inline Pixels tinted(Floats r, Floats g, Floats b, const ComposeConstants& c) {
    return {saturate(r * c.tintR * c.strength), saturate(g * c.tintG * c.strength),
            saturate(b * c.tintB * c.strength)};
}

// Saturation, tint and strength.
VEIL_ALWAYS_INLINE static inline Pixels shapeGlow(Floats r, Floats g, Floats b, const ComposeConstants& c) {
    // At 1 the saturation changes no bit of what a blur makes of a picture: the grey is 0, and l / l is 1.
    if (c.saturation == 1.0f && areBelowTwo(r, g, b)) return tinted(r, g, b, c);
    const Floats l = luma(r, g, b);
    const Floats grey = (1.0f - c.saturation) * l, zero = all(0.0f);
    r = larger(zero, r * c.saturation + grey);
    g = larger(zero, g * c.saturation + grey);
    b = larger(zero, b * c.saturation + grey);
    // The clip at 0 may have taken light away; the luma stays that of the glow.
    const Floats clippedLuma = luma(r, g, b);
    const Floats back = clippedLuma > all(kEpsilon) ? l / clippedLuma : all(1.0f);
    return tinted(r * back, g * back, b * back, c);
}

// What is left of the glow where the source is dark.
VEIL_ALWAYS_INLINE static inline Floats keptInShadow(const Pixels& source, float protect) {
    const Floats t = saturate(luma(source) / 0.35f);
    return 1.0f - (1.0f - smooth(t)) * protect;
}

VEIL_ALWAYS_INLINE static inline Floats screen(Floats glow, Floats source) {
    return saturate(1.0f - (1.0f - glow) * (1.0f - source));
}

static void composeRow(const GlowRow& top, const GlowRow& bottom, float fraction, const float* source,
                       const ComposeConstants& constants, float* out, int pixels) {
    const ComposeConstants c = constants;
    const GlowRow upper = top, lower = bottom;
    const bool protects = c.shadowProtect > 0.0f;
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const auto glowAt = [&](const float* high, const float* low) VEIL_ALWAYS_INLINE {
            return lerp(load(high + i, n), load(low + i, n), fraction);
        };
        Pixels glow =
            shapeGlow(glowAt(upper.r, lower.r), glowAt(upper.g, lower.g), glowAt(upper.b, lower.b), c);
        if (protects || !c.glowOnly) {
            const Pixels picture = loadPixels(source + i * 3, n);
            if (protects) {
                const Floats kept = keptInShadow(picture, c.shadowProtect);
                glow = {glow.r * kept, glow.g * kept, glow.b * kept};
            }
            if (!c.glowOnly)
                glow = {screen(glow.r, picture.r), screen(glow.g, picture.g), screen(glow.b, picture.b)};
        }
        storePixels(out + i * 3, glow, n);
    });
}

}  // namespace veil
