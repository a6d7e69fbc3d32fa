#pragma once

// Between the host's integer samples and the engine's floats. Depth exists only here.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/image.h"
#include "engine/prefetch.h"
#include "engine/row_flow.h"

namespace veil {

/// How a host stores the samples of a depth: 16 bits have 0 to 32768 for 0 to 1, any other depth bytes.
SampleKind sampleKind(std::int32_t depth);

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
    UnfilledVector<unsigned char> bytes;

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

/// Has the processor fetch `count` pixels from (x, y) on, if the buffer has that row.
template <Access access, class Pixels>
void expectPixels(Pixels& pixels, int x, int y, int count) {
    if (y < pixels.rect.y1)
        expect<access>(pixels.at(x, y), static_cast<std::size_t>(count) * pixels.pixelBytes);
}

/// Rows `first` up to `end` of `pixels`, whose rectangle lies in the buffer's, from there or to there.
/// [host's thread]
void copyFromHost(const HostBuffer& buffer, int first, int end, HostPixels& pixels);
void copyToHost(HostPixels& pixels, int first, int end, const HostBuffer& buffer);

}  // namespace veil
