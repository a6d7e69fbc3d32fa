#include "engine/glow_bands.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"

#include <algorithm>
#include <utility>

namespace veil {

namespace {

constexpr std::size_t kBlockRows = 32;
// Of all rows; beyond it they are dropped at the next tile. At 300 megapixels the looks take 7 MB.
constexpr std::size_t kMostBytes = std::size_t{40} << 20;

}  // namespace

bool isOneGaussian(const RenderSettings& settings) {
    return settings.wideScale == 1.0f && !(settings.highlightBoost > 0.0f) && !settings.anamorphic;
}

GlowBands::Band& GlowBands::bandFor(const Rect& work, const Rect& visible) {
    const std::size_t length = paddedLength(static_cast<std::size_t>(visible.width()) * 3);
    if (length > rowLength || blocks.size() * kBlockRows * rowLength * sizeof(float) > kMostBytes) {
        bands.clear();
        spare.clear();
        blocks.clear();
        rowLength = std::max(length, rowLength);
    }
    const auto found = std::find_if(bands.begin(), bands.end(), [&](const Band& b) {
        return b.workBegin == work.x0 && b.workEnd == work.x1 && b.visibleBegin == visible.x0 &&
               b.visibleEnd == visible.x1;
    });
    if (found != bands.end()) return *found;
    return bands.emplace_back(Band{work.x0, work.x1, visible.x0, visible.x1, 0, 0, {}});
}

// Of the band's rows those from `first` up to `end` stay, if `first` is one of them; else none does, and it
// begins anew there.
void GlowBands::keepRows(Band& band, int first, int end) {
    const bool has = band.begin <= first && first < std::min(end, band.end());
    const auto at = [&](int y) { return band.rows.begin() + (y - band.begin); };
    const auto begin = has ? at(first) : band.rows.end();
    const auto last = has ? at(std::min(end, band.end())) : band.rows.end();
    spare.insert(spare.end(), last, band.rows.end());
    spare.insert(spare.end(), band.rows.begin(), begin);
    band.rows.erase(last, band.rows.end());
    band.rows.erase(band.rows.begin(), begin);
    band.begin = first;
    band.filledEnd = band.end();
}

void GlowBands::addRows(Band& band, int end) {
    const auto count = static_cast<std::size_t>(std::max(end - band.end(), 0));
    while (spare.size() < count) {
        spare.reserve((blocks.size() + 1) * kBlockRows);  // of all there are, so that none is lost later
        Samples& block = blocks.emplace_back(rowLength * kBlockRows);
        for (std::size_t i = kBlockRows; i > 0; --i) spare.push_back(block.data() + (i - 1) * rowLength);
    }
    for (std::size_t i = 0; i < count; ++i) {
        band.rows.push_back(spare.back());
        spare.pop_back();
    }
}

GlowRows GlowBands::make(const Rect& work, const Rect& visible, const SourceRows& source,
                         const PlaneSizes& sizes, const RenderSettings& settings, WorkerPool* pool) {
    const float radius = workingRadius(settings);
    Band& band = bandFor(work, visible);
    keepRows(band, work.y0, tilesShareBoxes(sizes) ? band.filledEnd : work.y0);
    const int firstRow = band.end();
    addRows(band, work.y1);
    if (firstRow < work.y1) {
        const RowBlur blur =
            makeRowBlur(plans, radius, work.width(), visible.x0 - work.x0, visible.x1 - work.x0);
        const auto threshold = [&](float* row, int count) {
            thresholdFogRow(row, settings.threshold, settings.fog, count);
        };
        float* const* newRows = band.rows.data() + (firstRow - work.y0);
        const auto makeStep = [&](const FloatImage& averaged) -> WorkerPool::Job {
            return [&, scratch = LineScratch()](int first, int end) mutable {
                for (int y = first; y < end; y += kRowGroup) {
                    const float* from[kRowGroup];
                    const int count = std::min(kRowGroup, end - y);
                    for (int k = 0; k < count; ++k) from[k] = averaged.row(y + k);
                    blurRows(blur, from, count, scratch, newRows + y);
                }
            };
        };
        window.advance({work.x0, firstRow, work.x1, work.y1}, source, sizes, threshold, makeStep, pool);
        band.filledEnd = band.end();
    }
    const auto across = plans.find(radius, work.height(), visible.y0 - work.y0, visible.y1 - work.y0);
    const int count = visible.width() * 3;
    const std::size_t glowLength = paddedLength(static_cast<std::size_t>(count));
    growTo(glow, glowLength * static_cast<std::size_t>(visible.height()));
    blurAcrossRows(*across, band.rows.data(), count, glow.data(), glowLength, pool);
    // What the next row of tiles has in its margin, which may be a row or two larger.
    constexpr int kRounding = 4;
    const int margin = std::max(visible.y0 - work.y0, work.y1 - visible.y1) + kRounding;
    keepRows(band, std::max(work.y0, visible.y1 - margin), band.end());
    return {visible, glow.data(), glowLength};
}

}  // namespace veil
