#pragma once

// From the averaged picture to the glow on the working plane, where one Gaussian does not do.

#include "engine/image.h"
#include "engine/settings.h"
#include "engine/worker_pool.h"

namespace veil {

/// Whether both blurs are folded into one: without a wide blur and without a boost they are of one radius,
/// and linear, so the fog can be a floor under the threshold weight and only rounding differs.
bool isFolded(const RenderSettings& settings);

/// The glow, before saturation, tint and strength, over a rectangle inside that of `averaged` that holds
/// `visible`. If the blurs are folded, threshold and fog have been applied to `averaged`.
FloatImage makeGlow(const FloatImage& averaged, const Rect& visible, const RenderSettings& settings,
                    WorkerPool* pool);

/// (1 - fog) * narrow + fog * wide over `target`, which must lie inside both.
FloatImage veilMix(const FloatImage& narrow, const FloatImage& wide, float fog, const Rect& target,
                   WorkerPool* pool);

}  // namespace veil
