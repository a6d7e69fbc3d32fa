#include "engine/glow.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"

#include <algorithm>
#include <utility>

namespace veil {

namespace {

constexpr int kChunkRows = kRowGroup;  // rows near lights take longer than others
constexpr int kLeastChunk = 8;         // of rows that are averaged
constexpr int kMixColumns = 16;        // as many samples as three strips of the blur
constexpr int kLitColumns = 32;        // lights are small, so narrow columns hold little beside them
// Of the wide blur's columns; 24 megapixels take 9 MB.
constexpr std::size_t kWideBytes = std::size_t{64} << 20;

}  // namespace

bool isFolded(const RenderSettings& settings) {
    return settings.wideScale == 1.0f && !(settings.highlightBoost > 0.0f);
}

// What a tile's passes need to know of it.
struct GlowMaker::Route {
    Rect work, visible;
    RenderSettings settings;
    bool folded, boosts;
    int group;  // of rows
    float narrowRadius, wideRadius;
    Rect bright;  // the pixels whose bright parts reach `visible`

    Route(LinePlans& plans, const Rect& workRect, const Rect& visibleRect, const RenderSettings& s)
        : work(workRect),
          visible(visibleRect),
          settings(s),
          folded(isFolded(s)),
          boosts(s.highlightBoost > 0.0f),
          group(rowGroup(s.anamorphic)),
          narrowRadius(workingRadius(s)),
          wideRadius(narrowRadius * s.wideScale) {
        const Span x = along(plans, narrowRadius, visible).reads;
        const Span y = s.anamorphic
                           ? Span{visible.y0, visible.y1}
                           : gaussianReads(narrowRadius, {work.y0, work.y1}, {visible.y0, visible.y1});
        bright = {work.x0 + x.begin, y.begin, work.x0 + x.end, y.end};
    }

    /// `bright` in runs of a few columns, in which lit pixels are looked for.
    int litRuns() const { return (bright.width() + kLitColumns - 1) / kLitColumns; }
    Rect litRun(int run) const {
        const int x0 = bright.x0 + run * kLitColumns;
        return {x0, bright.y0, std::min(x0 + kLitColumns, bright.x1), bright.y1};
    }
    /// Of a row of a run in litSpans.
    std::size_t litIndex(int run, int y) const {
        return static_cast<std::size_t>(y - bright.y0) * static_cast<std::size_t>(litRuns()) +
               static_cast<std::size_t>(run);
    }

    /// The blur of rows of `work`, of which the columns of `wanted` are asked for.
    AlongBlur along(LinePlans& plans, float radius, const Rect& wanted) const {
        return makeAlongBlur(plans, radius, settings.anamorphic, work.width(), wanted.x0 - work.x0,
                             wanted.x1 - work.x0);
    }
};

// The averaged picture, with steps over all rows of `route.work`.
const FloatImage& GlowMaker::average(const Route& route, const SourceRows& source, const PlaneSizes& sizes,
                                     const AveragedBand::MakeStep& makeStep, WorkerPool* pool) {
    RowTransform fold;
    if (route.folded)
        fold = [&](float* row, int count) {
            thresholdFogRow(row, route.settings.threshold, route.settings.fog, count);
        };
    if (fitsBand(route.work, sizes))
        return band.advance(route.work, source, sizes, fold, std::max(route.group, kLeastChunk), makeStep,
                            pool);
    const FloatImage& averaged = window.advance(route.work, source, sizes, fold, nullptr, pool);
    runChunks(pool, route.work.y0, route.work.y1, kChunkRows, [&] { return makeStep(averaged); }, {});
    return averaged;
}

// For those of `rows` that count, the pixels of each run of columns that a boost changes.
void GlowMaker::findLit(const Route& route, const FloatImage& averaged, Span rows) {
    const Rect& bright = route.bright;
    for (int y = std::max(rows.begin, bright.y0); y < std::min(rows.end, bright.y1); ++y)
        for (int run = 0; run < route.litRuns(); ++run) {
            Span& span = litSpans[route.litIndex(run, y)];
            const Rect columns = route.litRun(run);
            litSpan(pixelAt(averaged, columns.x0, y), columns.width(), &span.begin, &span.end);
        }
}

// For each run of columns the smallest rectangle round them.
void GlowMaker::joinLit(const Route& route) {
    const Rect& bright = route.bright;
    for (int run = 0; run < route.litRuns(); ++run) {
        if (!boostsLitOnly(route.settings)) {
            lit.push_back(route.litRun(run));
            continue;
        }
        const int x0 = route.litRun(run).x0;
        Rect part;
        for (int y = bright.y0; y < bright.y1; ++y) {
            const Span& span = litSpans[route.litIndex(run, y)];
            if (span.begin == span.end) continue;
            const Rect row{x0 + span.begin, y, x0 + span.end, y + 1};
            part = part.isEmpty()
                       ? row
                       : Rect{std::min(part.x0, row.x0), part.y0, std::max(part.x1, row.x1), row.y1};
        }
        if (!part.isEmpty()) lit.push_back(part);
    }
}

GlowMaker::WideColumn& GlowMaker::wideColumnOf(const Route& route) {
    const Rect &work = route.work, &visible = route.visible;
    const auto found = std::find_if(wideColumns.begin(), wideColumns.end(), [&](const WideColumn& c) {
        return c.workBegin == work.x0 && c.workEnd == work.x1 && c.columns.begin == visible.x0 &&
               c.columns.end == visible.x1;
    });
    if (found != wideColumns.end()) return *found;
    std::size_t bytes = 0;
    for (const WideColumn& column : wideColumns) bytes += column.blur.bytes();
    if (bytes > kWideBytes) wideColumns.clear();
    return wideColumns.emplace_back(WideColumn{work.x0, work.x1, {visible.x0, visible.x1}, {0, 0}, {}});
}

void GlowMaker::beginWide(const Route& route, std::size_t part, const Rect& wanted, Span kept) {
    const std::size_t parts = std::max(wide.size(), part + 1);
    wide.resize(parts);
    wideAlong.resize(parts);
    wideBegin.resize(parts);
    const Rect& work = route.work;
    wideBegin[part] = wide[part].begin(route.wideRadius, route.settings.anamorphic, {work.y0, work.y1},
                                       {wanted.y0, wanted.y1}, {wanted.x0, wanted.x1}, kept);
    LinePlans ofLights;  // which no two tiles share
    wideAlong[part] = route.along(part == kVisible ? plans : ofLights, route.wideRadius, wanted);
}

void GlowMaker::beginVisible(const Route& route, const PlaneSizes& sizes) {
    wide.resize(std::max(wide.size(), kVisible + 1));
    Span kept{0, 0};
    // A streak reads no rows above and below its tile.
    if (!route.settings.anamorphic && tilesShareBoxes(sizes)) {
        WideColumn& column = wideColumnOf(route);
        // Whatever interrupts this tile, the next one finds no row that was not filled.
        kept = std::exchange(column.rows, {0, 0});
        std::swap(wide[kVisible], column.blur);
    }
    Rect wanted = route.visible;
    if (route.boosts) {  // where lights may be
        wanted.y0 = std::min(wanted.y0, route.bright.y0);
        wanted.y1 = std::max(wanted.y1, route.bright.y1);
    }
    beginWide(route, kVisible, wanted, kept);
}

void GlowMaker::endVisible(const Route& route, const PlaneSizes& sizes) {
    if (route.settings.anamorphic || !tilesShareBoxes(sizes)) return;
    WideColumn& column = wideColumnOf(route);
    std::swap(wide[kVisible], column.blur);
    column.rows = {column.blur.held().y0, column.blur.held().y1};
}

// Those of `rows` that have to be filled.
void GlowMaker::blurWide(const Route& route, std::size_t part, const FloatImage& averaged, Span rows,
                         LineScratch& scratch) {
    const int end = std::min(rows.end, wide[part].held().y1);
    for (int y = std::max(rows.begin, wideBegin[part]); y < end; y += route.group)
        blurAlong(wideAlong[part], pixelAt(averaged, route.work.x0, y), std::min(route.group, end - y),
                  averaged.rowLength(), scratch, wide[part].row(y), wide[part].rowLength());
}

// The boosted picture where lights are, with the wide blur of those beside the visible columns.
void GlowMaker::boostLit(const Route& route, const FloatImage& averaged, WorkerPool* pool) {
    const Rect& visible = route.visible;
    std::size_t parts = kVisible + 1;
    for (const Rect& r : lit) {
        const Rect left{r.x0, r.y0, std::min(visible.x0, r.x1), r.y1},
            right{std::max(visible.x1, r.x0), r.y0, r.x1, r.y1};
        if (!left.isEmpty()) beginWide(route, parts++, left, {0, 0});
        if (!right.isEmpty()) beginWide(route, parts++, right, {0, 0});
    }
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, scratch = LineScratch()](int first, int end) mutable {
            for (std::size_t part = kVisible + 1; part < parts; ++part)
                blurWide(route, part, averaged, {first, end}, scratch);
        };
    };
    if (parts > kVisible + 1) runChunks(pool, route.work.y0, route.work.y1, kChunkRows, makeJob, {});
    boosted = &boost.make(averaged, route.work, {wide.data(), parts}, lit, route.settings, pool);
}

void GlowMaker::blurNarrow(const Route& route, const AlongBlur& blur, const FloatImage& averaged, Span rows,
                           LineScratch& scratch, Samples& bright) {
    const auto length = static_cast<std::size_t>(route.work.width()) * 3;
    if (!route.folded) growTo(bright, length * kRowGroup);
    const int wantedSamples = route.visible.width() * 3;
    for (int y = rows.begin; y < rows.end; y += route.group) {
        const int count = std::min(route.group, rows.end - y);
        if (route.folded) {
            blurAlong(blur, pixelAt(averaged, route.work.x0, y), count, averaged.rowLength(), scratch,
                      narrow.row(y), narrow.rowLength());
            continue;
        }
        for (int k = 0; k < count; ++k)
            makeBright(route, averaged, y + k, bright.data() + static_cast<std::size_t>(k) * length);
        blurAlong(blur, bright.data(), count, length, scratch, narrow.row(y), narrow.rowLength());
        if (!route.settings.anamorphic) continue;
        for (int k = 0; k < count; ++k)  // no blur across comes between
            veilMixRow(narrow.row(y + k), wide[kVisible].row(y + k), route.settings.fog, narrow.row(y + k),
                       wantedSamples);
    }
}

// What blooms of row `y`, in a row of the working rectangle.
void GlowMaker::makeBright(const Route& route, const FloatImage& averaged, int y, float* row) const {
    const Rect& bright = route.bright;
    thresholdRow(pixelAt(averaged, bright.x0, y), route.settings.threshold,
                 row + (bright.x0 - route.work.x0) * 3, bright.width());
    for (const Rect& part : lit) {
        if (y < part.y0 || y >= part.y1) continue;
        const float* from = pixelAt(*boosted, part.x0, y);
        std::copy(from, from + part.width() * 3, row + (part.x0 - route.work.x0) * 3);
    }
}

// A part of `glow`: the columns from `x0` up to `x1`.
void GlowMaker::mix(const Route& route, int x0, int x1, LineScratch& scratch, Samples& haze) {
    const Rect part{x0, route.visible.y0, x1, route.visible.y1};
    float* row = glow.row(0) + static_cast<std::ptrdiff_t>(x0 - route.visible.x0) * 3;
    narrow.make(part, scratch, row, glow.rowLength());
    if (route.folded) return;
    const auto length = static_cast<std::size_t>(part.width()) * 3;
    growTo(haze, length * static_cast<std::size_t>(part.height()));
    wide[kVisible].make(part, scratch, haze.data(), length);
    const float* hazeRow = haze.data();
    for (int y = part.y0; y < part.y1; ++y, row += glow.rowLength(), hazeRow += length)
        veilMixRow(row, hazeRow, route.settings.fog, row, static_cast<int>(length));
}

GlowRows GlowMaker::make(const Rect& work, const Rect& visible, const SourceRows& source,
                         const PlaneSizes& sizes, const RenderSettings& settings, WorkerPool* pool) {
    const Route route(plans, work, visible, settings);
    narrow.begin(route.narrowRadius, settings.anamorphic, {work.y0, work.y1}, {visible.y0, visible.y1},
                 {visible.x0, visible.x1});
    const AlongBlur narrowAlong = route.along(plans, route.narrowRadius, visible);
    const Rect& held = narrow.held();
    if (!route.folded) beginVisible(route, sizes);
    lit.clear();
    litSpans.clear();
    if (route.boosts && boostsLitOnly(settings)) litSpans.resize(route.litIndex(0, route.bright.y1));
    const auto makeNarrow = [&](const FloatImage& averaged) -> WorkerPool::Job {
        return [&, scratch = LineScratch(), bright = Samples()](int first, int end) mutable {
            blurNarrow(route, narrowAlong, averaged, {std::max(first, held.y0), std::min(end, held.y1)},
                       scratch, bright);
        };
    };
    // All that waits for no light follows on each row while it is in the cache.
    const auto makeStep = [&](const FloatImage& averaged) -> WorkerPool::Job {
        return
            [&, scratch = LineScratch(), blurRest = route.boosts ? WorkerPool::Job() : makeNarrow(averaged)](
                int first, int end) mutable {
                for (int y = first; y < end; y += route.group) {
                    const Span group{y, std::min(y + route.group, end)};
                    if (!route.folded) blurWide(route, kVisible, averaged, group, scratch);
                    if (!litSpans.empty()) findLit(route, averaged, group);
                    if (blurRest) blurRest(group.begin, group.end);
                }
            };
    };
    const FloatImage& averaged = average(route, source, sizes, makeStep, pool);
    if (route.boosts) {
        joinLit(route);
        if (!lit.empty()) boostLit(route, averaged, pool);
        runChunks(pool, held.y0, held.y1, kChunkRows, [&] { return makeNarrow(averaged); }, {});
    }
    if (settings.anamorphic) return {visible, narrow.row(visible.y0), narrow.rowLength()};
    glow.reshape({visible.x0, visible.y0,
                  visible.x0 + static_cast<int>(paddedLength(static_cast<std::size_t>(visible.width()))),
                  visible.y1});
    narrow.planRows(plans, {visible.y0, visible.y1});
    if (!route.folded) wide[kVisible].planRows(plans, {visible.y0, visible.y1});
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, scratch = LineScratch(), haze = Samples()](int first, int end) mutable {
            for (int i = first; i < end; ++i) {
                const int x0 = visible.x0 + i * kMixColumns;
                mix(route, x0, std::min(x0 + kMixColumns, visible.x1), scratch, haze);
            }
        };
    };
    runChunks(pool, 0, (visible.width() + kMixColumns - 1) / kMixColumns, 1, makeJob, {});
    if (!route.folded) endVisible(route, sizes);
    return {visible, glow.row(0), glow.rowLength()};
}

}  // namespace veil
