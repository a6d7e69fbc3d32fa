#pragma once

// The way to the quarter plane and back that the hand-written peers share. Both sides of a picture are
// multiples of four, so that four weights serve for all reads.

#include <algorithm>
#include <cstddef>
#include <vector>

#include <opencv2/core.hpp>

namespace peers {

constexpr int kFactor = 4;

/// The mean of each four by four pixels; CV_8UC3. Throws std::invalid_argument if a side is no multiple of
/// four.
void reduceToQuarter(const cv::Mat& source, cv::Mat& quarter);

/// Pixel `i` reads pixel `low` and the next, with `eighths` of the next.
struct Read {
    int low, eighths;
};
constexpr Read readOf(int i) { return {(i + 2) / kFactor - 1, ((i + 2) % kFactor) * 2 + 1}; }

/// Enlarges `plane` of `count` samples to four times as many: low x (8 - eighths) + high x eighths, of which
/// 8 is the whole for integers and `unit` for floats.
template <class Sample>
void enlargeRow(const Sample* plane, int count, Sample unit, Sample* out) {
    const auto weight = [unit](int eighths) {
        return static_cast<Sample>(static_cast<Sample>(eighths) * unit);
    };
    const Sample weights[4] = {weight(1), weight(3), weight(5), weight(7)};
    const auto mixed = [&](Sample low, Sample high, int phase) {
        return static_cast<Sample>(low * weights[3 - phase] + high * weights[phase]);
    };
    for (int j = 0; j < 2; ++j) {
        out[j] = mixed(plane[0], plane[0], j + 2);
        out[count * kFactor - 2 + j] = mixed(plane[count - 1], plane[count - 1], j);
    }
    out += 2;
    for (int k = 0; k + 1 < count; ++k, out += kFactor)
        for (int phase = 0; phase < kFactor; ++phase) out[phase] = mixed(plane[k], plane[k + 1], phase);
}

/// The last two rows of the three planes of the quarter that a strip of the picture reads, enlarged along x:
/// four rows of the picture lie between two of them, so most find theirs here.
template <class Sample>
class EnlargedRows {
  public:
    EnlargedRows(const std::vector<cv::Mat>& planes, Sample unit)
        : planes_(planes), unit_(unit), width_(static_cast<std::size_t>(planes[0].cols) * kFactor) {
        for (auto& row : rows_) row.resize(width_ * 3);
    }

    /// Row `y`, limited to the plane, one colour after the other; it stays until two others are asked for.
    const Sample* row(int y) {
        y = std::clamp(y, 0, planes_[0].rows - 1);
        for (int slot = 0; slot < 2; ++slot)
            if (held_[slot] == y) return rows_[last_ = slot].data();
        last_ = 1 - last_;
        held_[last_] = y;
        for (std::size_t c = 0; c < 3; ++c)
            enlargeRow(planes_[c].ptr<Sample>(y), planes_[c].cols, unit_, rows_[last_].data() + c * width_);
        return rows_[last_].data();
    }

  private:
    const std::vector<cv::Mat>& planes_;
    Sample unit_;
    std::size_t width_;
    std::vector<Sample> rows_[2];
    int held_[2] = {-1, -1};
    int last_ = 0;
};

}  // namespace peers
