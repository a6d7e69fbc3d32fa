#pragma once

// The halo boost: small blown-out lights grow brighter, and their clipped cores take the colour of their rim.

#include "engine/image.h"
#include "engine/settings.h"
#include "engine/worker_pool.h"

namespace veil {

/// Rewrites `bright` in place. All images lie over the same rectangle of the working plane: `base` is the
/// averaged picture, `bright` what blooms, `wideBlur` the blurred `base`. Throws std::bad_alloc only.
void boostHighlights(const FloatImage& base, const FloatImage& wideBlur, FloatImage& bright,
                     const RenderSettings& settings, WorkerPool* pool);

}  // namespace veil
