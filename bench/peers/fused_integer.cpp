#include <algorithm>
#include <cstdint>
#include <memory>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/peers/peers.h"
#include "bench/peers/quarter.h"

namespace peers {

namespace {

using std::uint16_t;
using std::uint8_t;

constexpr double kGlowWhite = 8160.0;  // 32 x 255: eight of it, as enlarging makes them, fit into 16 bits

struct Buffers {
    cv::Mat quarter, blurred, glow, coarse, coarseBlurred;
    std::vector<cv::Mat> planes;
};

// The product of two shares, of which 65536 is the whole: one instruction of vector units.
inline uint16_t times(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>((static_cast<std::uint32_t>(a) * b) >> 16);
}

inline uint8_t screened(uint16_t source, uint16_t glow) {
    const uint16_t added = times(glow, static_cast<uint16_t>((255 - source) << 8));
    return static_cast<uint8_t>(source + static_cast<uint16_t>(static_cast<uint16_t>(added + 128) >> 8));
}

// As in the float peer, with 16-bit shares.
void screenRow(const uint8_t* __restrict source, const uint16_t* __restrict top,
               const uint16_t* __restrict bottom, int eighths, uint16_t protect, uint8_t* __restrict out,
               int pixels) {
    constexpr uint16_t kShadowEnd = 89, kShadowSlope = 736;  // 0.35 of white; 65535 over that
    const auto low = static_cast<uint16_t>((8 - eighths) * 8192);
    const auto high = static_cast<uint16_t>(eighths * 8192);
    const uint16_t *topG = top + pixels, *topB = topG + pixels;
    const uint16_t *bottomG = bottom + pixels, *bottomB = bottomG + pixels;
    const auto between = [low, high](uint16_t a, uint16_t b) {
        return static_cast<uint16_t>(times(a, low) + times(b, high));
    };
    for (int x = 0; x < pixels; ++x) {
        const uint16_t r = source[3 * x], g = source[3 * x + 1], b = source[3 * x + 2];
        const auto luma = static_cast<uint16_t>(static_cast<uint16_t>(54 * r + 183 * g + 19 * b) >> 8);
        const auto t = static_cast<uint16_t>(std::min(luma, kShadowEnd) * kShadowSlope);
        const uint16_t quarterOfSmooth = times(times(t, t), static_cast<uint16_t>(49152 - (t >> 1)));
        const auto dark = static_cast<uint16_t>(65535 - quarterOfSmooth * 4);
        const auto kept = static_cast<uint16_t>(65535 - times(dark, protect));
        out[3 * x] = screened(r, times(between(top[x], bottom[x]), kept));
        out[3 * x + 1] = screened(g, times(between(topG[x], bottomG[x]), kept));
        out[3 * x + 2] = screened(b, times(between(topB[x], bottomB[x]), kept));
    }
}

void lastPass(const Look& look, const Buffers& buffers, const cv::Mat& source, cv::Mat& result,
              const cv::Range& rows) {
    EnlargedRows<uint16_t> enlarged(buffers.planes, 1);
    const auto protect = static_cast<uint16_t>(look.shadowProtect * 65535.0 + 0.5);
    for (int y = rows.start; y < rows.end; ++y) {
        const Read read = readOf(y);
        const uint16_t* top = enlarged.row(read.low);
        const uint16_t* bottom = enlarged.row(read.low + 1);
        screenRow(source.ptr(y), top, bottom, read.eighths, protect, result.ptr(y), source.cols);
    }
}

// The blur on a plane whose sides are a quarter again: hardly another glow, for little of the time.
void blurCoarsely(Buffers& b, const Look& look) {
    Look coarseLook = look;
    coarseLook.radius = look.radius / kFactor;
    cv::resize(b.quarter, b.coarse, {}, 1.0 / kFactor, 1.0 / kFactor, cv::INTER_AREA);
    b.coarse.convertTo(b.coarse, CV_16U, kGlowWhite / 255.0);
    blurQuarter(b.coarse, b.coarseBlurred, coarseLook);
    cv::resize(b.coarseBlurred, b.glow, b.quarter.size(), 0, 0, cv::INTER_LINEAR);
}

void blurWhole(Buffers& b, const Look& look) {
    blurQuarter(b.quarter, b.blurred, look);
    b.blurred.convertTo(b.glow, CV_16U, kGlowWhite / 255.0);
}

void run(const Look& look, Buffers& b, bool coarsely, const cv::Mat& source, cv::Mat& result) {
    reduceToQuarter(source, b.quarter);
    coarsely ? blurCoarsely(b, look) : blurWhole(b, look);
    cv::multiply(b.glow, cv::Scalar(look.gain[0], look.gain[1], look.gain[2]), b.glow);
    cv::split(b.glow, b.planes);
    result.create(source.size(), CV_8UC3);
    cv::parallel_for_(
        cv::Range(0, source.rows), [&](const cv::Range& rows) { lastPass(look, b, source, result, rows); },
        cv::getNumThreads());
}

}  // namespace

Peer makeFusedInteger(const Look& look, bool coarsely) {
    return [look, coarsely, buffers = std::make_shared<Buffers>()](const cv::Mat& source, cv::Mat& result) {
        run(look, *buffers, coarsely, source, result);
    };
}

}  // namespace peers
