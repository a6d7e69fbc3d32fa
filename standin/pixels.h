#pragma once

// Copies between pictures and request buffers. Rectangles are in the picture's own coordinates. A buffer
// holds the samples of `planes` side by side and rows `rowBytes` apart.

#include <cstddef>
#include <cstdint>

#include "standin/image.h"

namespace standin {

/// Both ends inclusive.
struct PlaneRange {
    int first = 0, last = 0;
    int count() const { return last - first + 1; }
};

bool isEmpty(const PixelRect& rect);
bool contains(const PixelRect& outer, const PixelRect& inner);
PixelRect intersection(const PixelRect& a, const PixelRect& b);
PixelRect shifted(const PixelRect& rect, int dx, int dy);
PixelRect bounds(const Image& image);

/// Copies `rect` into `buffer`. Where the rectangle hangs over the picture, a `padding` of 0 to 255 is the
/// fill value (scaled to the depth) and any other repeats the edge pixel.
void fetchPixels(const Image& image, const PixelRect& rect, PlaneRange planes, int padding, std::byte* buffer,
                 std::ptrdiff_t rowBytes);

/// How a picture is reduced: `rate` is 16.16, and the document's corner lies at `originX`, `originY` of the
/// picture.
struct Reduction {
    std::int32_t rate;
    int originX, originY;
    bool averaged;
};

/// Copies the reduced pixels of `rect`, which is in reduced document coordinates: the first document pixel of
/// each, or the mean of those that it stands for. Pixels outside repeat the edge.
void fetchReduced(const Image& image, const PixelRect& rect, PlaneRange planes, const Reduction& reduction,
                  std::byte* buffer, std::ptrdiff_t rowBytes);

/// A selection: `bytes` of the whole picture, or without them the rectangle `selected`.
struct MaskView {
    const std::uint8_t* bytes = nullptr;
    PixelRect selected;
};

/// Takes the pixels of `rect` over from `buffer` into `destination`, blended with `source` by the mask. What
/// hangs over the picture is dropped.
void storePixels(Image& destination, const Image& source, const PixelRect& rect, PlaneRange planes,
                 const MaskView& mask, const std::byte* buffer, std::ptrdiff_t rowBytes);

/// Writes the mask's bytes over `rect`; 0 outside the picture.
void fetchMask(const Image& image, const MaskView& mask, const PixelRect& rect, std::uint8_t* buffer,
               std::ptrdiff_t rowBytes);

}  // namespace standin
