#include "engine/render.h"

#include "engine/composition.h"
#include "engine/geometry.h"
#include "engine/memory.h"

#include <algorithm>

namespace veil {

namespace {

// The pixels of `held` that stand for those of `wanted`: on sides beyond 2^25 the rounding of positions can
// leave a tile outside of its own input, whose edge pixels then repeat.
Rect standIns(const Rect& held, const Rect& wanted) {
    const auto x = [&](int i) { return held.x0 + clampIndex(i - held.x0, held.width()); };
    const auto y = [&](int i) { return held.y0 + clampIndex(i - held.y0, held.height()); };
    return {x(wanted.x0), y(wanted.y0), x(wanted.x1 - 1) + 1, y(wanted.y1 - 1) + 1};
}

}  // namespace

ImageRenderer::ImageRenderer(int imageWidth, int imageHeight, const RenderSettings& renderSettings)
    : sizes(planeSizes(imageWidth, imageHeight)), settings(renderSettings) {}

Rect ImageRenderer::pictureReads(const Rect& inputRect, const Rect& outputRect) const {
    return outputRect.isEmpty() || !readsSource(settings) ? Rect{} : standIns(inputRect, outputRect);
}

void ImageRenderer::render(const Rect& outputRect, const TileSource& source, const OutputRows& output,
                           WorkerPool* pool) {
    if (outputRect.isEmpty()) return;
    const Rect work = workingRect(outputRect, sizes.imageWidth, sizes.imageHeight, settings);
    const Rect visible = visibleGlowRect(outputRect, work, sizes.imageWidth, sizes.imageHeight);
    const GlowRows glow = isOneGaussian(settings)
                              ? bands.make(work, visible, source.averaged, sizes, settings, pool)
                              : maker.make(work, visible, source.averaged, sizes, settings, pool);
    composeOutput(source.picture, glow, outputRect, sizes.imageWidth, sizes.imageHeight, sizes.workWidth,
                  sizes.workHeight, settings, output, pool);
}

void renderVeil(const float* inputPixels, const Rect& inputRect, const Rect& outputRect, int imageWidth,
                int imageHeight, const RenderSettings& settings, std::vector<float>& outputPixels,
                WorkerPool* pool) {
    const KeptBlocksScope memory;
    const std::size_t rowLength = static_cast<std::size_t>(outputRect.width()) * 3;
    outputPixels.resize(rowLength * static_cast<std::size_t>(outputRect.height()));
    const SourceRows source(inputRect, inputPixels);
    const auto rowAt = [&](int y) -> void* {
        return outputPixels.data() + static_cast<std::size_t>(y - outputRect.y0) * rowLength;
    };
    ImageRenderer(imageWidth, imageHeight, settings)
        .render(outputRect, {source, source}, {SampleKind::floats, rowAt}, pool);
}

}  // namespace veil
