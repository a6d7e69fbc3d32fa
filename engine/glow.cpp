#include "engine/glow.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"

#include <algorithm>

namespace veil {

namespace {

constexpr int kChunkRows = 4 * kRowGroup;  // rows near lights take longer than others
constexpr int kMixColumns = 64;            // as many samples as three strips of the blur

// Pixel (x, y) of the image's plane.
const float* pixelAt(const FloatImage& image, int x, int y) {
    return image.row(y - image.rect.y0) + static_cast<std::ptrdiff_t>(x - image.rect.x0) * 3;
}

}  // namespace

bool isFolded(const RenderSettings& settings) {
    return settings.wideScale == 1.0f && !(settings.highlightBoost > 0.0f);
}

// What a tile's passes need to know of it.
struct GlowMaker::Route {
    Rect work, visible;
    RenderSettings settings;
    bool folded, boosts;
    float narrowRadius, wideRadius;
    Rect bright;  // the pixels whose bright parts reach `visible`

    Route(const Rect& workRect, const Rect& visibleRect, const RenderSettings& s)
        : work(workRect),
          visible(visibleRect),
          settings(s),
          folded(isFolded(s)),
          boosts(s.highlightBoost > 0.0f),
          narrowRadius(workingRadius(s)),
          wideRadius(narrowRadius * s.wideScale) {
        const Span x = along(narrowRadius, visible).reads;
        const Span y = s.anamorphic
                           ? Span{visible.y0, visible.y1}
                           : gaussianReads(narrowRadius, {work.y0, work.y1}, {visible.y0, visible.y1});
        bright = {work.x0 + x.begin, y.begin, work.x0 + x.end, y.end};
    }

    /// The blur of rows of `work`, of which the columns of `wanted` are asked for.
    AlongBlur along(float radius, const Rect& wanted) const {
        return makeAlongBlur(radius, settings.anamorphic, work.width(), wanted.x0 - work.x0,
                             wanted.x1 - work.x0);
    }
};

Rect GlowMaker::reads(const Rect& work, const Rect& sourceRect, const PlaneSizes& sizes) const {
    return fitsBand(work, sizes) ? band.reads(work, sourceRect, sizes)
                                 : window.reads(work, sourceRect, sizes);
}

const FloatImage& GlowMaker::average(const Route& route, const SourceRows& source, const PlaneSizes& sizes,
                                     WorkerPool* pool) {
    RowTransform fold;
    if (route.folded)
        fold = [&](float* row, int count) {
            thresholdFogRow(row, route.settings.threshold, route.settings.fog, count);
        };
    return fitsBand(route.work, sizes) ? band.advance(route.work, source, sizes, fold, pool)
                                       : window.advance(route.work, source, sizes, fold, nullptr, pool);
}

// The smallest rectangle round all the pixels of route.bright that a boost changes.
Rect GlowMaker::litRect(const Route& route, const FloatImage& averaged, WorkerPool* pool) {
    const Rect& bright = route.bright;
    if (!boostsLitOnly(route.settings)) return bright;
    litSpans.resize(static_cast<std::size_t>(bright.height()));
    runRows(pool, bright.y0, bright.y1, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            Span& span = litSpans[static_cast<std::size_t>(y - bright.y0)];
            litSpan(pixelAt(averaged, bright.x0, y), bright.width(), &span.begin, &span.end);
        }
    });
    Rect lit;
    for (int y = bright.y0; y < bright.y1; ++y) {
        const Span& span = litSpans[static_cast<std::size_t>(y - bright.y0)];
        if (span.begin == span.end) continue;
        const Rect row{bright.x0 + span.begin, y, bright.x0 + span.end, y + 1};
        lit = lit.isEmpty() ? row : Rect{std::min(lit.x0, row.x0), lit.y0, std::max(lit.x1, row.x1), row.y1};
    }
    return lit;
}

void GlowMaker::beginWide(const Route& route, const Rect& lit) {
    const Rect &work = route.work, &visible = route.visible;
    Rect parts[kWideParts] = {visible, {}, {}};
    if (!lit.isEmpty()) {
        parts[kVisible].y0 = std::min(visible.y0, lit.y0);
        parts[kVisible].y1 = std::max(visible.y1, lit.y1);
        parts[kLeft] = {lit.x0, lit.y0, std::min(visible.x0, lit.x1), lit.y1};
        parts[kRight] = {std::max(visible.x1, lit.x0), lit.y0, lit.x1, lit.y1};
    }
    for (int i = 0; i < kWideParts; ++i) {
        const Rect part =
            parts[i].isEmpty() ? Rect{visible.x0, visible.y0, visible.x0, visible.y0} : parts[i];
        wide[i].begin(route.wideRadius, route.settings.anamorphic, {work.y0, work.y1}, {part.y0, part.y1},
                      {part.x0, part.x1});
        if (!part.isEmpty()) wideAlong[i] = route.along(route.wideRadius, part);
    }
}

// The rows of all parts that lie in `rows`.
void GlowMaker::blurWide(const Route& route, const FloatImage& averaged, Span rows, LineScratch& scratch) {
    for (int i = 0; i < kWideParts; ++i) {
        const Rect& held = wide[i].held();
        if (held.isEmpty()) continue;
        const int end = std::min(rows.end, held.y1);
        for (int y = std::max(rows.begin, held.y0); y < end; y += kRowGroup)
            blurAlong(wideAlong[i], pixelAt(averaged, route.work.x0, y), std::min(kRowGroup, end - y),
                      averaged.rowLength(), scratch, wide[i].row(y), wide[i].rowLength());
    }
}

void GlowMaker::blurNarrow(const Route& route, const AlongBlur& blur, const FloatImage& averaged, Span rows,
                           LineScratch& scratch, std::vector<float>& bright) {
    const auto length = static_cast<std::size_t>(route.work.width()) * 3;
    if (!route.folded) bright.resize(length * kRowGroup);
    for (int y = rows.begin; y < rows.end; y += kRowGroup) {
        const int count = std::min(kRowGroup, rows.end - y);
        if (route.folded) {
            blurAlong(blur, pixelAt(averaged, route.work.x0, y), count, averaged.rowLength(), scratch,
                      narrow.row(y), narrow.rowLength());
            continue;
        }
        for (int k = 0; k < count; ++k)
            makeBright(route, averaged, y + k, bright.data() + static_cast<std::size_t>(k) * length);
        blurAlong(blur, bright.data(), count, length, scratch, narrow.row(y), narrow.rowLength());
    }
}

// What blooms of row `y`, in a row of the working rectangle.
void GlowMaker::makeBright(const Route& route, const FloatImage& averaged, int y, float* row) const {
    const Rect& bright = route.bright;
    thresholdRow(pixelAt(averaged, bright.x0, y), route.settings.threshold,
                 row + (bright.x0 - route.work.x0) * 3, bright.width());
    if (!boosted || y < boosted->rect.y0 || y >= boosted->rect.y1) return;
    const float* lit = boosted->row(y - boosted->rect.y0);
    std::copy(lit, lit + boosted->rowLength(), row + (boosted->rect.x0 - route.work.x0) * 3);
}

// A part of `glow`: the columns from `x0` up to `x1`.
void GlowMaker::mix(const Route& route, int x0, int x1, std::vector<float>& haze) {
    const Rect part{x0, route.visible.y0, x1, route.visible.y1};
    float* row = glow.row(0) + static_cast<std::ptrdiff_t>(x0 - route.visible.x0) * 3;
    narrow.make(part, row, glow.rowLength());
    if (route.folded) return;
    const auto length = static_cast<std::size_t>(part.width()) * 3;
    haze.resize(length * static_cast<std::size_t>(part.height()));
    wide[kVisible].make(part, haze.data(), length);
    const float* hazeRow = haze.data();
    for (int y = part.y0; y < part.y1; ++y, row += glow.rowLength(), hazeRow += length)
        veilMixRow(row, hazeRow, route.settings.fog, row, static_cast<int>(length));
}

GlowRows GlowMaker::make(const Rect& work, const Rect& visible, const SourceRows& source,
                         const PlaneSizes& sizes, const RenderSettings& settings, WorkerPool* pool) {
    const Route route(work, visible, settings);
    const FloatImage& averaged = average(route, source, sizes, pool);
    const Rect lit = route.boosts ? litRect(route, averaged, pool) : Rect{};
    narrow.begin(route.narrowRadius, settings.anamorphic, {work.y0, work.y1}, {visible.y0, visible.y1},
                 {visible.x0, visible.x1});
    const AlongBlur narrowAlong = route.along(route.narrowRadius, visible);
    if (!route.folded) beginWide(route, lit);
    boosted = nullptr;
    if (!lit.isEmpty()) {
        const auto makeJob = [&]() -> WorkerPool::Job {
            return [&, scratch = LineScratch()](int first, int end) mutable {
                blurWide(route, averaged, {first, end}, scratch);
            };
        };
        runChunks(pool, work.y0, work.y1, kChunkRows, makeJob, {});
        boosted = &boost.make(averaged, work, wide, lit, settings, pool);
    }
    // Both at once where nothing is boosted, so that a row of the averaged picture is read once.
    const bool isWideLeft = !route.folded && !boosted;
    const auto makeBlur = [&]() -> WorkerPool::Job {
        return [&, scratch = LineScratch(), bright = std::vector<float>()](int first, int end) mutable {
            for (int y = first; y < end; y += kRowGroup) {
                const Span group{y, std::min(y + kRowGroup, end)};
                if (isWideLeft) blurWide(route, averaged, group, scratch);
                const Rect& held = narrow.held();
                blurNarrow(route, narrowAlong, averaged,
                           {std::max(group.begin, held.y0), std::min(group.end, held.y1)}, scratch, bright);
            }
        };
    };
    runChunks(pool, isWideLeft ? work.y0 : narrow.held().y0, isWideLeft ? work.y1 : narrow.held().y1,
              kChunkRows, makeBlur, {});
    if (route.folded && settings.anamorphic)  // the rows as they are
        return {visible, narrow.row(visible.y0)};
    glow.reshape(visible);
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, haze = std::vector<float>()](int first, int end) mutable {
            for (int i = first; i < end; ++i) {
                const int x0 = visible.x0 + i * kMixColumns;
                mix(route, x0, std::min(x0 + kMixColumns, visible.x1), haze);
            }
        };
    };
    runChunks(pool, 0, (visible.width() + kMixColumns - 1) / kMixColumns, 1, makeJob, {});
    return glow;
}

}  // namespace veil
