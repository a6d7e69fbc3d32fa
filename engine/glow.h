#pragma once

// The full route: the glow on the working plane where one Gaussian does not do, because the thin haze is
// blurred further than the lights, lights are boosted, or it is a streak.

#include <optional>
#include <vector>

#include "engine/averaged_band.h"
#include "engine/averaged_window.h"
#include "engine/blur.h"
#include "engine/boost.h"
#include "engine/composition.h"
#include "engine/settings.h"

namespace veil {

/// Whether both blurs are folded into one: without a wide blur and without a boost they are of one radius,
/// and linear, so the fog can be a floor under the threshold weight and only rounding differs.
bool isFolded(const RenderSettings& settings);

/// For the tiles of one image in one setting, in any order; it keeps its buffers, and of the averaged picture
/// and the thin haze what tiles to the right and below need.
class GlowMaker {
  public:
    /// The glow, before saturation, tint and strength, over `visible`, made from the pixels of `work`. The
    /// result reads from this object, until the next call. Throws std::bad_alloc and what the source throws;
    /// the next tile comes out right all the same.
    GlowRows make(const Rect& work, const Rect& visible, const SourceRows& source, const PlaneSizes& sizes,
                  const RenderSettings& settings, WorkerPool* pool);

  private:
    struct Route;
    // Of the wide blur's parts; the others are lit columns beside it.
    static constexpr std::size_t kVisible = 0;

    // The wide blur along the rows of one column of tiles, and the rows that are filled.
    struct WideColumn {
        int workBegin, workEnd;  // whose pixels the taps repeat, so that it is for these alone
        Span columns, rows;
        AcrossBlur<FloatImage> blur;
    };

    const FloatImage& average(const Route& route, const SourceRows& source, const PlaneSizes& sizes,
                              const AveragedBand::MakeStep& makeStep, WorkerPool* pool);
    void findLit(const Route& route, const FloatImage& averaged, Span rows);
    void joinLit(const Route& route);
    WideColumn& wideColumnOf(const Route& route);
    void beginWide(const Route& route, std::size_t part, const Rect& wanted, Span kept);
    void beginVisible(const Route& route, const PlaneSizes& sizes);
    void endVisible(const Route& route, const PlaneSizes& sizes);
    void blurWide(const Route& route, std::size_t part, const FloatImage& averaged, Span rows,
                  LineScratch& scratch);
    void boostLit(const Route& route, const FloatImage& averaged, WorkerPool* pool);
    void blurNarrow(const Route& route, const AlongBlur& blur, const FloatImage& averaged, Span rows,
                    LineScratch& scratch, Samples& bright);
    void makeBright(const Route& route, const FloatImage& averaged, int y, float* row) const;
    void mix(const Route& route, int x0, int x1, LineScratch& scratch, Samples& haze);

    LinePlans plans;
    AveragedBand band;
    AveragedWindow window;  // where the band would be too large
    AcrossBlur<FloatImage> narrow;
    std::vector<AcrossBlur<FloatImage>> wide;  // kVisible from its column, to which it returns
    std::vector<AlongBlur> wideAlong;
    std::vector<int> wideBegin;  // the first row that has to be filled
    std::vector<WideColumn> wideColumns;
    HighlightBoost boost;
    FloatImage glow;  // the visible columns and some more, so that rows begin with a line of the cache
    std::vector<Span> litSpans;  // of the rows whose bright parts reach the tile, one for each run of columns
    std::vector<Rect> lit;       // rectangles that hold all the pixels which a boost changes
    const FloatImage* boosted = nullptr;  // there
};

}  // namespace veil
