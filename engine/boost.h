#pragma once

// The halo boost: small blown-out lights grow brighter, and their clipped cores take the colour of their rim.

#include <span>

#include "engine/blur.h"
#include "engine/image.h"
#include "engine/resample.h"
#include "engine/settings.h"
#include "engine/worker_pool.h"

namespace veil {

/// Whether litSpan finds all that a boost of `settings` changes, which it does where they are numbers.
bool boostsLitOnly(const RenderSettings& settings);

/// The smallest rectangle round all of `parts`, of which there is one at least.
Rect boundsOf(std::span<const Rect> parts);

using WideParts = std::span<const AcrossBlur<FloatImage>>;

/// For tile after tile of one image in one setting; it keeps its buffers.
class HighlightBoost {
  public:
    /// What blooms over the rectangles of `lit`, none of which is empty and all of which lie inside `work`:
    /// the bright parts of `base`, the averaged picture, of which only the working rectangle `work` counts,
    /// boosted. The result's other pixels hold anything. `wideBlur` must have been filled for `lit`. On
    /// `pool`, or on the calling thread if it is null. Throws std::bad_alloc only.
    const FloatImage& make(const FloatImage& base, const Rect& work, WideParts wideBlur,
                           std::span<const Rect> lit, const RenderSettings& settings, WorkerPool* pool);

  private:
    void plan(const Rect& work, std::span<const Rect> lit, const RenderSettings& settings);
    WorkerPool::Job makeReduction(const FloatImage& base);
    void blurCore(int firstColumn, int endColumn);
    WorkerPool::Job makeRims();
    void boost(const FloatImage& base, WideParts wideBlur, const RenderSettings& settings, const Rect& part,
               LineScratch& scratch);

    float radius = 0.0f;
    bool isStreak = false;
    BilinearPlan reduction;
    Rect half;            // the half plane's rectangle of the tile
    Rect rimRect;         // where the rims are looked for: all that reaches what the enlargement reads
    FloatImage halfBase;  // in rows as long as those of `half`; only the reduction's columns are filled
    FloatPlane coreBlur;  // over rimRect
    AcrossBlur<FloatImage> surround, rimColor;
    AcrossBlur<FloatPlane> core, rimWeight;
    AlongBlur alongSpread;  // for the columns of `surround`, rimColor and rimWeight
    RowBlur alongCore, alongWeight;
    FloatImage boosted;
};

}  // namespace veil
