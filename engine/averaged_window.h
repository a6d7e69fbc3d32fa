#pragma once

// The averaged picture over the working rectangle of a tile. Neighbouring tiles overlap by their margins, and
// the mean of a box is the same whichever tile asks, so what the tile to the left has averaged is kept.

#include <functional>

#include "engine/image.h"
#include "engine/resample.h"
#include "engine/row_flow.h"
#include "engine/worker_pool.h"

namespace veil {

/// Sizes of the image plane and of its working plane.
struct PlaneSizes {
    int imageWidth = 0, imageHeight = 0;
    int workWidth = 0, workHeight = 0;
};

PlaneSizes planeSizes(int imageWidth, int imageHeight);

/// Whether every tile of the plane finds the same box for a working pixel. Beyond 4 million pixels a side
/// positions in 32-bit floats depend on where the tile's source begins.
bool tilesShareBoxes(const PlaneSizes& sizes);

/// Rewrites a row of `count` RGB pixels in place; an empty one leaves it alone.
using RowTransform = std::function<void(float* row, int count)>;

class AveragedWindow {
  public:
    /// What follows on finished rows `first` up to `end`, local to the window, in one slice of the job.
    using MakeStep = std::function<WorkerPool::Job(const FloatImage& window)>;

    /// The window over `work`. The calling thread alone reads `source`, and of it only what is new. Each new
    /// row is handed to `transform`; so all windows of one object must have one image, source and transform.
    /// Steps begin at multiples of kRowGroup. After an exception nothing is kept.
    const FloatImage& advance(const Rect& work, const SourceRows& source, const PlaneSizes& sizes,
                              const RowTransform& transform, const MakeStep& makeStep, WorkerPool* pool);

  private:
    int firstNewColumn(const Rect& work, const PlaneSizes& sizes) const;

    FloatImage current, next;
};

}  // namespace veil
