#include "engine/averaged_band.h"

#include <algorithm>
#include <utility>

namespace veil {

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

const FloatImage& AveragedBand::advance(const Rect& work, const SourceRows& source, const PlaneSizes& sizes,
                                        const RowTransform& transform, int chunkRows,
                                        const MakeStep& makeStep, WorkerPool* pool) {
    const Rect part = newPart(work, sizes);
    const BoxPlan plan =
        planBoxes(source.rect, part, sizes.imageWidth, sizes.imageHeight, sizes.workWidth, sizes.workHeight);
    Held next = held;
    if (isInRow(work))
        next.columnsEnd = std::max(held.columnsEnd, work.x1);
    else
        next = {work.y0, work.y1, part.y0, work.x0, work.x1};
    const Held before = std::exchange(held, {});
    const Rect rows{0, work.y0, sizes.workWidth, work.y1};
    if (before.begin <= work.y0 && work.y0 < part.y0)
        image.moveRows(work.y0 - before.begin, part.y0 - work.y0, rows);
    else if (image.rect != rows)
        image.reshape(rows, std::min(work.height(), sizes.workHeight - work.height()));
    const auto newAt = [&](int y) {
        return image.row(y - work.y0) + static_cast<std::ptrdiff_t>(part.x0) * 3;
    };
    BoxRows boxes(plan, source);
    const auto average = [&](int first, int end) {
        if (part.isEmpty()) return;
        for (int y = std::max(first, part.y0); y < std::min(end, part.y1); ++y)
            boxes.average(y - part.y0, newAt(y));
    };
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, step = makeStep(image)](int first, int end) {
            for (int y = std::max(first, part.y0); transform && y < std::min(end, part.y1); ++y)
                transform(newAt(y), part.width());
            step(first, end);
        };
    };
    runChunks(pool, work.y0, work.y1, chunkRows, makeJob, {average, {}, true});
    held = next;
    return image;
}

}  // namespace veil
