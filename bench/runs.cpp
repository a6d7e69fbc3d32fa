#include "bench/runs.h"

#include <malloc.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "standin/veil/picture_file.h"

namespace bench {

namespace {

constexpr const char* kNoise = "noise:";
constexpr const char* kDeep = "deep:";

double processorMs() {
    std::timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double statusMegabytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word != field + ":") continue;
        double kilobytes = 0;
        status >> kilobytes;
        return kilobytes / 1024.0;
    }
    return 0;
}

// Bytes as words of 16 bits.
Source deepened(const Source& source) {
    const standin::Image& image = source.image;
    if (image.depth != 8) throw std::invalid_argument("only 8-bit pictures can be made deeper");
    Source deep{standin::makeImage(image.width, image.height, image.planes, 16), standin::kWhiteFile};
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.planes; ++c)
                deep.image.set(x, y, c, (image.at(x, y, c) * standin::kWhiteHost + 127) / standin::kWhite8);
    return deep;
}

standin::PixelRect areaOf(const standin::Image& image) { return {0, 0, image.width, image.height}; }

}  // namespace

standin::Image noisePicture(int width, int height, int depth) {
    standin::Image image = standin::makeImage(width, height, 3, depth);
    const std::uint32_t white = depth == 16 ? standin::kWhiteHost : standin::kWhite8;
    std::uint32_t state = 1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c) {
                state = state * 1664525u + 1013904223u;
                image.set(x, y, c, static_cast<int>((state >> 16) * (white + 1) >> 16));
            }
    return image;
}

Source loadSource(const std::string& name) {
    int width = 0, height = 0;
    if (name.rfind(kNoise, 0) == 0) {
        if (std::sscanf(name.c_str(), "noise:%dx%d", &width, &height) != 2 || width < 1 || height < 1)
            throw std::invalid_argument("'" + name + "' is not noise:WIDTHxHEIGHT");
        return {noisePicture(width, height, 8), standin::kWhite8};
    }
    if (name.rfind(kDeep, 0) == 0) return deepened(loadSource(name.substr(std::strlen(kDeep))));
    standin::Picture picture = standin::readPicture(name, [] { return false; });
    if (picture.white == standin::kWhiteFile)
        rescaleColour(picture.image, areaOf(picture.image), standin::kWhiteFile, standin::kWhiteHost);
    return {std::move(picture.image), picture.white};
}

void saveResult(standin::Image image, int white, const std::filesystem::path& file) {
    standin::Picture picture;
    picture.image = std::move(image);
    picture.white = white;
    picture.format = picture.image.planes == 4 ? standin::FileFormat::pam : standin::FileFormat::pnm;
    if (white == standin::kWhiteFile)
        rescaleColour(picture.image, areaOf(picture.image), standin::kWhiteHost, standin::kWhiteFile);
    const standin::FileFormat format = picture.format;
    writePicture(std::move(picture), file, format, [] { return false; });
}

Elapsed timeRun(const std::function<void()>& run) {
    using Clock = std::chrono::steady_clock;
    const double processor = processorMs();
    const Clock::time_point start = Clock::now();
    run();
    const double wall = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    return {wall, processorMs() - processor};
}

void printRun(const std::string& name, const Elapsed& elapsed) {
    std::printf("RES\t%s\t%.2f\t%.2f\n", name.c_str(), elapsed.wallMs, elapsed.processorMs);
    std::fflush(stdout);
}

int count(const char* text) {
    const int number = std::stoi(text);
    if (number < 0) throw std::invalid_argument(std::string("'") + text + "' is below 0");
    return number;
}

// Writing 5 there makes the present size the peak.
double beginPeak() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5;
    return statusMegabytes("VmRSS");
}

double peakMegabytes() { return statusMegabytes("VmHWM"); }

}  // namespace bench
