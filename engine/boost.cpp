#include "engine/boost.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"

#include <algorithm>
#include <cmath>

namespace veil {

namespace {

constexpr int kHalf = 2;  // factor between the working plane and the half plane

Span columnsOf(const Rect& r) { return {r.x0, r.x1}; }
Span rowsOf(const Rect& r) { return {r.y0, r.y1}; }

// The pixels of `plane` that both blurs read for `wanted`.
Rect blurReads(float radius, bool isStreak, const Rect& plane, const Rect& wanted) {
    const Span x = gaussianReads(radius, columnsOf(plane), columnsOf(wanted));
    const Span y = isStreak ? rowsOf(wanted) : gaussianReads(radius, rowsOf(plane), rowsOf(wanted));
    return {x.begin, y.begin, x.end, y.end};
}

template <class Image>
Samples bufferFor(const Rect& r) {
    return Samples(static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height()) *
                   Image::kChannels);
}

// A part of an image that was blurred across, and the rows of its enlargement.
template <class Image>
struct EnlargedPart {
    Samples samples, row;
    BilinearRows<Image> rows;

    EnlargedPart(const AcrossBlur<Image>& blur, const BilinearPlan& enlargement, LineScratch& scratch)
        : samples(bufferFor<Image>(enlargement.reads)),
          row(static_cast<std::size_t>(enlargement.target.width()) * Image::kChannels),
          rows(enlargement, samples.data(), enlargement.reads) {
        blur.make(enlargement.reads, scratch, samples.data(),
                  static_cast<std::size_t>(enlargement.reads.width()) * Image::kChannels);
    }

    const float* at(int y) {
        rows.make(y, row.data());
        return row.data();
    }
};

}  // namespace

bool boostsLitOnly(const RenderSettings& settings) {
    return std::isfinite(settings.highlightBoost) && std::isfinite(settings.wideScale);
}

Rect boundsOf(std::span<const Rect> parts) {
    Rect bounds = parts.front();
    for (const Rect& r : parts)
        bounds = {std::min(bounds.x0, r.x0), std::min(bounds.y0, r.y0), std::max(bounds.x1, r.x1),
                  std::max(bounds.y1, r.y1)};
    return bounds;
}

void HighlightBoost::plan(const Rect& work, std::span<const Rect> lit, const RenderSettings& settings) {
    isStreak = settings.anamorphic;
    radius = workingRadius(settings) * 0.5f;  // spans on the half plane what the bloom spans on the other
    half = reducedRect(work, kHalf);
    const Rect bounds = boundsOf(lit), spread = planEnlargement(half, bounds, kHalf).reads;
    rimRect = blurReads(radius, isStreak, half, spread);
    Rect reduced = blurReads(radius, isStreak, half, rimRect);
    if (isStreak) {
        // A box sums whole rows.
        rimRect.x0 = reduced.x0 = half.x0;
        rimRect.x1 = reduced.x1 = half.x1;
    }
    reduction = planReduction(work, reduced, kHalf);
    halfBase.reshape({half.x0, reduced.y0, half.x1, reduced.y1});
    coreBlur.reshape(rimRect);
    core.begin(radius, isStreak, rowsOf(half), rowsOf(rimRect), columnsOf(rimRect));
    surround.begin(radius, isStreak, rowsOf(half), rowsOf(spread), columnsOf(spread));
    rimColor.begin(radius, isStreak, rowsOf(half), rowsOf(spread), columnsOf(spread));
    rimWeight.begin(radius, isStreak, rowsOf(half), rowsOf(spread), columnsOf(spread));
    LinePlans plans;  // where lights are differs from tile to tile
    const int begin = spread.x0 - half.x0, end = spread.x1 - half.x0;
    alongSpread = makeAlongBlur(plans, radius, isStreak, half.width(), begin, end);
    alongWeight = makeRowBlur(plans, radius, half.width(), begin, end, FloatPlane::kChannels);
    alongCore = makeRowBlur(plans, radius, half.width(), rimRect.x0 - half.x0, rimRect.x1 - half.x0,
                            FloatPlane::kChannels);
    core.planRows(plans, rowsOf(rimRect));
    boosted.reshape(bounds);
}

// The half plane, and along its rows the blurs of itself and of the mask of blown-out cores.
WorkerPool::Job HighlightBoost::makeReduction(const FloatImage& base) {
    const auto width = static_cast<std::size_t>(half.width());
    return [&, width, rows = BilinearRows<FloatImage>(reduction, base.row(0), base.rect),
            masks = Samples(width * kRowGroup), scratch = LineScratch()](int first, int end) mutable {
        const Rect& reduced = reduction.target;
        const int firstColumn = reduced.x0 - half.x0;
        for (int y = first; y < end; y += kRowGroup) {
            const Span group{y, std::min(y + kRowGroup, end)};
            float* mask = masks.data() + firstColumn;
            for (int r = group.begin; r < group.end; ++r, mask += width) {
                float* row = halfBase.row(r - reduced.y0) + firstColumn * 3;
                rows.make(r, row);
                coreMaskRow(row, mask, reduced.width());
            }
            blurRows(alongCore, masks.data(), group.end - y, width, scratch, core.row(y), core.rowLength());
            const Rect& spread = surround.held();
            const int begin = std::max(y, spread.y0), count = std::min(group.end, spread.y1) - begin;
            if (count > 0)
                blurAlong(alongSpread, halfBase.row(begin - reduced.y0), count, halfBase.rowLength(), scratch,
                          surround.row(begin), surround.rowLength());
        }
    };
}

// The mask across rows, in columns of rimRect.
void HighlightBoost::blurCore(int firstColumn, int endColumn) {
    const int x0 = rimRect.x0 + firstColumn, x1 = std::min(rimRect.x0 + endColumn, rimRect.x1);
    LineScratch scratch;
    core.make({x0, rimRect.y0, x1, rimRect.y1}, scratch, coreBlur.row(0) + firstColumn, coreBlur.rowLength());
}

// The rims near the cores, blurred along rows.
WorkerPool::Job HighlightBoost::makeRims() {
    const auto width = static_cast<std::size_t>(half.width());
    return [&, width, colors = Samples(width * 3 * kRowGroup), weights = Samples(width * kRowGroup),
            scratch = LineScratch()](int first, int end) mutable {
        const std::ptrdiff_t firstColumn = rimRect.x0 - half.x0;
        for (int y = first; y < end; y += kRowGroup) {
            const int count = std::min(kRowGroup, end - y);
            for (int k = 0; k < count; ++k) {
                const auto at = static_cast<std::size_t>(k) * width;
                rimRow(halfBase.row(y + k - halfBase.rect.y0) + firstColumn * 3,
                       coreBlur.row(y + k - rimRect.y0), colors.data() + at * 3 + firstColumn * 3,
                       weights.data() + at + firstColumn, rimRect.width());
            }
            blurRows(alongWeight, weights.data(), count, width, scratch, rimWeight.row(y),
                     rimWeight.rowLength());
            blurAlong(alongSpread, colors.data(), count, width * 3, scratch, rimColor.row(y),
                      rimColor.rowLength());
        }
    };
}

void HighlightBoost::boost(const FloatImage& base, WideParts wideBlur, const RenderSettings& settings,
                           const Rect& part, LineScratch& scratch) {
    const BilinearPlan enlargement = planEnlargement(half, part, kHalf);
    EnlargedPart<FloatImage> around(surround, enlargement, scratch), rim(rimColor, enlargement, scratch);
    EnlargedPart<FloatPlane> weight(rimWeight, enlargement, scratch);
    BilinearRows<FloatPlane> coreSpread(enlargement, coreBlur.row(0), rimRect);
    Samples coreRow(static_cast<std::size_t>(part.width()));
    Samples wide = bufferFor<FloatImage>(part);
    const auto wideLength = static_cast<std::size_t>(part.width()) * FloatImage::kChannels;
    for (const AcrossBlur<FloatImage>& blur : wideBlur) {
        const Rect seen{std::max(part.x0, blur.held().x0), part.y0, std::min(part.x1, blur.held().x1),
                        part.y1};
        if (!seen.isEmpty())
            blur.make(seen, scratch, wide.data() + (seen.x0 - part.x0) * FloatImage::kChannels, wideLength);
    }
    const float* wideRow = wide.data();
    for (int y = part.y0; y < part.y1; ++y, wideRow += wideLength) {
        const float* baseRow = pixelAt(base, part.x0, y);
        coreSpread.make(y, coreRow.data());
        const BoostRows rows{baseRow, around.at(y), wideRow, rim.at(y), coreRow.data(), weight.at(y)};
        float* bright = pixelAt(boosted, part.x0, y);
        thresholdRow(baseRow, settings.threshold, bright, part.width());
        boostRow(rows, settings.highlightBoost, bright, part.width());
    }
}

const FloatImage& HighlightBoost::make(const FloatImage& base, const Rect& work, WideParts wideBlur,
                                       std::span<const Rect> lit, const RenderSettings& settings,
                                       WorkerPool* pool) {
    plan(work, lit, settings);
    const Rect& reduced = reduction.target;
    runChunks(pool, reduced.y0, reduced.y1, kRowGroup, [&] { return makeReduction(base); }, {});
    runRows(pool, 0, (rimRect.width() + kLineLanes - 1) / kLineLanes,
            [&](int first, int end) { blurCore(first * kLineLanes, end * kLineLanes); });
    runChunks(pool, rimRect.y0, rimRect.y1, kRowGroup, [&] { return makeRims(); }, {});
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, scratch = LineScratch()](int first, int end) mutable {
            for (const Rect& part :
                 lit.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(end - first)))
                boost(base, wideBlur, settings, part, scratch);
        };
    };
    runChunks(pool, 0, static_cast<int>(lit.size()), 1, makeJob, {});
    return boosted;
}

}  // namespace veil
