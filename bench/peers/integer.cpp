#include <algorithm>
#include <cmath>
#include <memory>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/peers/peers.h"
#include "engine/geometry.h"

namespace peers {

namespace {

struct Buffers {
    cv::Mat quarter, blurred, glow;
};

// What is kept in the shadows for each luma, as in the float peer.
cv::Mat keptOfLuma(double protect) {
    cv::Mat kept(1, 256, CV_8U);
    for (int luma = 0; luma < 256; ++luma) {
        const double t = std::min(luma / (0.35 * 255.0), 1.0);
        kept.at<unsigned char>(luma) = static_cast<unsigned char>(
            std::lround(255.0 * (1.0 - protect * (1.0 - t * t * (3.0 - 2.0 * t)))));
    }
    return kept;
}

// Rows of the picture while they are in the cache.
void screen(const cv::Mat& kept, const cv::Mat& source, cv::Mat glow, cv::Mat result) {
    constexpr double kShare = 1.0 / 255.0;
    constexpr float kRed = 0.2126f, kGreen = 0.7152f, kBlue = 0.0722f;
    cv::Mat luma, shade;
    // Into three channels, for which there is vector code.
    cv::transform(source, luma, cv::Matx33f(kRed, kGreen, kBlue, kRed, kGreen, kBlue, kRed, kGreen, kBlue));
    cv::LUT(luma, kept, shade);
    cv::multiply(glow, shade, glow, kShare);
    cv::bitwise_not(source, result);
    cv::multiply(result, glow, result, kShare);
    cv::add(source, result, result);
}

void run(const Look& look, const cv::Mat& kept, Buffers& b, const cv::Mat& source, cv::Mat& result) {
    constexpr int kStripRows = 16;
    const cv::Size size(veil::workingSize(source.cols), veil::workingSize(source.rows));
    cv::resize(source, b.quarter, size, 0, 0, cv::INTER_AREA);
    blurQuarter(b.quarter, b.blurred, look);
    cv::multiply(b.blurred, cv::Scalar(look.gain[0], look.gain[1], look.gain[2]), b.blurred);
    cv::resize(b.blurred, b.glow, source.size(), 0, 0, cv::INTER_LINEAR);
    result.create(source.size(), CV_8UC3);
    cv::parallel_for_(
        cv::Range(0, (source.rows + kStripRows - 1) / kStripRows), [&](const cv::Range& strips) {
            for (int strip = strips.start; strip < strips.end; ++strip) {
                const cv::Range rows(strip * kStripRows, std::min((strip + 1) * kStripRows, source.rows));
                screen(kept, source.rowRange(rows), b.glow.rowRange(rows), result.rowRange(rows));
            }
        });
}

}  // namespace

Peer makeInteger(const Look& look) {
    return [look, kept = keptOfLuma(look.shadowProtect), buffers = std::make_shared<Buffers>()](
               const cv::Mat& source, cv::Mat& result) { run(look, kept, *buffers, source, result); };
}

}  // namespace peers
