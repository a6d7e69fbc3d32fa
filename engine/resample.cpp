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

void expandInto(const BilinearPlan& plan, const float* row, float* out, const FloatImage*) {
    expandRow(row, plan.columns.data(), out, plan.target.width());
}
void expandInto(const BilinearPlan& plan, const float* row, float* out, const FloatPlane*) {
    expandPlaneRow(row, plan.planeColumns.data(), out, plan.target.width());
}

// `map` gives the source position of a pixel of the target's plane, local to a source that begins at its
// second argument.
template <class Map>
BilinearPlan planBilinear(const Rect& source, const Rect& target, Map map) {
    BilinearPlan plan;
    if (target.isEmpty() || source.isEmpty()) return plan;
    plan.target = target;
    const auto readX = [&](int x) { return linearRead(map(x, source.x0), source.width()); };
    const auto readY = [&](int y) { return linearRead(map(y, source.y0), source.height()); };
    // Positions ascend.
    const int left = readX(target.x0).low, top = readY(target.y0).low;
    plan.reads = {source.x0 + left, source.y0 + top, source.x0 + readX(target.x1 - 1).high + 1,
                  source.y0 + readY(target.y1 - 1).high + 1};
    for (int x = target.x0; x < target.x1; ++x) {
        const LinearRead read = readX(x);
        plan.planeColumns.push_back({read.low - left, read.high - left, read.fraction});
        plan.columns.push_back({(read.low - left) * 3, (read.high - left) * 3, read.fraction});
    }
    for (int y = target.y0; y < target.y1; ++y) {
        const LinearRead read = readY(y);
        plan.rows.push_back({read.low - top, read.high - top, read.fraction});
    }
    return plan;
}

}  // namespace

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
    : plan(boxPlan), source(sourceRows), sums(static_cast<std::size_t>(plan.columnCount) * 3) {}

void BoxRows::average(int i, float* out) {
    const int centre = plan.rows[static_cast<std::size_t>(i)];
    const int width = static_cast<int>(plan.columns.size());
    const auto sourceRow = [&](int y) {
        return source.at(plan.sourceRect.x0 + plan.firstColumn,
                         plan.sourceRect.y0 + clampIndex(y, plan.sourceRect.height()), plan.columnCount);
    };
    FiveRows rows;
    for (int k = 0; k < kBoxHeight; ++k) rows.row[k] = sourceRow(centre - kBoxHalf + k);
    // Of the next box's rows those below this one.
    if (i + 1 < static_cast<int>(plan.rows.size())) {
        const int next = plan.rows[static_cast<std::size_t>(i + 1)] + kBoxHalf;
        for (int k = 0; k < kBoxHeight && next - k > centre + kBoxHalf; ++k)
            rows.ahead[k] = sourceRow(next - k);
    }
    sumFiveRows(source.kind, rows, sums.data(), plan.columnCount * 3);
    const int* columns = plan.columns.data();
    boxRowClamped(sums.data(), plan.columnCount, columns, out, plan.insideBegin);
    boxRow(sums.data(), columns + plan.insideBegin, out + plan.insideBegin * 3,
           plan.insideEnd - plan.insideBegin);
    boxRowClamped(sums.data(), plan.columnCount, columns + plan.insideEnd, out + plan.insideEnd * 3,
                  width - plan.insideEnd);
}

Rect reducedRect(const Rect& from, int factor) {
    const float f = static_cast<float>(factor);
    const auto reduced = [f](int p) { return (static_cast<float>(p) + 0.5f) / f - 0.5f; };
    return {floorToInt(reduced(from.x0)) - 1, floorToInt(reduced(from.y0)) - 1,
            ceilToInt(reduced(from.x1 - 1)) + 2, ceilToInt(reduced(from.y1 - 1)) + 2};
}

BilinearPlan planReduction(const Rect& source, const Rect& target, int factor) {
    const float f = static_cast<float>(factor);
    return planBilinear(source, target, [f](int p, int sourceFirst) {
        return (static_cast<float>(p) + 0.5f) * f - 0.5f - static_cast<float>(sourceFirst);
    });
}

BilinearPlan planEnlargement(const Rect& source, const Rect& target, int factor) {
    const float f = static_cast<float>(factor);
    return planBilinear(source, target, [f](int p, int sourceFirst) {
        return (static_cast<float>(p) + 0.5f) / f - 0.5f - static_cast<float>(sourceFirst);
    });
}

template <class Image>
BilinearRows<Image>::BilinearRows(const BilinearPlan& bilinear, const float* heldSamples,
                                  const Rect& heldRect)
    : plan(bilinear),
      held(heldSamples + (bilinear.reads.x0 - heldRect.x0) * Image::kChannels),
      rowLength(static_cast<std::ptrdiff_t>(heldRect.width()) * Image::kChannels),
      firstRow(bilinear.reads.y0 - heldRect.y0) {
    for (Samples& buffer : buffers)
        growTo(buffer, static_cast<std::size_t>(plan.target.width()) * Image::kChannels);
}

template <class Image>
const float* BilinearRows<Image>::expanded(int row, int keep) {
    for (int slot = 0; slot < 2; ++slot)
        if (heldRows[slot] == row) return buffers[slot].data();
    const int slot = heldRows[0] == keep ? 1 : 0;
    heldRows[slot] = row;
    expandInto(plan, held + (firstRow + row) * rowLength, buffers[slot].data(),
               static_cast<const Image*>(nullptr));
    return buffers[slot].data();
}

template <class Image>
void BilinearRows<Image>::make(int y, float* out) {
    const LinearRead& read = plan.rows[static_cast<std::size_t>(y - plan.target.y0)];
    const float* low = expanded(read.low, read.high);
    const float* high = expanded(read.high, read.low);
    lerpRows(low, high, read.fraction, out, static_cast<int>(buffers[0].size()));
}

template class BilinearRows<FloatImage>;
template class BilinearRows<FloatPlane>;

}  // namespace veil
