#pragma once

// The passes of the full route over whole images, one after the other, with nothing joined, left out or kept:
// what the engine's joined passes must give, bit for bit.

#include "engine/image.h"
#include "engine/settings.h"

namespace passes {

enum class Axis { horizontal, vertical };

template <typename Image>
Image gaussian(const Image& source, float radius, Axis axis);
veil::FloatImage box(const veil::FloatImage& source, int halfWidth, int times);

/// Both axes by the Gaussian, or with `anamorphic` the triple box.
veil::FloatImage blur(const veil::FloatImage& source, float radius, bool anamorphic);
/// A plane is never boxed: with `anamorphic` the horizontal Gaussian alone.
veil::FloatPlane blur(const veil::FloatPlane& source, float radius, bool anamorphic);

veil::FloatImage reduce(const veil::FloatImage& source, int factor);
template <typename Image>
Image enlarge(const Image& source, const veil::Rect& target, int factor);

/// Rewrites `bright` in place.
void boostHighlights(const veil::FloatImage& base, const veil::FloatImage& wideBlur, veil::FloatImage& bright,
                     const veil::RenderSettings& settings);

/// The glow over all of `averaged`. If the blurs are folded, threshold and fog have been applied to it.
veil::FloatImage makeGlow(const veil::FloatImage& averaged, const veil::RenderSettings& settings);

}  // namespace passes
