#include "engine/averaged_band.h"

#include <algorithm>
#include <utility>

namespace veil {

namespace {

BoxPlan planPart(const Rect& part, const Rect& sourceRect, const PlaneSizes& sizes) {
    return planBoxes(sourceRect, part, sizes.imageWidth, sizes.imageHeight, sizes.workWidth,
                     sizes.workHeight);
}

}  // namespace

bool fitsBand(const Rect& work, const PlaneSizes& sizes) {
    constexpr std::size_t kMostBytes = std::size_t{32} << 20;  // the looks take 29 MB at 300 megapixels
    return tilesShareBoxes(sizes) && static_cast<std::size_t>(sizes.workWidth) *
                                             static_cast<std::size_t>(work.height()) * 3 * sizeof(float) <=
                                         kMostBytes;
}

// Whether the tile of `work` continues the row of tiles that the image is for.
bool AveragedBand::isInRow(const Rect& work) const {
    return held.begin == work.y0 && held.end == work.y1 && held.columnsBegin <= work.x0 &&
           work.x0 <= held.columnsEnd;
}

// What `work` lacks. It is a rectangle, since the rows that are there whole lie above the others.
Rect AveragedBand::newPart(const Rect& work, const PlaneSizes& sizes) const {
    if (isInRow(work)) return {std::min(held.columnsEnd, work.x1), held.fullEnd, work.x1, work.y1};
    const bool isComplete = held.columnsBegin == 0 && held.columnsEnd == sizes.workWidth;
    const int end = isComplete ? held.end : held.fullEnd;
    const bool isBelow = held.begin <= work.y0 && work.y0 < end && end <= work.y1;
    return {work.x0, isBelow ? end : work.y0, work.x1, work.y1};
}

Rect AveragedBand::reads(const Rect& work, const Rect& sourceRect, const PlaneSizes& sizes) const {
    return planPart(newPart(work, sizes), sourceRect, sizes).reads();
}

const FloatImage& AveragedBand::advance(const Rect& work, const SourceRows& source, const PlaneSizes& sizes,
                                        const RowTransform& transform, WorkerPool* pool) {
    const Rect part = newPart(work, sizes);
    const BoxPlan plan = planPart(part, source.rect, sizes);
    Held next = held;
    if (isInRow(work))
        next.columnsEnd = std::max(held.columnsEnd, work.x1);
    else
        next = {work.y0, work.y1, part.y0, work.x0, work.x1};
    const Held before = std::exchange(held, {});
    if (before.begin < work.y0 && work.y0 < part.y0) {
        const float* from = image.row(work.y0 - before.begin);
        std::copy(from, from + image.rowLength() * static_cast<std::size_t>(part.y0 - work.y0), image.row(0));
    }
    image.reshape({0, work.y0, sizes.workWidth, work.y1});
    if (!part.isEmpty())
        shareBoxRows(
            plan, source, part.height(),
            [&]() -> WorkerPool::Job {
                return [&, boxes = BoxRows(plan, source)](int first, int end) mutable {
                    for (int i = first; i < end; ++i) {
                        float* row =
                            image.row(part.y0 + i - work.y0) + static_cast<std::ptrdiff_t>(part.x0) * 3;
                        boxes.average(i, row);
                        if (transform) transform(row, part.width());
                    }
                };
            },
            pool);
    held = next;
    return image;
}

}  // namespace veil
