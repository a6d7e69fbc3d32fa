#include "host/pixel_transfer.h"

#include "engine/kernels/rows.h"
#include "engine/prefetch.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>

namespace veil {

namespace {

constexpr int kRowsAhead = 2;  // how early to expect a row

}  // namespace

SampleKind sampleKind(std::int32_t depth) { return depth == 16 ? SampleKind::words : SampleKind::bytes; }

void readPixels(const void* source, std::int32_t rowBytes, const Rect& rect, std::int32_t depth,
                std::vector<float>& buffer) {
    const int count = rect.width() * 3;
    const std::size_t rowLength = static_cast<std::size_t>(count);
    buffer.resize(rowLength * static_cast<std::size_t>(rect.height()));
    if (!source || rowBytes < 1) {
        std::fill(buffer.begin(), buffer.end(), 0.0f);
        return;
    }
    const auto* row = static_cast<const unsigned char*>(source);
    float* out = buffer.data();
    const auto readRow = sampleKind(depth) == SampleKind::words ? wordsToFloats : bytesToFloats;
    for (int y = 0; y < rect.height(); ++y, row += rowBytes, out += rowLength) readRow(row, out, count);
}

void writePixels(const std::vector<float>& buffer, void* destination, std::int32_t rowBytes,
                 std::int32_t width, std::int32_t height, std::int32_t depth) {
    if (!destination || width < 1 || height < 1 || rowBytes < 1) return;
    const int count = width * 3;
    auto* row = static_cast<unsigned char*>(destination);
    const float* in = buffer.data();
    const auto writeRow = sampleKind(depth) == SampleKind::words ? floatsToWords : floatsToBytes;
    for (int y = 0; y < height; ++y, row += rowBytes, in += count) writeRow(in, row, count);
}

void FerriedRows::begin(const Rect& tile, std::size_t bytesAPixel, int chunks) {
    constexpr std::size_t kLine = 64;
    rect = tile;
    pixelBytes = bytesAPixel;
    rowLength = (tileBytes() + kLine - 1) / kLine * kLine;
    chunkCount = chunks;
    chunkRows = 0;
    places.resize(static_cast<std::size_t>(rect.height()));
}

void FerriedRows::prepare(int first, int end) {
    if (chunkRows == 0) {
        chunkRows = end - first;
        growTo(bytes, 2 * rowLength * static_cast<std::size_t>(chunkCount * chunkRows));
        freeChunks.clear();
        for (int i = 0; i < chunkCount; ++i) freeChunks.push_back(i);
    }
    assert(end - first <= chunkRows && !freeChunks.empty());
    const int place = freeChunks.front() * chunkRows - first;
    freeChunks.erase(freeChunks.begin());
    for (int y = first; y < end; ++y)
        places[static_cast<std::size_t>(y - rect.y0)] = static_cast<std::size_t>(place + y);
}

unsigned char* FerriedRows::row(int y, std::size_t part) {
    return bytes.data() + (2 * places[static_cast<std::size_t>(y - rect.y0)] + part) * rowLength;
}

void FerriedRows::bring(const HostBuffer& source, int first, int end) {
    for (int y = first; y < end; ++y) {
        // The next chunk may follow soon.
        if (y + kRowsAhead < rect.y1) expect<Access::read>(source.at(rect.x0, y + kRowsAhead), tileBytes());
        if (y + kRowsAhead < end) expect<Access::write>(read(y + kRowsAhead), tileBytes());
        std::memcpy(read(y), source.at(rect.x0, y), tileBytes());
    }
}

void FerriedRows::collect(int first, int end, const HostBuffer& destination) {
    for (int y = first; y < end; ++y) {
        if (y + kRowsAhead < end) {
            expect<Access::read>(written(y + kRowsAhead), tileBytes());
            expect<Access::write>(destination.at(rect.x0, y + kRowsAhead), tileBytes());
        }
        std::memcpy(destination.at(rect.x0, y), written(y), tileBytes());
    }
    freeChunks.push_back(static_cast<int>(places[static_cast<std::size_t>(first - rect.y0)]) / chunkRows);
}

}  // namespace veil
