#include "bench/peers/peers.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "engine/geometry.h"

namespace peers {

Look lookOf(const veil::RenderSettings& settings) {
    const double gains[] = {settings.tintR * settings.strength, settings.tintG * settings.strength,
                            settings.tintB * settings.strength};
    const bool isSimple = settings.threshold <= 0.0f && settings.glowSaturation == 1.0f &&
                          settings.wideScale == 1.0f && settings.highlightBoost <= 0.0f &&
                          !settings.anamorphic && !settings.outputGlowOnly;
    if (!isSimple || *std::max_element(std::begin(gains), std::end(gains)) > 1.0)
        throw std::invalid_argument("the peers know no look but one like the first");
    Look look;
    look.radius = veil::workingRadius(settings);
    std::copy(std::begin(gains), std::end(gains), look.gain);
    look.shadowProtect = settings.shadowProtect;
    return look;
}

Peer makePeer(const std::string& name, const Look& look) {
    if (name == "copy") return [](const cv::Mat& source, cv::Mat& result) { source.copyTo(result); };
    if (name == "plain") return makePlain(look);
    if (name == "integer") return makeInteger(look);
    if (name == "fused") return makeFused(look);
    if (name == "fused-integer") return makeFusedInteger(look, false);
    if (name == "coarse") return makeFusedInteger(look, true);
    throw std::invalid_argument("'" + name + "' is none of " + kPeerNames);
}

void blurQuarter(const cv::Mat& quarter, cv::Mat& blurred, const Look& look) {
    blurred.create(quarter.size(), quarter.type());
    const int taps = 2 * static_cast<int>(std::floor(look.radius)) + 1;
    // Of a part of a picture the filter reads what lies around it.
    cv::parallel_for_(
        cv::Range(0, quarter.rows),
        [&](const cv::Range& rows) {
            cv::Mat part = blurred.rowRange(rows);
            cv::GaussianBlur(quarter.rowRange(rows), part, {taps, taps}, look.radius / 2, 0,
                             cv::BORDER_REPLICATE);
        },
        cv::getNumThreads());
}

}  // namespace peers
