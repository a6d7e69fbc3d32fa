#pragma once

// The pictures that the stand-in host holds in memory.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace standin {

/// A rectangle of whole pixels in document coordinates; right and bottom exclusive.
struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const PixelRect&) const = default;
};

/// A picture as a host stores it: interleaved samples, rows without a gap, planes 0 to 2 red, green, blue,
/// then transparency. Depth 8 has 1 byte a sample, 16 has 2 (0 to 32768), 32 has 4 (float).
struct Image {
    int width = 0;
    int height = 0;
    int planes = 3;
    int depth = 8;
    std::vector<std::byte> samples;

    std::size_t sampleBytes() const { return static_cast<std::size_t>(depth / 8); }
    std::size_t pixelBytes() const { return sampleBytes() * static_cast<std::size_t>(planes); }
    std::size_t rowBytes() const { return pixelBytes() * static_cast<std::size_t>(width); }
    std::byte* row(int y) { return samples.data() + rowBytes() * static_cast<std::size_t>(y); }
    const std::byte* row(int y) const { return samples.data() + rowBytes() * static_cast<std::size_t>(y); }

    /// The sample as a number of its depth (8 and 16 only).
    int at(int x, int y, int plane) const;
    void set(int x, int y, int plane, int value);

    bool operator==(const Image&) const = default;
};

/// An image of zeros.
Image makeImage(int width, int height, int planes, int depth);

}  // namespace standin
