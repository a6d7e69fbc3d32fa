#pragma once

// Which pixels a tile needs: the reach of the effect, and the rectangles on the image and the working plane.
// All positions are computed in 32-bit floats in the order written, so that planning and rendering agree.

#include "engine/image.h"
#include "engine/settings.h"

namespace veil {

constexpr int kBoxHalf = 2;  // reach of the 5 by 5 box that leads from the image plane to the working plane

/// Size of an axis of the working plane, on which the glow is made: a quarter of the image plane's, at
/// least 8.
int workingSize(int imageSize);

/// `radius` limited to 2 to 600 image pixels.
float limitedRadius(const RenderSettings& settings);

/// The bloom's radius on the working plane: a quarter of the limited radius.
float workingRadius(const RenderSettings& settings);

/// How far the effect reaches beyond a pixel, in image-plane pixels; capped at 768 (6000 for the streak),
/// plus 16 with a boost. A wide blur that reaches further is cut at the border of the tile.
float effectMargin(const RenderSettings& settings);

/// The source pixels that renderVeil needs for the output rectangle `tile`, limited to the image plane.
/// Sizes of the image plane must be at least 1.
Rect requiredInputRect(const Rect& tile, int imageWidth, int imageHeight, const RenderSettings& settings);

/// The part of the working plane on which the glow of `outputRect` is made.
Rect workingRect(const Rect& outputRect, int imageWidth, int imageHeight, const RenderSettings& settings);

/// The part of `workRect`, the working rectangle of `outputRect`, whose glow the composition reads; the rest
/// feeds the blurs only.
Rect visibleGlowRect(const Rect& outputRect, const Rect& workRect, int imageWidth, int imageHeight);

}  // namespace veil
