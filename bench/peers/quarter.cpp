#include "bench/peers/quarter.h"

#include <cstdint>
#include <stdexcept>

#include <opencv2/core/utility.hpp>

namespace peers {

namespace {

// Sums of four neighbours, `step` samples apart, in two rounds; the end of the row stays unsummed.
void sumFours(std::uint16_t* sums, int count, int step) {
    for (int i = 0; i + step < count; ++i) sums[i] = static_cast<std::uint16_t>(sums[i] + sums[i + step]);
    for (int i = 0; i + 2 * step < count; ++i)
        sums[i] = static_cast<std::uint16_t>(sums[i] + sums[i + 2 * step]);
}

void reduceRow(const cv::Mat& source, int row, std::uint16_t* sums, std::uint8_t* out) {
    const std::uint8_t *a = source.ptr(row * kFactor), *b = source.ptr(row * kFactor + 1),
                       *c = source.ptr(row * kFactor + 2), *d = source.ptr(row * kFactor + 3);
    const int count = source.cols * 3;
    for (int i = 0; i < count; ++i) sums[i] = static_cast<std::uint16_t>(a[i] + b[i] + c[i] + d[i]);
    sumFours(sums, count, 3);
    for (int x = 0; x < source.cols / kFactor; ++x, sums += 3 * kFactor, out += 3)
        for (int channel = 0; channel < 3; ++channel)
            out[channel] = static_cast<std::uint8_t>((sums[channel] + 8) >> 4);
}

}  // namespace

void reduceToQuarter(const cv::Mat& source, cv::Mat& quarter) {
    if (source.cols % kFactor != 0 || source.rows % kFactor != 0)
        throw std::invalid_argument("this peer takes only sides that are multiples of four");
    quarter.create(source.rows / kFactor, source.cols / kFactor, CV_8UC3);
    cv::parallel_for_(
        cv::Range(0, quarter.rows),
        [&](const cv::Range& rows) {
            std::vector<std::uint16_t> sums(static_cast<std::size_t>(source.cols) * 3);
            for (int y = rows.start; y < rows.end; ++y) reduceRow(source, y, sums.data(), quarter.ptr(y));
        },
        cv::getNumThreads());
}

}  // namespace peers
