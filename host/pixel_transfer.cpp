#include "host/pixel_transfer.h"

#include "engine/kernels/rows.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace veil {

RowConversion rowConversion(std::int32_t depth) {
    return depth == 16 ? RowConversion{2, wordsToFloats, floatsToWords}
                       : RowConversion{1, bytesToFloats, floatsToBytes};
}

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
    const auto readRow = rowConversion(depth).read;
    for (int y = 0; y < rect.height(); ++y, row += rowBytes, out += rowLength) readRow(row, out, count);
}

void writePixels(const std::vector<float>& buffer, void* destination, std::int32_t rowBytes,
                 std::int32_t width, std::int32_t height, std::int32_t depth) {
    if (!destination || width < 1 || height < 1 || rowBytes < 1) return;
    const int count = width * 3;
    auto* row = static_cast<unsigned char*>(destination);
    const float* in = buffer.data();
    const auto writeRow = rowConversion(depth).write;
    for (int y = 0; y < height; ++y, row += rowBytes, in += count) writeRow(in, row, count);
}

void HostPixels::reshape(const Rect& r, std::size_t bytesAPixel) {
    bytes.resize(static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height()) * bytesAPixel);
    rect = r;
    pixelBytes = bytesAPixel;
}

void expectPixels(const HostBuffer& buffer, int x, int y, int count) {
    constexpr std::size_t kLine = 64;
    if (y >= buffer.rect.y1) return;
    const unsigned char* from = buffer.at(x, y);
    const std::size_t length = static_cast<std::size_t>(count) * buffer.pixelBytes;
    for (std::size_t i = 0; i < length; i += kLine) __builtin_prefetch(from + i);
}

void copyFromHost(const HostBuffer& buffer, int first, int end, HostPixels& pixels) {
    const std::size_t length = static_cast<std::size_t>(pixels.rect.width()) * pixels.pixelBytes;
    for (int y = first; y < end; ++y) {
        expectPixels(buffer, pixels.rect.x0, y + kRowsAhead, pixels.rect.width());
        std::memcpy(pixels.at(pixels.rect.x0, y), buffer.at(pixels.rect.x0, y), length);
    }
}

void copyToHost(HostPixels& pixels, int first, int end, const HostBuffer& buffer) {
    const std::size_t length = static_cast<std::size_t>(pixels.rect.width()) * pixels.pixelBytes;
    for (int y = first; y < end; ++y)
        std::memcpy(buffer.at(pixels.rect.x0, y), pixels.at(pixels.rect.x0, y), length);
}

}  // namespace veil
