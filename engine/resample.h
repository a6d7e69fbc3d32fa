#pragma once

// Changes of size between the image plane, the working plane and the half plane. Reads outside an image
// repeat its edge pixel. All run on `pool`, or on the calling thread if it is null, and throw std::bad_alloc
// only.

#include <functional>

#include <vector>

#include "engine/image.h"
#include "engine/row_flow.h"
#include "engine/worker_pool.h"

namespace veil {

/// Which source pixels the 5 by 5 boxes of a run of working pixels read. Positions are local to the source,
/// as they decide which pixel is read.
struct BoxPlan {
    Rect sourceRect;      ///< whose edge pixels repeat
    int firstColumn = 0;  ///< of the columns that any box reads, and how many
    int columnCount = 0;
    std::vector<int> columns;            ///< centres of the boxes, local to firstColumn
    std::vector<int> rows;               ///< centres of the boxes
    int insideBegin = 0, insideEnd = 0;  ///< no box of the working columns between them leaves the source

    /// The pixels of the image plane that the boxes read; they lie inside the source.
    Rect reads() const;
};

/// The boxes of `target`, pixels of the working plane.
BoxPlan planBoxes(const Rect& sourceRect, const Rect& target, int imageWidth, int imageHeight, int workWidth,
                  int workHeight);

/// Averages row after row of a plan and asks for each source row once, though neighbouring boxes share a row.
/// For one slice of a job.
class BoxRows {
  public:
    BoxRows(const BoxPlan& plan, const SourceRows& source);

    /// The means of row `i` of the plan.
    void average(int i, float* out);

  private:
    const float* sourceRow(int y);

    static constexpr int kHeight = 5;
    const BoxPlan& plan;
    const SourceRows& source;
    std::vector<float> scratch;  // kHeight source rows, then their sum
    const float* rows[kHeight] = {};
    int held[kHeight] = {-1, -1, -1, -1, -1};  // source row y stands at y % kHeight
};

/// Bilinear reduction by an integer factor; the result's rectangle sticks out beyond the source's by a pixel
/// or two.
FloatImage reduceByFactor(const FloatImage& source, int factor, WorkerPool* pool);

/// Bilinear enlargement by an integer factor, over `target`.
FloatImage enlargeByFactor(const FloatImage& source, const Rect& target, int factor, WorkerPool* pool);
FloatPlane enlargePlaneByFactor(const FloatPlane& source, const Rect& target, int factor, WorkerPool* pool);

}  // namespace veil
