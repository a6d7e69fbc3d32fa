#pragma once

// Rectangles and float images, the coordinate planes that all passes share, and the sample formulas.

#include <algorithm>
#include <cstddef>

#include "engine/memory.h"

namespace veil {

/// Pixels of a plane; `x1` and `y1` are exclusive. On the image plane the origin is the top left corner of
/// the area being filtered. A negative width or height holds no pixels.
struct Rect {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    int width() const { return x1 > x0 ? x1 - x0 : 0; }
    int height() const { return y1 > y0 ? y1 - y0 : 0; }
    bool isEmpty() const { return width() == 0 || height() == 0; }
    bool operator==(const Rect&) const = default;
};

/// Interleaved float samples over a rectangle of a plane, row by row without gaps, nominally 0 to 1.
template <int kChannelCount>
struct BasicImage {
    static constexpr int kChannels = kChannelCount;

    Rect rect;
    Samples pixels;

    BasicImage() = default;
    /// All zeros. Throws std::bad_alloc.
    explicit BasicImage(const Rect& r)
        : rect(r), pixels(rowLength() * static_cast<std::size_t>(r.height()), 0.0f) {}

    /// Takes another rectangle and keeps the memory if it suffices; the samples hold anything. New memory has
    /// room for `spareRows` more, so that a somewhat higher rectangle needs no other. Throws std::bad_alloc,
    /// and is as before then.
    void reshape(const Rect& r, int spareRows = 0) {
        const std::size_t length = static_cast<std::size_t>(r.width()) * kChannelCount;
        const std::size_t count = length * static_cast<std::size_t>(r.height());
        if (pixels.size() < count) growTo(pixels, count + length * static_cast<std::size_t>(spareRows));
        rect = r;
    }

    /// Takes another rectangle of the same width, whose first `count` rows are those that begin at row
    /// `first`. Throws std::bad_alloc, and is as before then.
    void moveRows(int first, int count, const Rect& r) {
        const std::size_t needed = rowLength() * static_cast<std::size_t>(r.height());
        Samples larger(pixels.size() < needed ? needed : 0);
        float* to = larger.empty() ? pixels.data() : larger.data();
        if (to != row(first))
            std::copy(row(first), row(first) + rowLength() * static_cast<std::size_t>(count), to);
        if (!larger.empty()) pixels.swap(larger);
        rect = r;
    }

    int width() const { return rect.width(); }
    int height() const { return rect.height(); }
    std::size_t rowLength() const { return static_cast<std::size_t>(rect.width()) * kChannelCount; }
    /// Row `y` in coordinates local to the rectangle.
    float* row(int y) { return pixels.data() + rowLength() * static_cast<std::size_t>(y); }
    const float* row(int y) const { return pixels.data() + rowLength() * static_cast<std::size_t>(y); }
};

using FloatImage = BasicImage<3>;  ///< R, G, B
using FloatPlane = BasicImage<1>;  ///< a mask

/// Pixel (x, y) of the image's plane.
inline const float* pixelAt(const FloatImage& image, int x, int y) {
    return image.row(y - image.rect.y0) +
           static_cast<std::ptrdiff_t>(x - image.rect.x0) * FloatImage::kChannels;
}
inline float* pixelAt(FloatImage& image, int x, int y) {
    return image.row(y - image.rect.y0) +
           static_cast<std::ptrdiff_t>(x - image.rect.x0) * FloatImage::kChannels;
}

/// Index `i` limited to an axis of `size` pixels: first to size - 1, then to 0, so that the edge pixel
/// repeats.
inline int clampIndex(int i, int size) {
    const int upper = i < size - 1 ? i : size - 1;
    return upper > 0 ? upper : 0;
}

// Half-pixel centres: pixel p of n lies at (p + 0.5) / n. The order of operations matters: the floor of the
// result decides which pixel is read, and at some sizes another order gives another pixel.
inline float mapCentre(int p, int fromSize, int toSize) {
    return (static_cast<float>(p) + 0.5f) / static_cast<float>(fromSize) * static_cast<float>(toSize) - 0.5f;
}

}  // namespace veil
