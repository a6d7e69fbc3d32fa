#include "standin/image.h"

#include <cstring>

namespace standin {

namespace {

std::size_t sampleOffset(const Image& image, int x, int y, int plane) {
    return image.rowBytes() * static_cast<std::size_t>(y) + image.pixelBytes() * static_cast<std::size_t>(x) +
           image.sampleBytes() * static_cast<std::size_t>(plane);
}

}  // namespace

int Image::at(int x, int y, int plane) const {
    const std::byte* sample = samples.data() + sampleOffset(*this, x, y, plane);
    if (depth == 8) return static_cast<int>(*sample);
    std::uint16_t value = 0;
    std::memcpy(&value, sample, sizeof value);
    return value;
}

void Image::set(int x, int y, int plane, int value) {
    std::byte* sample = samples.data() + sampleOffset(*this, x, y, plane);
    if (depth == 8) {
        *sample = static_cast<std::byte>(value);
        return;
    }
    const auto wide = static_cast<std::uint16_t>(value);
    std::memcpy(sample, &wide, sizeof wide);
}

Image makeImage(int width, int height, int planes, int depth) {
    Image image{width, height, planes, depth, {}};
    image.samples.resize(image.rowBytes() * static_cast<std::size_t>(height));
    return image;
}

}  // namespace standin
