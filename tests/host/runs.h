#pragma once

// What the tests of the host side share: pictures, blocks, and runs that are checked for what must hold of
// any run.

#include <cstring>
#include <string>

#include "host/parameter_block.h"
#include "standin/host.h"

namespace hosttest {

/// The plug-in under test; each program defines it.
const standin::Plugin& plugin();

/// A picture in which neighbouring samples differ and a part is bright.
standin::Image picture(int width, int height, int planes = 3, int depth = 8);

// Without strength there is no glow: the glow over the picture is the picture, and the glow alone is black.
// So the first two show which pixels were read and written where, and the third shows the effect itself.
constexpr veil::VeilParams kUnchanged{0, 0, 0.0f, 20.0f, 0.0f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 0};
constexpr veil::VeilParams kBlack{0, 0, 0.0f, 20.0f, 0.0f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 1};
constexpr veil::VeilParams kEffect{0, 0, 0.0f, 20.0f, 0.9f, 0.18f, 0.5f, 1.0f, 0.2f, 1, 0};

/// `image` with planes 0 to 2 of `area` (in the picture's coordinates) black.
standin::Image blackened(standin::Image image, const standin::PixelRect& area);

enum class How { menu, repeat };

/// Runs the filter and checks that it stayed within its rectangles and buffers, left no lock and no thread
/// behind, and changed no pixel if it failed.
standin::RunReport checkedRun(standin::HostSession& session, How how = How::repeat);

/// A repeat on `image`, in a host that holds `block` from an earlier run.
standin::RunReport checkedRun(standin::Image& image, const veil::VeilParams& block,
                              const standin::HostOptions& options);

/// The events in short: selectors by number, with "=" and the result of a failure, then what they called.
std::string story(const standin::RunReport& report);

}  // namespace hosttest
