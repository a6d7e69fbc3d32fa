#pragma once

// Rectangles and float images, the coordinate planes that all passes share, and the sample formulas.

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

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

/// New elements hold anything, so that their memory is first touched by the thread that fills them.
template <class T>
struct Unfilled : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = Unfilled<U>;
    };
    template <class U>
    void construct(U* element) noexcept {
        ::new (static_cast<void*>(element)) U;
    }
    template <class U, class... Arguments>
    void construct(U* element, Arguments&&... arguments) {
        ::new (static_cast<void*>(element)) U(std::forward<Arguments>(arguments)...);
    }
};

/// Interleaved float samples over a rectangle of a plane, row by row without gaps, nominally 0 to 1.
template <int kChannelCount>
struct BasicImage {
    static constexpr int kChannels = kChannelCount;

    Rect rect;
    std::vector<float, Unfilled<float>> pixels;

    BasicImage() = default;
    /// All zeros. Throws std::bad_alloc.
    explicit BasicImage(const Rect& r)
        : rect(r), pixels(rowLength() * static_cast<std::size_t>(r.height()), 0.0f) {}

    /// Takes another rectangle and keeps the memory, all of it, if it suffices; the samples hold anything.
    /// Throws std::bad_alloc, and is as before then.
    void reshape(const Rect& r) {
        const std::size_t count =
            static_cast<std::size_t>(r.width()) * kChannelCount * static_cast<std::size_t>(r.height());
        if (pixels.size() < count) pixels.resize(count);
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
