// peer NAME WARM RUNS SOURCE [OURS]: times a peer on one 8-bit picture in memory. The line "DIFF" at the end
// tells its greatest and mean difference from the picture OURS, in steps of 8 bits.

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include <opencv2/core/utility.hpp>

#include "bench/peers/peers.h"
#include "bench/runs.h"
#include "presets/builtin_presets.h"

namespace {

cv::Mat matOf(standin::Image& image) {
    if (image.depth != 8 || image.planes != 3) throw std::invalid_argument("peers take only 8-bit RGB");
    return {image.height, image.width, CV_8UC3, image.samples.data()};
}

void printDifference(const std::string& name, const cv::Mat& result, const std::string& file) {
    bench::Source ours = bench::loadSource(file);
    const cv::Mat mat = matOf(ours.image);
    if (mat.size() != result.size()) throw std::invalid_argument("'" + file + "' has another size");
    const double samples = static_cast<double>(result.total()) * 3.0;
    std::printf("DIFF\t%s\t%.0f\t%.4f\n", name.c_str(), cv::norm(result, mat, cv::NORM_INF),
                cv::norm(result, mat, cv::NORM_L1) / samples);
}

void timeRuns(int argc, char** argv) {
    if (argc < 5 || argc > 6)
        throw std::invalid_argument(std::string("usage: peer ") + peers::kPeerNames +
                                    " WARM RUNS SOURCE.ppm [OURS.ppm]");
    const std::string name = argv[1];
    const int warm = bench::count(argv[2]), runs = bench::count(argv[3]);
    bench::Source source = bench::loadSource(argv[4]);
    const cv::Mat picture = matOf(source.image);
    const peers::Peer peer =
        makePeer(name, peers::lookOf(veil::makeRenderSettings(veil::builtinPresetParams(0))));
    cv::Mat result(picture.size(), picture.type());
    for (int i = 0; i < warm + runs; ++i) {
        const bench::Elapsed elapsed = bench::timeRun([&] { peer(picture, result); });
        if (i >= warm) bench::printRun(name, elapsed);
    }
    if (argc == 6) printDifference(name, result, argv[5]);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        timeRuns(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "peer: %s\n", error.what());
        return 1;
    }
}
