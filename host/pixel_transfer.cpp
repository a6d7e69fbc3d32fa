#include "host/pixel_transfer.h"

#include "engine/kernels/rows.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace veil {

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

void HostPixels::reshape(const Rect& r, std::size_t bytesAPixel) {
    growTo(bytes, static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height()) * bytesAPixel);
    rect = r;
    pixelBytes = bytesAPixel;
}

void copyFromHost(const HostBuffer& buffer, int first, int end, HostPixels& pixels) {
    const int x = pixels.rect.x0, count = pixels.rect.width();
    for (int y = first; y < end; ++y) {
        expectPixels<Access::read>(buffer, x, y + kRowsAhead, count);
        expectPixels<Access::write>(pixels, x, y + kRowsAhead, count);
        std::memcpy(pixels.at(x, y), buffer.at(x, y), static_cast<std::size_t>(count) * pixels.pixelBytes);
    }
}

void copyToHost(HostPixels& pixels, int first, int end, const HostBuffer& buffer) {
    const int x = pixels.rect.x0, count = pixels.rect.width();
    for (int y = first; y < end; ++y) {
        expectPixels<Access::read>(pixels, x, y + kRowsAhead, count);
        expectPixels<Access::write>(buffer, x, y + kRowsAhead, count);
        std::memcpy(buffer.at(x, y), pixels.at(x, y), static_cast<std::size_t>(count) * pixels.pixelBytes);
    }
}

}  // namespace veil
