#include "engine/kernels/lanes.h"

namespace veil {

// The knee of the threshold curve; without one (threshold 0 or less) the curve is a step.
struct Knee {
    float threshold, low, range;
    bool isStep;
};

static inline Knee makeKnee(float threshold) {
    const float low = threshold * 0.55f;
    return {threshold, low, threshold - low, !(low < threshold)};
}

VEIL_ALWAYS_INLINE static inline Floats kneeWeight(const Knee& knee, const Pixels& p) {
    const Floats l = luma(p);
    if (knee.isStep) return all(knee.threshold) > l ? all(0.0f) : all(1.0f);
    return smooth(saturate((l - knee.low) / knee.range));
}

static void thresholdRow(const float* in, float threshold, float* out, int pixels) {
    const Knee knee = makeKnee(threshold);
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const Pixels p = loadPixels(in + i * 3, n);
        const Floats w = kneeWeight(knee, p);
        storePixels(out + i * 3, {p.r * w, p.g * w, p.b * w}, n);
    });
}

static void thresholdFogRow(float* row, float threshold, float fog, int pixels) {
    const Knee knee = makeKnee(threshold);
    forLanes(pixels, [&](int i, int n) VEIL_ALWAYS_INLINE {
        const Pixels p = loadPixels(row + i * 3, n);
        const Floats w = (1.0f - fog) * kneeWeight(knee, p) + fog;
        storePixels(row + i * 3, {p.r * w, p.g * w, p.b * w}, n);
    });
}

static void veilMixRow(const float* narrow, const float* wide, float fog, float* out, int count) {
    for (int i = 0; i < count; ++i) out[i] = (1.0f - fog) * narrow[i] + fog * wide[i];
}

}  // namespace veil
