#include <algorithm>

#include "toolkit/measures.h"
#include "toolkit/widgets.h"

namespace veil {

namespace {
float usableScale(float scale) { return scale > 0.0f ? scale : 1.0f; }
}  // namespace

bool contains(const RectI& rect, PointI point) {
    return point.x >= rect.left && point.x < rect.right && point.y >= rect.top && point.y < rect.bottom;
}

RectI closeButtonRect(std::int32_t width) { return {width - 34, 6, width - 6, 34}; }

CaptionHit captionHitTest(PointI point, std::int32_t width) {
    const bool movesWindow = point.y <= kTitleBandHeight && !contains(closeButtonRect(width), point);
    return movesWindow ? CaptionHit::caption : CaptionHit::client;
}

float sliderFractionAt(const SliderRecord& slider, std::int32_t x) {
    const std::int32_t start = slider.left + kThumbRoom;
    const std::int32_t span = slider.right - kThumbRoom - start;
    if (span <= 0) return 0.0f;
    return std::clamp(float(x - start) / float(span), 0.0f, 1.0f);
}

void setSliderFromX(SliderRecord& slider, std::int32_t x) {
    slider.value = slider.minimum + sliderFractionAt(slider, x) * (slider.maximum - slider.minimum);
}

PointI clientPointInDips(std::int32_t xPx, std::int32_t yPx, float scale) {
    const float divisor = usableScale(scale);
    return {std::int32_t(float(xPx) / divisor), std::int32_t(float(yPx) / divisor)};
}

RectF childRectDips(const RectI& pixels, float scale) {
    const float divisor = usableScale(scale);
    return {float(pixels.left) / divisor, float(pixels.top) / divisor, float(pixels.right) / divisor,
            float(pixels.bottom) / divisor};
}

std::int32_t windowSizePx(std::int32_t dips, float scale) {
    return std::int32_t(float(dips) * usableScale(scale) + 0.5f);
}

std::int32_t childPlacePx(std::int32_t dips, float scale) {
    return std::int32_t(float(dips) * usableScale(scale));
}

}  // namespace veil
