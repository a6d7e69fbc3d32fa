#include "engine/glow.h"

#include "engine/blur.h"
#include "engine/boost.h"
#include "engine/geometry.h"
#include "engine/kernels/rows.h"

namespace veil {

namespace {

FloatImage thresholdPass(const FloatImage& base, float threshold, WorkerPool* pool) {
    FloatImage bright(base.rect);
    runRows(pool, 0, base.height(), [&](int first, int end) {
        for (int y = first; y < end; ++y) thresholdRow(base.row(y), threshold, bright.row(y), base.width());
    });
    return bright;
}

// Pixel (x, y) of the image's plane.
const float* pixelAt(const FloatImage& image, int x, int y) {
    return image.row(y - image.rect.y0) + (x - image.rect.x0) * FloatImage::kChannels;
}

}  // namespace

FloatImage veilMix(const FloatImage& narrow, const FloatImage& wide, float fog, const Rect& target,
                   WorkerPool* pool) {
    FloatImage glow(target);
    const int count = static_cast<int>(glow.rowLength());
    runRows(pool, 0, glow.height(), [&](int first, int end) {
        for (int i = first; i < end; ++i) {
            const int y = target.y0 + i;
            veilMixRow(pixelAt(narrow, target.x0, y), pixelAt(wide, target.x0, y), fog, glow.row(i), count);
        }
    });
    return glow;
}

bool isFolded(const RenderSettings& settings) {
    return settings.wideScale == 1.0f && !(settings.highlightBoost > 0.0f);
}

FloatImage makeGlow(const FloatImage& averaged, const Rect& visible, const RenderSettings& settings,
                    WorkerPool* pool) {
    const float radius = workingRadius(settings);
    if (isFolded(settings)) return blurImage(averaged, radius, settings.anamorphic, visible, pool);
    const bool boosts = settings.highlightBoost > 0.0f;
    FloatImage bright = thresholdPass(averaged, settings.threshold, pool);
    // The boost looks at the wide surroundings of every light that reaches the tile.
    const FloatImage wideBlur = blurImage(averaged, radius * settings.wideScale, settings.anamorphic,
                                          boosts ? averaged.rect : visible, pool);
    if (boosts) boostHighlights(averaged, wideBlur, bright, settings, pool);
    const FloatImage narrowBlur = blurImage(bright, radius, settings.anamorphic, visible, pool);
    return veilMix(narrowBlur, wideBlur, settings.fog, visible, pool);
}

}  // namespace veil
