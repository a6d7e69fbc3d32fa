#include "engine/glow.h"

#include "engine/geometry.h"
#include "engine/kernels/rows.h"

#include <algorithm>

namespace veil {

namespace {

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

void GlowMaker::blurWide(const Route& route, const AlongBlur& blur, const FloatImage& averaged, Span rows,
                         LineScratch& scratch) {
    for (int y = rows.begin; y < rows.end; y += kRowGroup)
        blurAlong(blur, pixelAt(averaged, route.work.x0, y), std::min(kRowGroup, rows.end - y),
                  averaged.rowLength(), scratch, wide.row(y), wide.rowLength());
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

const float* GlowMaker::mix(const Route& route, const Rect& wanted, std::vector<float>& scratch) const {
    const std::size_t count =
        static_cast<std::size_t>(wanted.width()) * 3 * static_cast<std::size_t>(wanted.height());
    scratch.resize(route.folded ? count : count * 3);
    float* glow = scratch.data();
    if (route.folded) {
        narrow.make(wanted, glow);
        return glow;
    }
    float *lights = glow + count, *haze = lights + count;
    narrow.make(wanted, lights);
    wide.make(wanted, haze);
    veilMixRow(lights, haze, route.settings.fog, glow, static_cast<int>(count));
    return glow;
}

GlowRows GlowMaker::make(const Rect& work, const Rect& visible, const SourceRows& source,
                         const PlaneSizes& sizes, const RenderSettings& settings, WorkerPool* pool) {
    const Route route(work, visible, settings);
    const FloatImage& averaged = average(route, source, sizes, pool);
    const Rect lit = route.boosts ? litRect(route, averaged, pool) : Rect{};
    const auto united = [](Span a, Span b) {
        return Span{std::min(a.begin, b.begin), std::max(a.end, b.end)};
    };
    Span columns{visible.x0, visible.x1}, rows{visible.y0, visible.y1};
    if (!lit.isEmpty()) {
        columns = united(columns, {lit.x0, lit.x1});
        rows = united(rows, {lit.y0, lit.y1});
    }
    narrow.begin(route.narrowRadius, settings.anamorphic, {work.y0, work.y1}, {visible.y0, visible.y1},
                 {visible.x0, visible.x1});
    if (!route.folded) wide.begin(route.wideRadius, settings.anamorphic, {work.y0, work.y1}, rows, columns);
    const AlongBlur narrowAlong = route.along(route.narrowRadius, visible);
    const AlongBlur wideAlong = route.along(route.wideRadius, {columns.begin, 0, columns.end, 1});
    boosted = nullptr;
    if (!lit.isEmpty()) {
        runRows(pool, wide.held().y0, wide.held().y1, [&](int first, int end) {
            LineScratch scratch;
            blurWide(route, wideAlong, averaged, {first, end}, scratch);
        });
        boosted = &boost.make(averaged, work, wide, lit, settings, pool);
    }
    // Both at once where nothing is boosted, so that a row of the averaged picture is read once.
    runRows(pool, work.y0, work.y1, [&](int first, int end) {
        LineScratch scratch;
        std::vector<float> bright;
        for (int y = first; y < end; y += kRowGroup) {
            const Span group{y, std::min(y + kRowGroup, end)};
            const auto of = [&](const Rect& held) {
                return Span{std::max(group.begin, held.y0), std::min(group.end, held.y1)};
            };
            if (!route.folded && !boosted) blurWide(route, wideAlong, averaged, of(wide.held()), scratch);
            blurNarrow(route, narrowAlong, averaged, of(narrow.held()), scratch, bright);
        }
    });
    return {visible, [this, route](int first, int end, std::vector<float>& scratch) {
                return mix(
                    route,
                    {route.visible.x0, route.visible.y0 + first, route.visible.x1, route.visible.y0 + end},
                    scratch);
            }};
}

}  // namespace veil
