#pragma once

// Menu runs whose dialog is a script, and how far the preview of such a run is from its result. The plug-in
// is linked into the program.

#include <cstdint>
#include <functional>
#include <vector>

#include "dialog/preview.h"
#include "standin/host.h"
#include "tests/host/runs.h"

namespace previewtest {

/// What the dialog does, on the record of the host's call; true is OK.
using Dialog = std::function<bool()>;

/// Sets what the next dialogs of this program do. The one before must not be running.
void setDialog(Dialog dialog);

/// Distances of samples in 8-bit levels.
struct Difference {
    double mean = 0.0;
    int greatest = 0;
};

/// The distance between the pixels of two pictures, four bytes each; samples blue, green, red.
Difference differenceOf(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b);

/// The samples that a host has at `rect`, which counts in steps of `scale` pixels from the document's corner;
/// interleaved RGB, 0 to 1, a mean rounded to the picture's depth. Outside, the edge pixel repeats.
std::vector<float> hostsSamples(const standin::Image& image, const standin::HostOptions& options,
                                const standin::PixelRect& rect, int scale);

/// Samples of 0 to 1 as the display takes them: blue, green, red, 0.
std::vector<std::uint8_t> displayPixels(const std::vector<float>& samples);

/// How a run on a picture with 8 bits, whose dialog was opened with the given preview area, went.
struct Comparison {
    int scale = 0;
    Difference everyNth,
        averaged;  ///< from the host's sampling to the result that is sampled in the same way
};

/// Runs the filter on `image`: the dialog renders the preview of `params` for both kinds of hosts, then OK
/// writes the result. Throws std::runtime_error if the host's call or a fetch failed.
Comparison comparePreview(const standin::Image& image, const veil::VeilParams& params, std::int32_t widthPx,
                          std::int32_t heightPx);

}  // namespace previewtest
