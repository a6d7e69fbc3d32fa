#pragma once

// Changes of size between the image plane, the working plane and the half plane. Reads outside an image
// repeat its edge pixel. All work on the calling thread, row by row, and throw std::bad_alloc, and what a
// source of rows throws.

#include <cstddef>
#include <vector>

#include "engine/image.h"
#include "engine/kernels/kernel_table.h"
#include "engine/linear_read.h"
#include "engine/row_flow.h"

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
};

/// The boxes of `target`, pixels of the working plane.
BoxPlan planBoxes(const Rect& sourceRect, const Rect& target, int imageWidth, int imageHeight, int workWidth,
                  int workHeight);

/// Averages row after row of a plan. For one slice of a job.
class BoxRows {
  public:
    BoxRows(const BoxPlan& plan, const SourceRows& source);

    /// The means of row `i` of the plan.
    void average(int i, float* out);

  private:
    const BoxPlan& plan;
    const SourceRows& source;
    Samples sums;  // of five source rows
};

/// Bilinear reads of one plane for the pixels of `target` in another, whose sides are in the ratio of an
/// integer. Only the part `reads` of the source is read.
struct BilinearPlan {
    Rect target;
    Rect reads;
    std::vector<BilinearColumn> columns;       ///< of RGB, from the first pixel of `reads` on
    std::vector<BilinearColumn> planeColumns;  ///< the same of a plane
    std::vector<LinearRead> rows;              ///< from the first row of `reads` on
};

/// The rectangle of the plane that is smaller by `factor`; it sticks out beyond `source` by a pixel or two.
Rect reducedRect(const Rect& source, int factor);
/// The reads that reduce an image over `source`, whose edge pixels repeat.
BilinearPlan planReduction(const Rect& source, const Rect& target, int factor);
/// The same for an enlargement.
BilinearPlan planEnlargement(const Rect& source, const Rect& target, int factor);

/// Makes row after row of a plan, for one slice of a job. `held` are the samples of a rectangle that
/// holds what the slice reads; rows that were expanded serve the next row too.
template <class Image>
class BilinearRows {
  public:
    BilinearRows(const BilinearPlan& plan, const float* held, const Rect& heldRect);

    /// Row `y` of the target's plane.
    void make(int y, float* out);

  private:
    const float* expanded(int row, int keep);

    const BilinearPlan& plan;
    const float* held;  // its first row, at the first column of plan.reads
    std::ptrdiff_t rowLength;
    int firstRow;  // of plan.reads, in `held`; negative where a slice holds the rows further down only
    int heldRows[2] = {-1, -1};
    Samples buffers[2];
};

}  // namespace veil
