#pragma once

// Between the host's integer samples and the engine's floats. Depth exists only here.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/image.h"
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

/// Rows of a tile in the host's samples on their way between the host's memory and the threads that may not
/// look into it. They are there by the chunk, from prepare to collect.
class FerriedRows {
  public:
    /// The tile over `tile`, none of whose rows are there. At most `chunks` are at once, all of one height
    /// but the last, which may be lower. Throws std::bad_alloc.
    void begin(const Rect& tile, std::size_t bytesAPixel, int chunks);
    /// Makes room for rows `first` up to `end`, which hold anything. Throws std::bad_alloc.
    void prepare(int first, int end);
    /// The rows to read, from the host. [host's thread]
    void bring(const HostBuffer& source, int first, int end);
    /// The rows that were written, to the host; then they are gone. [host's thread]
    void collect(int first, int end, const HostBuffer& destination);

    /// Row `y`, which is there. [any thread that prepare came before]
    unsigned char* read(int y) { return row(y, 0); }
    unsigned char* written(int y) { return row(y, 1); }

  private:
    unsigned char* row(int y, std::size_t part);
    std::size_t tileBytes() const { return static_cast<std::size_t>(rect.width()) * pixelBytes; }

    Rect rect;
    std::size_t pixelBytes = 0, rowLength = 0;  // in bytes; rows begin with a line of the cache
    int chunkCount = 0, chunkRows = 0;
    std::vector<std::size_t> places;  // of the tile's rows that are there
    std::vector<int> freeChunks;      // the first one has been free for longest
    UnfilledVector<unsigned char> bytes;
};

}  // namespace veil
