#pragma once

// The last pass: the glow, enlarged and shaped, is laid over the source or written alone.

#include "engine/image.h"
#include "engine/row_flow.h"
#include "engine/settings.h"
#include "engine/worker_pool.h"

namespace veil {

/// The glow on the working plane: interleaved RGB of `rect`, rows `rowLength` samples apart.
struct GlowRows {
    Rect rect;
    const float* samples;
    std::size_t rowLength;

    GlowRows(const Rect& r, const float* rows, std::size_t length)
        : rect(r), samples(rows), rowLength(length) {}
    GlowRows(const FloatImage& glow) : GlowRows(glow.rect, glow.row(0), glow.rowLength()) {}
};

/// Writes the rows of `outputRect` to `output`, whose samples are of the source's kind. `glow` lies in the
/// working plane of `workWidth` by `workHeight`, `source` and `outputRect` in the image plane; a glow alone
/// without shadow protection reads no source. Samples are 0 to 1, but for a glow alone with a shadow
/// protection above 1, which can fall below 0. Throws std::bad_alloc and what the callables throw.
void composeOutput(const SourceRows& source, const GlowRows& glow, const Rect& outputRect, int imageWidth,
                   int imageHeight, int workWidth, int workHeight, const RenderSettings& settings,
                   const OutputRows& output, WorkerPool* pool);

/// Whether the composition looks at the source at all.
bool readsSource(const RenderSettings& settings);

}  // namespace veil
