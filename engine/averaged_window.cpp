#include "engine/averaged_window.h"

#include "engine/geometry.h"

#include <algorithm>
#include <utility>

namespace veil {

namespace {

constexpr int kChunkRows = 8;  // a chunk averages 32 rows of the image and one that its neighbour has too

BoxPlan planNewBoxes(const Rect& work, int firstColumn, const Rect& sourceRect, const PlaneSizes& sizes) {
    return planBoxes(sourceRect, {firstColumn, work.y0, work.x1, work.y1}, sizes.imageWidth,
                     sizes.imageHeight, sizes.workWidth, sizes.workHeight);
}

}  // namespace

void shareBoxRows(const BoxPlan& plan, const SourceRows& source, int rows, const WorkerPool::MakeJob& makeJob,
                  WorkerPool* pool) {
    WorkerPool::Ferry ferry;
    if (source.bring && !plan.columns.empty())
        ferry.bring = [&](int first, int end) {
            const Rect read = plan.reads(first, end);
            source.bring(read.y0, read.y1);
        };
    runChunks(pool, 0, rows, kChunkRows, makeJob, ferry);
}

PlaneSizes planeSizes(int imageWidth, int imageHeight) {
    return {imageWidth, imageHeight, workingSize(imageWidth), workingSize(imageHeight)};
}

// Up to this size the start of a source is taken off a position without rounding.
bool tilesShareBoxes(const PlaneSizes& sizes) {
    constexpr int kLargestExactSide = 1 << 22;
    return std::max(sizes.imageWidth, sizes.imageHeight) <= kLargestExactSide;
}

int AveragedWindow::firstNewColumn(const Rect& work, const PlaneSizes& sizes) const {
    const Rect& held = current.rect;
    const bool overlaps = held.y0 == work.y0 && held.y1 == work.y1 && held.x0 <= work.x0 &&
                          work.x0 < held.x1 && held.x1 <= work.x1;
    return overlaps && tilesShareBoxes(sizes) ? held.x1 : work.x0;
}

Rect AveragedWindow::reads(const Rect& work, const Rect& sourceRect, const PlaneSizes& sizes) const {
    return planNewBoxes(work, firstNewColumn(work, sizes), sourceRect, sizes).reads();
}

const FloatImage& AveragedWindow::advance(const Rect& work, const SourceRows& source, const PlaneSizes& sizes,
                                          const RowTransform& transform, const MakeRowStep& makeStep,
                                          WorkerPool* pool) {
    const int firstColumn = firstNewColumn(work, sizes);
    const BoxPlan plan = planNewBoxes(work, firstColumn, source.rect, sizes);
    FloatImage held = std::exchange(current, {});
    // The memory changes hands from window to window.
    next.reshape(work);
    const auto kept = static_cast<std::size_t>(firstColumn - work.x0) * 3;
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, boxes = BoxRows(plan, source), step = makeStep ? makeStep() : RowStep()](int first,
                                                                                            int end) mutable {
            for (int i = first; i < end; ++i) {
                float* row = next.row(i);
                if (kept > 0) {
                    const float* from = held.row(i) + (work.x0 - held.rect.x0) * 3;
                    std::copy(from, from + kept, row);
                }
                if (firstColumn < work.x1) {
                    boxes.average(i, row + kept);
                    if (transform) transform(row + kept, work.x1 - firstColumn);
                }
                if (step) step(i, row);
            }
        };
    };
    shareBoxRows(plan, source, work.height(), makeJob, pool);
    current = std::exchange(next, std::move(held));
    return current;
}

}  // namespace veil
