#pragma once

// The averaged picture over the rows of a row of tiles and the picture's whole width. The mean of a box is
// the same whichever tile asks, so a tile averages only what neither the tile to the left nor those above
// have.

#include "engine/averaged_window.h"
#include "engine/blur.h"

namespace veil {

/// Whether the rows of `work` over the whole width take little enough memory.
bool fitsBand(const Rect& work, const PlaneSizes& sizes);

class AveragedBand {
  public:
    /// What follows on finished rows `first` up to `end` of the working plane, in one slice of the job.
    using MakeStep = std::function<WorkerPool::Job(const FloatImage& averaged)>;

    /// An image that holds `work`. The calling thread alone reads `source`, and of it only what is new. Each
    /// new row is handed to `transform`; so all calls for one object must have one image, source and
    /// transform. Steps begin at chunks of `chunkRows` rows. After an exception nothing is kept. Tiles may
    /// come in any order; in rows from the top, each from the left, they share most.
    const FloatImage& advance(const Rect& work, const SourceRows& source, const PlaneSizes& sizes,
                              const RowTransform& transform, int chunkRows, const MakeStep& makeStep,
                              WorkerPool* pool);

  private:
    bool isInRow(const Rect& work) const;
    Rect newPart(const Rect& work, const PlaneSizes& sizes) const;

    // Of the rows from `begin` to `end` those up to fullEnd are there whole, and of the others a run of
    // columns.
    struct Held {
        int begin = 0, end = 0, fullEnd = 0;
        int columnsBegin = 0, columnsEnd = -1;
    };

    FloatImage image;  // all columns
    Held held;
};

}  // namespace veil
