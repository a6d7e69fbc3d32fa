#pragma once

// What the drawing records hold on this system, and the seam's values in the system's types.

#include <optional>

#include "platform/drawing.h"
#include "platform/windows/drawing_factories.h"

namespace veil {

struct RenderTarget {
    // Of image targets only, in the order of their making. COM stays on while they live.
    std::optional<ComScope> com;
    ComHolder<IWICImagingFactory> pictures;
    ComHolder<IWICBitmap> image;

    ComHolder<ID2D1RenderTarget> surface;
    bool isLost = false;  // endDraw finds the device gone, whatever the system says
};

struct Brush {
    ComHolder<ID2D1Brush> brush;
};

struct TextFormat {
    ComHolder<IDWriteTextFormat> format;
};

struct Bitmap {
    ComHolder<ID2D1Bitmap> bitmap;
};

/// The record around an owned object, as the seam's holder wants it; null for null.
template <class Record, class T>
Record* recordOf(ComHolder<T> object) {
    if (!object) return nullptr;
    return std::make_unique<Record>(Record{std::move(object)}).release();
}

inline D2D1_COLOR_F native(const Color& c) { return {c.r, c.g, c.b, c.a}; }
inline D2D1_RECT_F native(const RectF& r) { return {r.left, r.top, r.right, r.bottom}; }
inline D2D1_POINT_2F native(PointF p) { return {p.x, p.y}; }

}  // namespace veil
