#include <algorithm>
#include <cstdint>
#include <memory>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/peers/peers.h"
#include "bench/peers/quarter.h"

namespace peers {

namespace {

struct Buffers {
    cv::Mat reduced, quarter, blurred;
    std::vector<cv::Mat> planes;
};

// The glow between two enlarged rows, kept out of the shadows and screened over the source.
void screenRow(const std::uint8_t* __restrict source, const float* __restrict top,
               const float* __restrict bottom, float fraction, float protect, std::uint8_t* __restrict out,
               int pixels) {
    constexpr float kShadow = 1.0f / (0.35f * 255.0f);
    const float *topG = top + pixels, *topB = topG + pixels;
    const float *bottomG = bottom + pixels, *bottomB = bottomG + pixels;
    for (int x = 0; x < pixels; ++x) {
        const float r = source[3 * x], g = source[3 * x + 1], b = source[3 * x + 2];
        const float t = std::min(1.0f, (0.2126f * r + 0.7152f * g + 0.0722f * b) * kShadow);
        const float kept = 1.0f - (1.0f - t * t * (3.0f - 2.0f * t)) * protect;
        const float glowR = (top[x] + (bottom[x] - top[x]) * fraction) * kept;
        const float glowG = (topG[x] + (bottomG[x] - topG[x]) * fraction) * kept;
        const float glowB = (topB[x] + (bottomB[x] - topB[x]) * fraction) * kept;
        out[3 * x] = static_cast<std::uint8_t>(static_cast<int>(r + glowR * (255.0f - r) + 0.5f));
        out[3 * x + 1] = static_cast<std::uint8_t>(static_cast<int>(g + glowG * (255.0f - g) + 0.5f));
        out[3 * x + 2] = static_cast<std::uint8_t>(static_cast<int>(b + glowB * (255.0f - b) + 0.5f));
    }
}

void lastPass(const Look& look, const Buffers& buffers, const cv::Mat& source, cv::Mat& result,
              const cv::Range& rows) {
    EnlargedRows<float> enlarged(buffers.planes, 0.125f);
    for (int y = rows.start; y < rows.end; ++y) {
        const Read read = readOf(y);
        const float* top = enlarged.row(read.low);
        const float* bottom = enlarged.row(read.low + 1);
        screenRow(source.ptr(y), top, bottom, static_cast<float>(read.eighths) * 0.125f,
                  static_cast<float>(look.shadowProtect), result.ptr(y), source.cols);
    }
}

void run(const Look& look, Buffers& b, const cv::Mat& source, cv::Mat& result) {
    reduceToQuarter(source, b.reduced);
    b.reduced.convertTo(b.quarter, CV_32F, 1.0 / 255.0);
    blurQuarter(b.quarter, b.blurred, look);
    cv::multiply(b.blurred, cv::Scalar(look.gain[0], look.gain[1], look.gain[2]), b.blurred);
    cv::split(b.blurred, b.planes);
    result.create(source.size(), CV_8UC3);
    cv::parallel_for_(
        cv::Range(0, source.rows), [&](const cv::Range& rows) { lastPass(look, b, source, result, rows); },
        cv::getNumThreads());
}

}  // namespace

Peer makeFused(const Look& look) {
    return [look, buffers = std::make_shared<Buffers>()](const cv::Mat& source, cv::Mat& result) {
        run(look, *buffers, source, result);
    };
}

}  // namespace peers
