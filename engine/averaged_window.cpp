#include "engine/averaged_window.h"

#include "engine/blur.h"
#include "engine/geometry.h"
#include "engine/prefetch.h"

#include <algorithm>
#include <utility>

namespace veil {

namespace {

// A chunk averages 64 rows of the image and one that its neighbour has too.
constexpr int kChunkRows = kRowGroup;

BoxPlan planNewBoxes(const Rect& work, int firstColumn, const Rect& sourceRect, const PlaneSizes& sizes) {
    return planBoxes(sourceRect, {firstColumn, work.y0, work.x1, work.y1}, sizes.imageWidth,
                     sizes.imageHeight, sizes.workWidth, sizes.workHeight);
}

}  // namespace

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

const FloatImage& AveragedWindow::advance(const Rect& work, const SourceRows& source, const PlaneSizes& sizes,
                                          const RowTransform& transform, const MakeStep& makeStep,
                                          WorkerPool* pool) {
    const int firstColumn = firstNewColumn(work, sizes);
    const BoxPlan plan = planNewBoxes(work, firstColumn, source.rect, sizes);
    FloatImage held = std::exchange(current, {});
    // The memory changes hands from window to window.
    next.reshape(work);
    const auto kept = static_cast<std::size_t>(firstColumn - work.x0) * 3;
    const std::size_t newBytes = (next.rowLength() - kept) * sizeof(float);
    // The calling thread averages, for means are a quarter of the bytes that other threads would have to be
    // handed instead.
    BoxRows boxes(plan, source);
    const auto average = [&](int first, int end) {
        if (firstColumn == work.x1) return;
        for (int i = first; i < end; ++i) {
            if (i + 1 < work.height()) expect<Access::write>(next.row(i + 1) + kept, newBytes);
            boxes.average(i, next.row(i) + kept);
        }
    };
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, step = makeStep ? makeStep(next) : WorkerPool::Job()](int first, int end) mutable {
            for (int i = first; i < end; ++i) {
                float* row = next.row(i);
                if (i + 1 < end) expect(next.row(i + 1) + kept, newBytes);
                if (kept > 0) {
                    const float* from = held.row(i) + (work.x0 - held.rect.x0) * 3;
                    if (i + 1 < end) expect(from + held.rowLength(), kept * sizeof(float));
                    std::copy(from, from + kept, row);
                }
                if (transform && firstColumn < work.x1) transform(row + kept, work.x1 - firstColumn);
            }
            if (step) step(first, end);
        };
    };
    runChunks(pool, 0, work.height(), kChunkRows, makeJob, {average, {}, true});
    current = std::exchange(next, std::move(held));
    return current;
}

}  // namespace veil
