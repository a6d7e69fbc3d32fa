#include "engine/boost.h"

#include "engine/blur.h"
#include "engine/geometry.h"
#include "engine/kernels/rows.h"
#include "engine/resample.h"

namespace veil {

namespace {

constexpr int kHalf = 2;  // factor between the working plane and the half plane

FloatPlane coreMaskPass(const FloatImage& halfBase, WorkerPool* pool) {
    FloatPlane mask(halfBase.rect);
    runRows(pool, 0, mask.height(), [&](int first, int end) {
        for (int y = first; y < end; ++y) coreMaskRow(halfBase.row(y), mask.row(y), mask.width());
    });
    return mask;
}

struct Rim {
    FloatImage color;
    FloatPlane weight;
};

Rim rimPass(const FloatImage& halfBase, const FloatPlane& coreBlur, WorkerPool* pool) {
    Rim rim{FloatImage(halfBase.rect), FloatPlane(halfBase.rect)};
    runRows(pool, 0, halfBase.height(), [&](int first, int end) {
        for (int y = first; y < end; ++y)
            rimRow(halfBase.row(y), coreBlur.row(y), rim.color.row(y), rim.weight.row(y), halfBase.width());
    });
    return rim;
}

}  // namespace

void boostHighlights(const FloatImage& base, const FloatImage& wideBlur, FloatImage& bright,
                     const RenderSettings& settings, WorkerPool* pool) {
    const Rect& work = base.rect;
    const bool streak = settings.anamorphic;
    const float radius =
        workingRadius(settings) * 0.5f;  // spans on the half plane what the bloom spans on this

    const FloatImage halfBase = reduceByFactor(base, kHalf, pool);
    const FloatImage surround = enlargeByFactor(blurImage(halfBase, radius, streak, pool), work, kHalf, pool);
    const FloatPlane coreBlur = blurPlane(coreMaskPass(halfBase, pool), radius, streak, pool);
    const FloatPlane coreSpread = enlargePlaneByFactor(coreBlur, work, kHalf, pool);
    const Rim rim = rimPass(halfBase, coreBlur, pool);
    const FloatImage rimColor =
        enlargeByFactor(blurImage(rim.color, radius, streak, pool), work, kHalf, pool);
    const FloatPlane rimWeight =
        enlargePlaneByFactor(blurPlane(rim.weight, radius, streak, pool), work, kHalf, pool);

    runRows(pool, 0, bright.height(), [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const BoostRows rows{base.row(y),     surround.row(y),   wideBlur.row(y),
                                 rimColor.row(y), coreSpread.row(y), rimWeight.row(y)};
            boostRow(rows, settings.highlightBoost, bright.row(y), bright.width());
        }
    });
}

}  // namespace veil
