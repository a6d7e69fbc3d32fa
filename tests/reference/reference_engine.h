#pragma once

// The whole effect once more, slow and plain, to hold the engine against. Samples are in double precision,
// without rows, pools or kernels. Each scalar that leads to a position, an index, a radius, a tap or a weight
// is computed in 32-bit floats in the engine's written order, since it decides which pixel is read. It shares
// the engine's records and nothing that computes. The box's running sums are in double here; on a wide
// picture the engine's drift away from them.

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "engine/image.h"
#include "engine/settings.h"

namespace veil {

/// The effect on `input`, the interleaved RGB of `inputRect`: the interleaved samples of `outputRect`.
std::vector<double> referenceRender(const std::vector<float>& input, const Rect& inputRect,
                                    const Rect& outputRect, int imageWidth, int imageHeight,
                                    const RenderSettings& settings);

namespace reference {

/// A pixel of either kind of picture; a mask uses the first channel only.
using Pixel = std::array<double, 3>;

/// Interleaved samples over a rectangle of a plane; one channel or three.
struct Picture {
    Rect rect;
    int channels = 3;
    std::vector<double> samples;

    Picture(const Rect& r, int channelCount, std::span<const float> values)
        : rect(r), channels(channelCount), samples(values.begin(), values.end()) {}
    template <int kChannels>
    explicit Picture(const BasicImage<kChannels>& image) : Picture(image.rect, kChannels, image.pixels) {}

    /// Pixel (x, y), local to the rectangle; outside, the edge pixel repeats.
    Pixel read(int x, int y) const;
};

Rect workingRect(const Rect& output, int imageWidth, int imageHeight, const RenderSettings& settings);
Rect requiredInputRect(const Rect& tile, int imageWidth, int imageHeight, const RenderSettings& settings);

Picture downsample(const Picture& source, const Rect& workRect, int imageWidth, int imageHeight);
Picture gaussian(const Picture& source, float radius, bool horizontal);
/// A picture of one channel is never boxed.
Picture blur(const Picture& source, float radius, bool anamorphic);
Picture makeGlow(const Picture& source, const Rect& workRect, int imageWidth, int imageHeight,
                 const RenderSettings& settings);

}  // namespace reference
}  // namespace veil
