#include "standin/pixels.h"

#include <algorithm>
#include <cstring>

namespace standin {

namespace {

constexpr int kSelected = 255;

template <std::size_t kBytes>
void copyEach(std::byte* to, std::size_t toStep, const std::byte* from, std::size_t fromStep, int count) {
    for (int i = 0; i < count; ++i, to += toStep, from += fromStep) std::memcpy(to, from, kBytes);
}

// `bytes` of each pixel; RGB out of RGBA has loops of its own, since a constant size makes the copy a few
// moves.
void copyRow(std::byte* to, std::size_t toStep, const std::byte* from, std::size_t fromStep,
             std::size_t bytes, int count) {
    if (toStep == fromStep && bytes == toStep) {
        std::memcpy(to, from, bytes * static_cast<std::size_t>(count));
    } else if (bytes == 3) {
        copyEach<3>(to, toStep, from, fromStep, count);
    } else if (bytes == 6) {
        copyEach<6>(to, toStep, from, fromStep, count);
    } else {
        for (int i = 0; i < count; ++i, to += toStep, from += fromStep) std::memcpy(to, from, bytes);
    }
}

const std::byte* pixel(const Image& image, int x, int y, int plane) {
    return image.row(y) + image.pixelBytes() * static_cast<std::size_t>(x) +
           image.sampleBytes() * static_cast<std::size_t>(plane);
}

// Calls `work` with a value of the sample type of `depth`.
template <typename Work>
void withSampleType(int depth, Work&& work) {
    if (depth == 8) return work(std::uint8_t{});
    if (depth == 16) return work(std::uint16_t{});
    work(float{});
}

template <typename Sample>
Sample sampleAt(const std::byte* at) {
    Sample sample;
    std::memcpy(&sample, at, sizeof sample);
    return sample;
}

void fillPixel(std::byte* to, int depth, int count, int fill) {
    withSampleType(depth, [&](auto type) {
        using Sample = decltype(type);
        const double white = sizeof(Sample) == 1 ? 255.0 : sizeof(Sample) == 2 ? 32768.0 : 1.0;
        const auto sample = static_cast<Sample>(fill * white / 255.0);
        for (int c = 0; c < count; ++c, to += sizeof sample) std::memcpy(to, &sample, sizeof sample);
    });
}

// The mean over the document pixels [x0, x1) by [y0, y1), which lie inside the picture; integers round to
// nearest.
void meanPixel(const Image& image, const PixelRect& area, PlaneRange planes, std::byte* to) {
    withSampleType(image.depth, [&](auto type) {
        using Sample = decltype(type);
        const double count = double(area.right - area.left) * (area.bottom - area.top);
        for (int plane = planes.first; plane <= planes.last; ++plane, to += sizeof(Sample)) {
            double sum = 0.0;
            for (int y = area.top; y < area.bottom; ++y) {
                const std::byte* at = pixel(image, area.left, y, plane);
                for (int x = area.left; x < area.right; ++x, at += image.pixelBytes())
                    sum += sampleAt<Sample>(at);
            }
            const double rounding = sizeof(Sample) < sizeof(float) ? 0.5 : 0.0;
            const auto mean = static_cast<Sample>(sum / count + rounding);
            std::memcpy(to, &mean, sizeof mean);
        }
    });
}

template <typename Sample>
Sample blended(Sample before, Sample after, int m) {
    if (m == 0) return before;  // the 8-bit formula alone would darken by a step
    if constexpr (sizeof(Sample) == 1)
        return static_cast<Sample>((before * (255 - m) + after * (m + 1)) >> 8);
    if constexpr (sizeof(Sample) == 2)
        return static_cast<Sample>((before * (255 - m) + after * m + 127) / 255);
    if (m == kSelected) return after;
    return static_cast<Sample>(before + (after - before) * (static_cast<float>(m) / 255.0f));
}

void blendRow(std::byte* to, const std::byte* before, std::size_t step, const std::byte* after,
              int planeCount, int depth, const std::uint8_t* mask, int count) {
    withSampleType(depth, [&](auto type) {
        using Sample = decltype(type);
        for (int i = 0; i < count; ++i, to += step, before += step) {
            for (int c = 0; c < planeCount; ++c, after += sizeof(Sample)) {
                const std::size_t offset = sizeof(Sample) * static_cast<std::size_t>(c);
                const auto sample =
                    blended(sampleAt<Sample>(before + offset), sampleAt<Sample>(after), mask[i]);
                std::memcpy(to + offset, &sample, sizeof sample);
            }
        }
    });
}

// The first document pixel of reduced pixel `i`, in the picture's coordinates.
int firstPixel(int i, std::int32_t rate, int origin) {
    return static_cast<int>((static_cast<std::int64_t>(i) * rate) >> 16) + origin;
}

}  // namespace

bool isEmpty(const PixelRect& rect) { return rect.left >= rect.right || rect.top >= rect.bottom; }

bool contains(const PixelRect& outer, const PixelRect& inner) {
    return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
           inner.bottom <= outer.bottom;
}

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

PixelRect shifted(const PixelRect& rect, int dx, int dy) {
    return {rect.left + dx, rect.top + dy, rect.right + dx, rect.bottom + dy};
}

PixelRect bounds(const Image& image) { return {0, 0, image.width, image.height}; }

void fetchPixels(const Image& image, const PixelRect& rect, PlaneRange planes, int padding, std::byte* buffer,
                 std::ptrdiff_t rowBytes) {
    const std::size_t bytes = image.sampleBytes() * static_cast<std::size_t>(planes.count());
    const bool inside = contains(bounds(image), rect);
    for (int y = rect.top; y < rect.bottom; ++y, buffer += rowBytes) {
        if (inside) {
            copyRow(buffer, bytes, pixel(image, rect.left, y, planes.first), image.pixelBytes(), bytes,
                    rect.right - rect.left);
            continue;
        }
        std::byte* to = buffer;
        for (int x = rect.left; x < rect.right; ++x, to += bytes) {
            const int nearX = std::clamp(x, 0, image.width - 1), nearY = std::clamp(y, 0, image.height - 1);
            if (padding >= 0 && (nearX != x || nearY != y)) {
                fillPixel(to, image.depth, planes.count(), padding);
            } else {
                std::memcpy(to, pixel(image, nearX, nearY, planes.first), bytes);
            }
        }
    }
}

void fetchReduced(const Image& image, const PixelRect& rect, PlaneRange planes, const Reduction& reduction,
                  std::byte* buffer, std::ptrdiff_t rowBytes) {
    const std::size_t bytes = image.sampleBytes() * static_cast<std::size_t>(planes.count());
    for (int y = rect.top; y < rect.bottom; ++y, buffer += rowBytes) {
        const int top = std::clamp(firstPixel(y, reduction.rate, reduction.originY), 0, image.height - 1);
        const int bottom =
            std::clamp(firstPixel(y + 1, reduction.rate, reduction.originY), top + 1, image.height);
        std::byte* to = buffer;
        for (int x = rect.left; x < rect.right; ++x, to += bytes) {
            const int left = std::clamp(firstPixel(x, reduction.rate, reduction.originX), 0, image.width - 1);
            if (!reduction.averaged) {
                std::memcpy(to, pixel(image, left, top, planes.first), bytes);
                continue;
            }
            const int right =
                std::clamp(firstPixel(x + 1, reduction.rate, reduction.originX), left + 1, image.width);
            meanPixel(image, {left, top, right, bottom}, planes, to);
        }
    }
}

void storePixels(Image& destination, const Image& source, const PixelRect& rect, PlaneRange planes,
                 const MaskView& mask, const std::byte* buffer, std::ptrdiff_t rowBytes) {
    PixelRect clip = intersection(rect, bounds(destination));
    if (!mask.bytes) clip = intersection(clip, mask.selected);
    if (isEmpty(clip)) return;
    const std::size_t bytes = destination.sampleBytes() * static_cast<std::size_t>(planes.count());
    const std::size_t step = destination.pixelBytes();
    const std::size_t offset = step * static_cast<std::size_t>(clip.left) +
                               destination.sampleBytes() * static_cast<std::size_t>(planes.first);
    for (int y = clip.top; y < clip.bottom; ++y) {
        const std::byte* from =
            buffer + rowBytes * (y - rect.top) + bytes * static_cast<std::size_t>(clip.left - rect.left);
        std::byte* to = destination.row(y) + offset;
        if (mask.bytes) {
            const std::size_t first = static_cast<std::size_t>(y) * static_cast<std::size_t>(source.width) +
                                      static_cast<std::size_t>(clip.left);
            blendRow(to, source.row(y) + offset, step, from, planes.count(), source.depth, mask.bytes + first,
                     clip.right - clip.left);
        } else {
            copyRow(to, step, from, bytes, bytes, clip.right - clip.left);
        }
    }
}

void fetchMask(const Image& image, const MaskView& mask, const PixelRect& rect, std::uint8_t* buffer,
               std::ptrdiff_t rowBytes) {
    const PixelRect lit = mask.bytes ? bounds(image) : intersection(mask.selected, bounds(image));
    for (int y = rect.top; y < rect.bottom; ++y, buffer += rowBytes) {
        for (int x = rect.left; x < rect.right; ++x) {
            const bool inside = contains(lit, {x, y, x + 1, y + 1});
            const std::size_t at = inside
                                       ? static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                                             static_cast<std::size_t>(x)
                                       : 0;
            buffer[x - rect.left] = !inside      ? std::uint8_t{0}
                                    : mask.bytes ? mask.bytes[at]
                                                 : std::uint8_t{kSelected};
        }
    }
}

}  // namespace standin
