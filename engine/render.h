#pragma once

// The calls that run the whole effect: on the tiles of an image, whose rows come and go through callables,
// and on a single tile of floats in memory.

#include <vector>

#include "engine/glow.h"
#include "engine/glow_bands.h"
#include "engine/image.h"
#include "engine/row_flow.h"
#include "engine/settings.h"
#include "engine/worker_pool.h"

namespace veil {

/// The source of what the glow is made from, and of what it is laid over. The calling thread alone reads
/// `averaged`, whose rectangle is the tile's whole input, though only what no earlier tile has read is read;
/// any thread of the pool reads `picture`.
struct TileSource {
    SourceRows averaged, picture;
};

/// Renders the tiles of one image in one setting. It keeps its buffers, and what tiles share of the work:
/// tiles in rows from the top, each row from the left, cost least. Each tile comes out the same in any order.
class ImageRenderer {
  public:
    ImageRenderer(int imageWidth, int imageHeight, const RenderSettings& settings);

    /// The pixels of `picture` that render reads for these rectangles; there may be none.
    Rect pictureReads(const Rect& inputRect, const Rect& outputRect) const;

    /// Hands the rows of `outputRect` to `output`; on `pool`, or on the calling thread if it is null.
    /// `source.averaged.rect` must hold at least requiredInputRect(outputRect, ...). Throws std::bad_alloc,
    /// and what the callables threw; the next tile is rendered right all the same.
    void render(const Rect& outputRect, const TileSource& source, const OutputRows& output, WorkerPool* pool);

  private:
    PlaneSizes sizes;
    RenderSettings settings;
    GlowBands bands;  // if the glow is one Gaussian
    GlowMaker maker;  // if not
};

/// Renders the pixels of `outputRect`. `inputPixels` are interleaved RGB of `inputRect`, which must hold at
/// least requiredInputRect(outputRect, ...); `imageWidth` and `imageHeight` are the size of the whole image
/// plane. `outputPixels` is sized to width x height x 3 of `outputRect` and filled; it must not share memory
/// with the input, and holds anything after an exception. Runs on `pool`, or on the calling thread if it is
/// null. Keeps nothing between calls; throws std::bad_alloc, and what a pool's jobs threw.
void renderVeil(const float* inputPixels, const Rect& inputRect, const Rect& outputRect, int imageWidth,
                int imageHeight, const RenderSettings& settings, std::vector<float>& outputPixels,
                WorkerPool* pool);

}  // namespace veil
