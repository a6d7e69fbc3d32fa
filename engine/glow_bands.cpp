#include "engine/glow_bands.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"

#include <algorithm>
#include <utility>

namespace veil {

namespace {

constexpr std::size_t kBandBytes = std::size_t{40}
                                   << 20;  // of all bands; at 300 megapixels the looks take 14 MB

// Rows enough for any tile as high as this one: one at the picture's edge has its margin on one side only.
int bandCapacity(const Rect& work, const Rect& visible, const PlaneSizes& sizes) {
    constexpr int kRounding = 2;  // tiles of one height may see a row more or less, at either end
    const int margin = std::max(visible.y0 - work.y0, work.y1 - visible.y1) + kRounding;
    return std::max(work.height(), std::min(sizes.workHeight, visible.height() + 2 * margin));
}

}  // namespace

bool isOneGaussian(const RenderSettings& settings) {
    return settings.wideScale == 1.0f && !(settings.highlightBoost > 0.0f) && !settings.anamorphic;
}

const GlowBands::Band* GlowBands::find(const Rect& work, const Rect& visible) const {
    const auto found = std::find_if(bands.begin(), bands.end(), [&](const Band& b) {
        return b.workBegin == work.x0 && b.workEnd == work.x1 && b.visibleBegin == visible.x0 &&
               b.visibleEnd == visible.x1 && b.capacity >= work.height();
    });
    return found != bands.end() ? &*found : nullptr;
}

GlowBands::Band& GlowBands::bandFor(const Rect& work, const Rect& visible, const PlaneSizes& sizes) {
    if (const Band* held = find(work, visible)) return bands[static_cast<std::size_t>(held - bands.data())];
    Band band{work.x0, work.x1, visible.x0, visible.x1, bandCapacity(work, visible, sizes), 0, 0, {}};
    const std::size_t size = band.rowLength() * static_cast<std::size_t>(band.capacity);
    std::size_t bytes = size * sizeof(float);
    for (const Band& other : bands) bytes += other.samples.size() * sizeof(float);
    if (bytes > kBandBytes) bands.clear();
    growTo(band.samples, size);
    return bands.emplace_back(std::move(band));
}

int GlowBands::firstNewRow(const Band* band, const Rect& work, const PlaneSizes& sizes) {
    const bool overlaps = band && band->begin <= work.y0 && work.y0 < band->end;
    return overlaps && tilesShareBoxes(sizes) ? std::min(band->end, work.y1) : work.y0;
}

GlowRows GlowBands::make(const Rect& work, const Rect& visible, const SourceRows& source,
                         const PlaneSizes& sizes, const RenderSettings& settings, WorkerPool* pool) {
    const float radius = workingRadius(settings);
    Band& band = bandFor(work, visible, sizes);
    const int firstRow = firstNewRow(&band, work, sizes);
    // The new rows take the place of those above this tile.
    band.begin = work.y0;
    band.end = firstRow > work.y0 ? std::max(band.end, firstRow) : firstRow;
    if (firstRow < work.y1) {
        const RowBlur blur =
            makeRowBlur(plans, radius, work.width(), visible.x0 - work.x0, visible.x1 - work.x0);
        const auto threshold = [&](float* row, int count) {
            thresholdFogRow(row, settings.threshold, settings.fog, count);
        };
        const auto makeStep = [&](const FloatImage& averaged) -> WorkerPool::Job {
            return [&, scratch = LineScratch()](int first, int end) mutable {
                for (int y = first; y < end; y += kRowGroup) {
                    const float* from[kRowGroup];
                    float* to[kRowGroup];
                    const int count = std::min(kRowGroup, end - y);
                    for (int k = 0; k < count; ++k) {
                        from[k] = averaged.row(y + k);
                        to[k] = band.row(firstRow + y + k);
                    }
                    blurRows(blur, from, count, scratch, to);
                }
            };
        };
        window.advance({work.x0, firstRow, work.x1, work.y1}, source, sizes, threshold, makeStep, pool);
        band.end = work.y1;
    }
    rows.resize(static_cast<std::size_t>(work.height()));
    for (int y = 0; y < work.height(); ++y) rows[static_cast<std::size_t>(y)] = band.row(work.y0 + y);
    growTo(glow, band.rowLength() * static_cast<std::size_t>(visible.height()));
    const auto across = plans.find(radius, work.height(), visible.y0 - work.y0, visible.y1 - work.y0);
    blurAcrossRows(*across, rows, band.sampleCount(), glow.data(), band.rowLength(), pool);
    return {visible, glow.data(), band.rowLength()};
}

}  // namespace veil
