#include <memory>

#include <opencv2/imgproc.hpp>

#include "bench/peers/peers.h"
#include "engine/geometry.h"

namespace peers {

namespace {

struct Buffers {
    cv::Mat picture, quarter, blurred, glow, luma, kept, keptRgb, product;
};

// 1 - protect x (1 - t² (3 - 2 t)), t being the luma on its way from 0 to 0.35.
void keepOutOfShadows(Buffers& b, double protect) {
    cv::transform(b.picture, b.luma, cv::Matx13f(0.2126f / 0.35f, 0.7152f / 0.35f, 0.0722f / 0.35f));
    cv::min(b.luma, 1.0, b.luma);
    b.luma.convertTo(b.kept, CV_32F, -2.0, 3.0);
    cv::multiply(b.luma, b.luma, b.luma);
    cv::multiply(b.kept, b.luma, b.kept, protect);
    cv::add(b.kept, 1.0 - protect, b.kept);
    cv::cvtColor(b.kept, b.keptRgb, cv::COLOR_GRAY2RGB);
    cv::multiply(b.glow, b.keptRgb, b.glow);
}

void run(const Look& look, Buffers& b, const cv::Mat& source, cv::Mat& result) {
    const cv::Size size(veil::workingSize(source.cols), veil::workingSize(source.rows));
    source.convertTo(b.picture, CV_32F, 1.0 / 255.0);
    cv::resize(b.picture, b.quarter, size, 0, 0, cv::INTER_AREA);
    blurQuarter(b.quarter, b.blurred, look);
    cv::multiply(b.blurred, cv::Scalar(look.gain[0], look.gain[1], look.gain[2]), b.blurred);
    cv::resize(b.blurred, b.glow, source.size(), 0, 0, cv::INTER_LINEAR);
    keepOutOfShadows(b, look.shadowProtect);
    cv::multiply(b.picture, b.glow, b.product);
    cv::add(b.picture, b.glow, b.picture);
    cv::subtract(b.picture, b.product, b.picture);
    b.picture.convertTo(result, CV_8U, 255.0);
}

}  // namespace

Peer makePlain(const Look& look) {
    return [look, buffers = std::make_shared<Buffers>()](const cv::Mat& source, cv::Mat& result) {
        run(look, *buffers, source, result);
    };
}

}  // namespace peers
