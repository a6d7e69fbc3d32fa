#pragma once

// The picture in the dialog: asked of the host once, reduced, and rendered by the whole engine at each
// change, on the dialog's thread and to its end. [host's thread, inside a selector call]

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/worker_pool.h"
#include "host/host_support.h"
#include "host/parameter_block.h"

namespace veil {

struct PreviewState {
    HostRect filterRect{};                           ///< at full resolution, in document coordinates
    std::int32_t fullWidth = 0, fullHeight = 0;      ///< its size
    std::int32_t scale = 1;                          ///< the integer reduction
    std::int32_t targetWidth = 0, targetHeight = 0;  ///< the size to ask for
    std::vector<float> sourcePixels;     ///< interleaved RGB, 0 to 1, for the life of the dialog; empty: none
    std::int32_t width = 0, height = 0;  ///< the size that the host delivered; it rules all that follows
    std::vector<std::uint8_t> displayPixels;  ///< blue, green, red, 0
    bool ready = false;                       ///< displayPixels hold a render
    std::unique_ptr<WorkerPool> pool;
};

/// Fills the first five fields: the smallest integer reduction with which the filter rectangle fits into
/// `widthPx` by `heightPx` device pixels. The target stays 0 by 0 for an empty filter rectangle.
void computePreviewScale(PreviewState& preview, std::int32_t widthPx, std::int32_t heightPx);

/// Asks the host for the reduced picture. False if it could not be had; sourcePixels are empty then. The
/// host's rate is as before afterwards, and its buffer is given back once it was delivered.
bool fetchPreviewSource(PreviewState& preview);

/// Before `params` are applied: some hosts hand out their last input again while the rectangle repeats, at
/// whatever rate it was asked for. If the first tile has the rectangle that the preview asked for, an empty
/// request comes in between.
void makeHostForgetPreview(const PreviewState& preview, const VeilParams& params);

/// Renders `params` on the reduced picture, the glow alone if `glowOnly`, whatever `params` say of the
/// output. Does nothing without a picture. Throws as renderVeil does.
void renderPreview(PreviewState& preview, const VeilParams& params, bool glowOnly);

/// Where an image stands in an area.
struct FittedImage {
    std::int32_t width = 0, height = 0;  ///< at least 1
    std::int32_t offsetX = 0, offsetY = 0;
};

/// The largest size of the image's proportions that fits, in the middle of the area; small images are
/// enlarged. Sizes below 1 give the whole area.
FittedImage fitImageInto(std::int32_t areaWidth, std::int32_t areaHeight, std::int32_t imageWidth,
                         std::int32_t imageHeight);

}  // namespace veil
