#pragma once

// Between the host's integer samples and the engine's floats. Depth exists only here.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/image.h"

namespace veil {

/// How one row of `count` samples is converted: depth 16 has 0 to 32768 for 0 to 1, any other depth 0 to 255.
/// Floats are limited to 0 to 1 and rounded to nearest, NaN becomes 0. Bytes may lie at any address.
struct RowConversion {
    std::size_t sampleBytes;
    void (*read)(const unsigned char* in, float* out, int count);
    void (*write)(const float* in, unsigned char* out, int count);
};

RowConversion rowConversion(std::int32_t depth);

/// Converts `rect`'s width by height RGB pixels at `source`, rows `rowBytes` apart, to interleaved floats in
/// `buffer`, which is resized. A null source, an empty rectangle or a row length below 1 leave black. Throws
/// std::bad_alloc. [host's thread]
void readPixels(const void* source, std::int32_t rowBytes, const Rect& rect, std::int32_t depth,
                std::vector<float>& buffer);

/// Writes `width` by `height` interleaved RGB floats to `destination`, rows `rowBytes` apart. Bytes behind a
/// row's last pixel stay untouched. A null destination, an empty size or a row length below 1 write nothing.
/// [host's thread]
void writePixels(const std::vector<float>& buffer, void* destination, std::int32_t rowBytes,
                 std::int32_t width, std::int32_t height, std::int32_t depth);

/// A buffer of the host over a rectangle. Only the host's own thread may look into it.
struct HostBuffer {
    Rect rect;
    std::size_t pixelBytes;
    unsigned char* first;
    std::ptrdiff_t rowBytes;

    HostBuffer(const Rect& r, std::size_t bytesAPixel, void* data, std::int32_t bytesARow)
        : rect(r), pixelBytes(bytesAPixel), first(static_cast<unsigned char*>(data)), rowBytes(bytesARow) {}
    /// Pixel (x, y) of the rectangle's plane.
    unsigned char* at(int x, int y) const {
        return first + (y - rect.y0) * rowBytes + (x - rect.x0) * static_cast<std::ptrdiff_t>(pixelBytes);
    }
};

/// Pixels of a rectangle in the host's samples, row by row without gaps: what threads work on in place of the
/// host's memory.
struct HostPixels {
    Rect rect;
    std::size_t pixelBytes = 0;
    std::vector<unsigned char, Unfilled<unsigned char>> bytes;

    /// Takes another rectangle and keeps the memory if it suffices; the pixels hold anything. Throws
    /// std::bad_alloc.
    void reshape(const Rect& r, std::size_t bytesAPixel);
    /// Pixel (x, y) of the rectangle's plane.
    unsigned char* at(int x, int y) {
        return bytes.data() +
               (static_cast<std::size_t>(y - rect.y0) * static_cast<std::size_t>(rect.width()) +
                static_cast<std::size_t>(x - rect.x0)) *
                   pixelBytes;
    }
};

constexpr int kRowsAhead = 2;  // how early to expect a row

/// Has the processor fetch `count` pixels from (x, y) on, if the buffer has that row: rows lie too far apart
/// for it to see which comes next. [host's thread]
void expectPixels(const HostBuffer& buffer, int x, int y, int count);

/// Rows `first` up to `end` of `pixels`, whose rectangle lies in the buffer's, from there or to there.
/// [host's thread]
void copyFromHost(const HostBuffer& buffer, int first, int end, HostPixels& pixels);
void copyToHost(HostPixels& pixels, int first, int end, const HostBuffer& buffer);

}  // namespace veil
