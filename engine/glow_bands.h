#pragma once

// The glow of the short route, whose bright parts need one Gaussian only: averaging, threshold and the
// horizontal blur run joined over each row. Rows that were blurred horizontally are kept for the next row of
// tiles, whose margin they lie in.

#include <vector>

#include "engine/averaged_window.h"
#include "engine/blur.h"
#include "engine/composition.h"
#include "engine/settings.h"

namespace veil {

/// Whether the glow of `settings` is one Gaussian of the bright parts.
bool isOneGaussian(const RenderSettings& settings);

/// For the tiles of one image in one setting, in any order; those of a row from left to right and rows from
/// the top share most.
class GlowBands {
  public:
    /// The glow over `visible`, made from the pixels of `work`; its samples stay until the next call.
    /// `settings` give threshold, fog and radius. Throws std::bad_alloc and what the source throws; nothing
    /// wrong is kept then.
    GlowRows make(const Rect& work, const Rect& visible, const SourceRows& source, const PlaneSizes& sizes,
                  const RenderSettings& settings, WorkerPool* pool);

  private:
    // Rows of one column of tiles, blurred horizontally; row y stands at y % capacity.
    struct Band {
        int workBegin, workEnd;  // the taps repeat the pixels at these ends, so a band is for them alone
        int visibleBegin, visibleEnd;  // the columns
        int capacity = 0;              // in rows
        int begin = 0, end = 0;        // the rows that are held
        Samples samples;

        int sampleCount() const { return (visibleEnd - visibleBegin) * 3; }
        std::size_t rowLength() const { return paddedLength(static_cast<std::size_t>(sampleCount())); }
        float* row(int y) { return samples.data() + rowLength() * static_cast<std::size_t>(y % capacity); }
    };

    // Null if there is none that can hold the rows of `work`.
    const Band* find(const Rect& work, const Rect& visible) const;
    Band& bandFor(const Rect& work, const Rect& visible, const PlaneSizes& sizes);
    // The first row of `work` that `band`, which may be null, lacks.
    static int firstNewRow(const Band* band, const Rect& work, const PlaneSizes& sizes);

    LinePlans plans;
    std::vector<Band> bands;
    AveragedWindow window;
    std::vector<const float*> rows;  // of the latest tile, from the top of its working rectangle
    Samples glow;
};

}  // namespace veil
