#pragma once

// What the programs that time whole runs share: pictures in memory, clocks, and the lines that they print.

#include <filesystem>
#include <functional>
#include <string>

#include "standin/image.h"

namespace bench {

/// A picture of host values, and the white of the file that it comes from.
struct Source {
    standin::Image image;
    int white = 255;
};

/// Noise, the same for every call; the filter's cost does not depend on the picture.
standin::Image noisePicture(int width, int height, int depth);

/// Reads a picture file, from "deep:FILE" an 8-bit one as one of 16 bits, or makes noise of 8 bits from
/// "noise:WIDTHxHEIGHT". Throws std::exception.
Source loadSource(const std::string& name);

/// Writes `image`, which holds host values, as a file of white `white`. Throws std::exception.
void saveResult(standin::Image image, int white, const std::filesystem::path& file);

/// What a run took. `processorMs` is that of all threads of the process.
struct Elapsed {
    double wallMs = 0, processorMs = 0;
};
Elapsed timeRun(const std::function<void()>& run);

/// One counted run: "RES", the name, wall and processor milliseconds, separated by tabs.
void printRun(const std::string& name, const Elapsed& elapsed);

/// A number from a command line; throws std::invalid_argument.
int count(const char* text);

/// Returns what has been freed to the system, and makes what is resident then the peak; that, in megabytes.
double beginPeak();
/// The peak of resident memory since then.
double peakMegabytes();

}  // namespace bench
