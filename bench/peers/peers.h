#pragma once

// Other ways to the same picture, written with OpenCV: what a program without our engine would take. All of
// them give the default look alone, from 8-bit RGB to 8-bit RGB, on OpenCV's own threads. They average to a
// quarter, blur there and enlarge; buffers stay from run to run.

#include <functional>
#include <string>

#include <opencv2/core.hpp>

#include "engine/settings.h"

namespace peers {

/// What of the default look is left to do. At its threshold and saturation the steps of these names change
/// nothing, so the peers leave them out.
struct Look {
    double radius = 0;    ///< of the blur, in pixels of the quarter plane; sigma is half of it
    double gain[3] = {};  ///< tint and strength, not above 1, so that the glow never needs a limit
    double shadowProtect = 0;
};

/// The look of `settings`; throws std::invalid_argument if it needs a step that the peers leave out.
Look lookOf(const veil::RenderSettings& settings);

/// Writes the look of `source` into `result`; both CV_8UC3.
using Peer = std::function<void(const cv::Mat& source, cv::Mat& result)>;

/// Calls of OpenCV on whole float pictures.
Peer makePlain(const Look& look);
/// Calls of OpenCV on 8-bit pictures, those on the whole picture in strips on all threads.
Peer makeInteger(const Look& look);
/// The quarter plane in floats, and one pass over the rows for all that is left.
Peer makeFused(const Look& look);
/// The same in integers of 8 and 16 bits; `coarsely`: blurred on a plane of a sixteenth, which is more than
/// the engine permits itself.
Peer makeFusedInteger(const Look& look, bool coarsely);

constexpr const char* kPeerNames = "copy|plain|integer|fused|fused-integer|coarse";

/// One of kPeerNames, of which "copy" copies the picture and no more; throws std::invalid_argument for
/// another name.
Peer makePeer(const std::string& name, const Look& look);

// What the peers share.

/// The Gaussian that ends at twice its sigma, with repeated edges, in one strip for each thread.
void blurQuarter(const cv::Mat& quarter, cv::Mat& blurred, const Look& look);

}  // namespace peers
