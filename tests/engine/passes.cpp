#include "tests/engine/passes.h"

#include <cmath>

#include "engine/blur.h"
#include "engine/geometry.h"
#include "engine/glow.h"
#include "engine/kernels/rows.h"
#include "engine/resample.h"

namespace passes {

using namespace veil;

namespace {

template <typename Image>
Image resampled(const Image& source, const BilinearPlan& plan) {
    Image result(plan.target);
    if (plan.target.isEmpty()) return result;
    BilinearRows<Image> rows(plan, source.row(0), source.rect);
    for (int y = 0; y < result.height(); ++y) rows.make(plan.target.y0 + y, result.row(y));
    return result;
}

}  // namespace

template <typename Image>
Image gaussian(const Image& source, float radius, Axis axis) {
    Image result(source.rect);
    if (axis == Axis::horizontal) {
        LinePlans plans;
        const RowBlur blur = makeRowBlur(plans, radius, source.width(), 0, source.width(), Image::kChannels);
        LineScratch scratch;
        for (int y = 0; y < source.height(); y += kRowGroup)
            blurRows(blur, source.row(y), std::min(kRowGroup, source.height() - y), source.rowLength(),
                     scratch, result.row(y), result.rowLength());
        return result;
    }
    std::vector<const float*> rows;
    for (int y = 0; y < source.height(); ++y) rows.push_back(source.row(y));
    blurAcrossRows(makeLinePlan(radius, source.height(), 0, source.height()), rows.data(),
                   static_cast<int>(source.rowLength()), result.row(0), result.rowLength(), nullptr);
    return result;
}

template FloatImage gaussian(const FloatImage& source, float radius, Axis axis);
template FloatPlane gaussian(const FloatPlane& source, float radius, Axis axis);

FloatImage box(const FloatImage& source, int halfWidth, int times) {
    FloatImage result = source;
    const int width = source.width();
    if (halfWidth < 1 || width < 2) return result;
    std::vector<float> sums(static_cast<std::size_t>((width + 2 * halfWidth + 1) * 3 + 1) * kBoxRows);
    for (int y = 0; y < source.height(); ++y)
        for (int i = 0; i < times; ++i)
            boxBlurRows({result.row(y), 1, 0}, width, halfWidth, 0, width, sums.data(), result.row(y), 0);
    return result;
}

FloatImage blur(const FloatImage& source, float radius, bool anamorphic) {
    if (anamorphic) return box(source, std::max(1, static_cast<int>(std::round(radius / 3.0f))), 3);
    return gaussian(gaussian(source, radius, Axis::horizontal), radius, Axis::vertical);
}

FloatPlane blur(const FloatPlane& source, float radius, bool anamorphic) {
    const FloatPlane rows = gaussian(source, radius, Axis::horizontal);
    return anamorphic ? rows : gaussian(rows, radius, Axis::vertical);
}

FloatImage reduce(const FloatImage& source, int factor) {
    return resampled(source, planReduction(source.rect, reducedRect(source.rect, factor), factor));
}

template <typename Image>
Image enlarge(const Image& source, const Rect& target, int factor) {
    return resampled(source, planEnlargement(source.rect, target, factor));
}

void boostHighlights(const FloatImage& base, const FloatImage& wideBlur, FloatImage& bright,
                     const RenderSettings& settings) {
    const Rect& work = base.rect;
    const bool streak = settings.anamorphic;
    const float radius = workingRadius(settings) * 0.5f;
    const FloatImage halfBase = reduce(base, 2);
    const FloatImage surround = enlarge(blur(halfBase, radius, streak), work, 2);
    FloatPlane mask(halfBase.rect), weight(halfBase.rect);
    FloatImage color(halfBase.rect);
    const int halfPixels = halfBase.width() * halfBase.height();
    coreMaskRow(halfBase.row(0), mask.row(0), halfPixels);
    const FloatPlane core = blur(mask, radius, streak), coreSpread = enlarge(core, work, 2);
    rimRow(halfBase.row(0), core.row(0), color.row(0), weight.row(0), halfPixels);
    const FloatImage rimColor = enlarge(blur(color, radius, streak), work, 2);
    const FloatPlane rimWeight = enlarge(blur(weight, radius, streak), work, 2);
    boostRow(
        {base.row(0), surround.row(0), wideBlur.row(0), rimColor.row(0), coreSpread.row(0), rimWeight.row(0)},
        settings.highlightBoost, bright.row(0), work.width() * work.height());
}

FloatImage makeGlow(const FloatImage& averaged, const RenderSettings& settings) {
    const float radius = workingRadius(settings);
    if (isFolded(settings)) return blur(averaged, radius, settings.anamorphic);
    const Rect& work = averaged.rect;
    FloatImage bright(work), glow(work);
    thresholdRow(averaged.row(0), settings.threshold, bright.row(0), work.width() * work.height());
    const FloatImage wide = blur(averaged, radius * settings.wideScale, settings.anamorphic);
    if (settings.highlightBoost > 0.0f) boostHighlights(averaged, wide, bright, settings);
    const FloatImage narrow = blur(bright, radius, settings.anamorphic);
    veilMixRow(narrow.row(0), wide.row(0), settings.fog, glow.row(0), work.width() * work.height() * 3);
    return glow;
}

}  // namespace passes
