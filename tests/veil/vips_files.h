#pragma once

// Picture files as libvips reads and writes them, apart from the code under test.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

struct Samples {
    int width = 0, height = 0, bands = 3;
    int depth = 8;
    std::vector<std::uint16_t> values;
    std::string profile;  ///< the bytes of its colour profile
    double pixelsPerMm = 1.0;
    bool operator==(const Samples&) const = default;
};

/// A picture with light, dark and noise in it, of any samples of `depth`.
Samples makeSamples(int width, int height, int bands, int depth);
/// `options` as libvips writes them behind a name, such as "[lossless]".
void saveSamples(const std::filesystem::path& file, const Samples& samples, const std::string& options = "");
Samples loadSamples(const std::filesystem::path& file);
/// A colour profile for RGB.
std::string someProfile();

enum class OddKind { cmyk, lab, floating, fiveBands, twoPages };
/// A TIFF of a kind that isn't filtered.
void saveOdd(const std::filesystem::path& file, OddKind kind);
