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
/// what the next tile of a row needs.
class GlowMaker {
  public:
    /// The image pixels that the next call of make reads from a tile's source.
    Rect reads(const Rect& work, const Rect& sourceRect, const PlaneSizes& sizes) const;

    /// The glow, before saturation, tint and strength, over `visible`, made from the pixels of `work`. The
    /// result reads from this object, until the next call. Throws std::bad_alloc and what the source throws;
    /// the next tile comes out right all the same.
    GlowRows make(const Rect& work, const Rect& visible, const SourceRows& source, const PlaneSizes& sizes,
                  const RenderSettings& settings, WorkerPool* pool);

  private:
    struct Route;
    // Of the wide blur: the visible columns, and the lit ones to their left and right, which take fewer rows.
    enum { kVisible, kLeft, kRight, kWideParts };

    const FloatImage& average(const Route& route, const SourceRows& source, const PlaneSizes& sizes,
                              WorkerPool* pool);
    Rect litRect(const Route& route, const FloatImage& averaged, WorkerPool* pool);
    void beginWide(const Route& route, const Rect& lit);
    void blurWide(const Route& route, const FloatImage& averaged, Span rows, LineScratch& scratch);
    void blurNarrow(const Route& route, const AlongBlur& blur, const FloatImage& averaged, Span rows,
                    LineScratch& scratch, std::vector<float>& bright);
    void makeBright(const Route& route, const FloatImage& averaged, int y, float* row) const;
    void mix(const Route& route, int x0, int x1, std::vector<float>& haze);

    AveragedBand band;
    AveragedWindow window;  // where the band would be too large
    AcrossBlur<FloatImage> narrow;
    AcrossBlur<FloatImage> wide[kWideParts];
    HighlightBoost boost;
    FloatImage glow;
    AlongBlur wideAlong[kWideParts];
    const FloatImage* boosted = nullptr;  // null: nothing of the tile is
    std::vector<Span> litSpans;           // of the rows whose bright parts reach the tile
};

}  // namespace veil
