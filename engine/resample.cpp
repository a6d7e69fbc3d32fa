#include "engine/resample.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"
#include "engine/linear_read.h"

#include <algorithm>

namespace veil {

namespace {

// The source pixels, local to the source, nearest below the centres of a run of working pixels.
std::vector<int> boxCentres(int workFirst, int count, int workSize, int imageSize, int sourceFirst) {
    std::vector<int> centres(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        centres[static_cast<std::size_t>(i)] =
            floorToInt(mapCentre(workFirst + i, workSize, imageSize) - static_cast<float>(sourceFirst));
    return centres;
}

void expandInto(const FloatImage& source, int y, const BilinearColumn* columns, float* out, int pixels) {
    expandRow(source.row(y), columns, out, pixels);
}
void expandInto(const FloatPlane& source, int y, const BilinearColumn* columns, float* out, int pixels) {
    expandPlaneRow(source.row(y), columns, out, pixels);
}

// Bilinear reads of `source` over `target`; the two callables give the source position, local to its buffer,
// of a column or row of the target plane.
template <class Image, class MapX, class MapY>
Image resampleBilinear(const Image& source, const Rect& target, MapX mapX, MapY mapY, WorkerPool* pool) {
    Image result(target);
    if (target.isEmpty() || source.rect.isEmpty()) return result;
    std::vector<BilinearColumn> columns(static_cast<std::size_t>(target.width()));
    for (int j = 0; j < target.width(); ++j) {
        const LinearRead read = linearRead(mapX(target.x0 + j), source.width());
        columns[static_cast<std::size_t>(j)] = {read.low * Image::kChannels, read.high * Image::kChannels,
                                                read.fraction};
    }
    runRows(pool, 0, target.height(), [&](int first, int end) {
        const std::size_t length = result.rowLength();
        std::vector<float> scratch(length * 2);
        for (int i = first; i < end; ++i) {
            const LinearRead read = linearRead(mapY(target.y0 + i), source.height());
            expandInto(source, read.low, columns.data(), scratch.data(), target.width());
            expandInto(source, read.high, columns.data(), scratch.data() + length, target.width());
            lerpRows(scratch.data(), scratch.data() + length, read.fraction, result.row(i),
                     static_cast<int>(length));
        }
    });
    return result;
}

template <class Image>
Image enlarge(const Image& source, const Rect& target, int factor, WorkerPool* pool) {
    const float f = static_cast<float>(factor);
    const auto map = [f](int p, int sourceFirst) {
        return (static_cast<float>(p) + 0.5f) / f - 0.5f - static_cast<float>(sourceFirst);
    };
    return resampleBilinear(
        source, target, [&](int x) { return map(x, source.rect.x0); },
        [&](int y) { return map(y, source.rect.y0); }, pool);
}

}  // namespace

Rect BoxPlan::reads() const {
    if (rows.empty() || columnCount == 0) return {};
    const auto rowAt = [&](int y) { return sourceRect.y0 + clampIndex(y, sourceRect.height()); };
    const int x0 = sourceRect.x0 + firstColumn;
    return {x0, rowAt(rows.front() - kBoxHalf), x0 + columnCount, rowAt(rows.back() + kBoxHalf) + 1};
}

BoxPlan planBoxes(const Rect& sourceRect, const Rect& target, int imageWidth, int imageHeight, int workWidth,
                  int workHeight) {
    BoxPlan plan;
    plan.sourceRect = sourceRect;
    if (target.isEmpty() || sourceRect.isEmpty()) return plan;
    plan.columns = boxCentres(target.x0, target.width(), workWidth, imageWidth, sourceRect.x0);
    plan.rows = boxCentres(target.y0, target.height(), workHeight, imageHeight, sourceRect.y0);
    // Centres ascend, so the first and the last box bound what is read; where they are cut, the source ends.
    plan.firstColumn = clampIndex(plan.columns.front() - kBoxHalf, sourceRect.width());
    plan.columnCount = clampIndex(plan.columns.back() + kBoxHalf, sourceRect.width()) + 1 - plan.firstColumn;
    for (int& centre : plan.columns) centre -= plan.firstColumn;
    const auto leaves = [&](int centre) {
        return centre < kBoxHalf || centre > plan.columnCount - 1 - kBoxHalf;
    };
    const auto first = std::find_if_not(plan.columns.begin(), plan.columns.end(), leaves);
    const auto end = std::find_if(first, plan.columns.end(), leaves);
    plan.insideBegin = static_cast<int>(first - plan.columns.begin());
    plan.insideEnd = static_cast<int>(end - plan.columns.begin());
    return plan;
}

BoxRows::BoxRows(const BoxPlan& boxPlan, const SourceRows& sourceRows)
    : plan(boxPlan),
      source(sourceRows),
      scratch(static_cast<std::size_t>(plan.columnCount) * 3 * (kHeight + 1)) {}

const float* BoxRows::sourceRow(int y) {
    const int row = clampIndex(y, plan.sourceRect.height());
    const int slot = row % kHeight;
    if (held[slot] != row) {
        float* own = scratch.data() + static_cast<std::ptrdiff_t>(plan.columnCount) * 3 * slot;
        rows[slot] = source.read(plan.sourceRect.x0 + plan.firstColumn, plan.sourceRect.y0 + row,
                                 plan.columnCount, own);
        held[slot] = row;
    }
    return rows[slot];
}

void BoxRows::average(int i, float* out) {
    const int cy = plan.rows[static_cast<std::size_t>(i)];
    const int width = static_cast<int>(plan.columns.size());
    float* sums = scratch.data() + static_cast<std::ptrdiff_t>(plan.columnCount) * 3 * kHeight;
    const float *r0 = sourceRow(cy - 2), *r1 = sourceRow(cy - 1), *r2 = sourceRow(cy),
                *r3 = sourceRow(cy + 1), *r4 = sourceRow(cy + 2);
    sumFiveRows(r0, r1, r2, r3, r4, sums, plan.columnCount * 3);
    const int* columns = plan.columns.data();
    boxRowClamped(sums, plan.columnCount, columns, out, plan.insideBegin);
    boxRow(sums, columns + plan.insideBegin, out + plan.insideBegin * 3, plan.insideEnd - plan.insideBegin);
    boxRowClamped(sums, plan.columnCount, columns + plan.insideEnd, out + plan.insideEnd * 3,
                  width - plan.insideEnd);
}

FloatImage reduceByFactor(const FloatImage& source, int factor, WorkerPool* pool) {
    const float f = static_cast<float>(factor);
    const auto reduced = [f](int p) { return (static_cast<float>(p) + 0.5f) / f - 0.5f; };
    const Rect& from = source.rect;
    const Rect target{floorToInt(reduced(from.x0)) - 1, floorToInt(reduced(from.y0)) - 1,
                      ceilToInt(reduced(from.x1 - 1)) + 2, ceilToInt(reduced(from.y1 - 1)) + 2};
    const auto map = [f](int p, int sourceFirst) {
        return (static_cast<float>(p) + 0.5f) * f - 0.5f - static_cast<float>(sourceFirst);
    };
    return resampleBilinear(
        source, target, [&](int x) { return map(x, from.x0); }, [&](int y) { return map(y, from.y0); }, pool);
}

FloatImage enlargeByFactor(const FloatImage& source, const Rect& target, int factor, WorkerPool* pool) {
    return enlarge(source, target, factor, pool);
}

FloatPlane enlargePlaneByFactor(const FloatPlane& source, const Rect& target, int factor, WorkerPool* pool) {
    return enlarge(source, target, factor, pool);
}

}  // namespace veil
