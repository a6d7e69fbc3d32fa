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
    // Rows of one column of tiles, blurred horizontally.
    struct Band {
        int workBegin, workEnd;  // the taps repeat the pixels at these ends, so a band is for them alone
        int visibleBegin, visibleEnd;  // the columns
        int begin = 0, filledEnd = 0;
        std::vector<float*> rows;  // from `begin` on

        int end() const { return begin + static_cast<int>(rows.size()); }
    };

    Band& bandFor(const Rect& work, const Rect& visible);
    void keepRows(Band& band, int first, int end);
    void addRows(Band& band, int end);

    LinePlans plans;
    std::vector<Band> bands;
    AveragedWindow window;
    std::vector<Samples> blocks;  // of rows, which bands have in turn
    std::vector<float*> spare;    // rows of no band; the last one was let go last, and is in a cache
    std::size_t rowLength = 0;
    Samples glow;
};

}  // namespace veil
