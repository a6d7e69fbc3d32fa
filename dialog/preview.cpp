#include "dialog/preview.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/geometry.h"
#include "engine/render.h"
#include "host/apply_driver.h"
#include "host/pixel_transfer.h"
#include "host/plugin_state.h"

namespace veil {

namespace {

using namespace photoshop;

constexpr std::int16_t kFirstPlane = 0, kLastPlane = 2;
constexpr int kRateFractionBits = 16;
constexpr std::size_t kDisplayBytes = 4;  // a pixel: blue, green, red and a byte that nobody reads

std::int32_t limited(std::int64_t size) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(size, std::numeric_limits<std::int32_t>::max()));
}

// How often `extent` holds the `area`, which has at least one pixel.
float ratio(std::int32_t extent, std::int32_t area) {
    return static_cast<float>(extent) / static_cast<float>(std::max(area, 1));
}

// The request in the coordinates of the reduced picture, in which the host's sampling counts.
HostRect previewRequest(const PreviewState& preview) {
    const std::int32_t top = preview.filterRect.top / preview.scale;
    const std::int32_t left = preview.filterRect.left / preview.scale;
    return {top, left, top + preview.targetHeight, left + preview.targetWidth};
}

void setPreviewRequest(const PreviewState& preview) {
    FilterRecord& r = *gFilterRecord;
    setInRect(previewRequest(preview));
    r.inLoPlane = kFirstPlane;
    r.inHiPlane = kLastPlane;
    r.inputRate = static_cast<Fixed>(static_cast<std::uint32_t>(preview.scale) << kRateFractionBits);
    if (r.supportsPadding) r.inputPadding = plugInWantsEdgeReplication;
    setOutRect({});
    setMaskRect({});
}

// The host may deliver less than it was asked for, or more.
bool deliveredIsUsable(std::int64_t width, std::int64_t height) {
    const FilterRecord& r = *gFilterRecord;
    const bool knownDepth = r.depth == 8 || r.depth == 16;
    const std::int64_t pixelBytes = r.depth == 16 ? 6 : 3;
    return r.inData && width > 0 && height > 0 && knownDepth && width * pixelBytes <= r.inRowBytes;
}

// What the first tile asks for when `params` are applied.
HostRect firstTileRequest(const PreviewState& preview, const VeilParams& params) {
    const FilterRecord& r = *gFilterRecord;
    const RenderSettings settings = makeRenderSettings(params);
    const TilePlan plan =
        planTiles(preview.fullWidth, preview.fullHeight, r.outTileWidth, r.outTileHeight, settings);
    const Rect need = requiredInputRect(plan.tile(0, 0), plan.imageWidth, plan.imageHeight, settings);
    const HostRect& filter = preview.filterRect;
    return {filter.top + need.y0, filter.left + need.x0, filter.top + need.y1, filter.left + need.x1};
}

// NaN is black, as in what is written to the host.
std::uint8_t toByte(float v) {
    const float limitedValue = v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f;
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(limitedValue * 255.0f + 0.5f));
}

}  // namespace

void computePreviewScale(PreviewState& preview, std::int32_t widthPx, std::int32_t heightPx) {
    preview.filterRect = getFilterRect();
    preview.fullWidth = limited(widthOf(preview.filterRect));
    preview.fullHeight = limited(heightOf(preview.filterRect));
    preview.scale = 1;
    preview.targetWidth = preview.targetHeight = 0;
    if (preview.fullWidth < 1 || preview.fullHeight < 1) return;
    const float largest =
        std::max({ratio(preview.fullWidth, widthPx), ratio(preview.fullHeight, heightPx), 1.0f});
    preview.scale = limited(static_cast<std::int64_t>(std::ceil(largest)));
    preview.targetWidth = std::max(preview.fullWidth / preview.scale, 1);
    preview.targetHeight = std::max(preview.fullHeight / preview.scale, 1);
}

bool fetchPreviewSource(PreviewState& preview) {
    FilterRecord& r = *gFilterRecord;
    if (!r.advanceState || preview.fullWidth < 1 || preview.fullHeight < 1 || preview.targetWidth < 1 ||
        preview.targetHeight < 1)
        return false;
    setPreviewRequest(preview);
    const std::int16_t result = r.advanceState();
    r.inputRate = kFullRate;
    if (result != noErr) return false;

    const HostRect delivered = getInRect();
    const std::int64_t width = widthOf(delivered), height = heightOf(delivered);
    const bool usable = deliveredIsUsable(width, height);
    if (usable) {
        preview.width = limited(width);
        preview.height = limited(height);
        readPixels(r.inData, r.inRowBytes, {0, 0, preview.width, preview.height}, r.depth,
                   preview.sourcePixels);
    }
    setInRect({});
    setOutRect({});
    return usable;
}

void makeHostForgetPreview(const PreviewState& preview, const VeilParams& params) {
    const FilterRecord& r = *gFilterRecord;
    const bool wasReduced = preview.scale > 1 && preview.targetWidth > 0;
    const bool canApply = r.outTileWidth > 0 && r.outTileHeight > 0 &&
                          std::max(preview.fullWidth, preview.fullHeight) <= kLargestSide;
    if (!wasReduced || !canApply || !r.advanceState) return;
    if (firstTileRequest(preview, params) != previewRequest(preview)) return;
    setInRect({});
    setOutRect({});
    setMaskRect({});
    r.advanceState();
}

void renderPreview(PreviewState& preview, const VeilParams& params, bool glowOnly) {
    if (preview.sourcePixels.empty()) return;
    RenderSettings settings = makeRenderSettings(params);
    settings.outputGlowOnly = glowOnly;
    settings.radius /= static_cast<float>(std::max(preview.scale, 1));
    const Rect whole{0, 0, preview.width, preview.height};
    std::vector<float> result;
    renderVeil(preview.sourcePixels.data(), whole, whole, preview.width, preview.height, settings, result,
               preview.pool.get());

    const std::size_t pixelCount = result.size() / 3;
    preview.displayPixels.assign(pixelCount * kDisplayBytes, 0);
    std::uint8_t* out = preview.displayPixels.data();
    const float* in = result.data();
    for (std::size_t i = 0; i < pixelCount; ++i, in += 3, out += kDisplayBytes) {
        out[0] = toByte(in[2]);
        out[1] = toByte(in[1]);
        out[2] = toByte(in[0]);
    }
    preview.ready = true;
}

FittedImage fitImageInto(std::int32_t areaWidth, std::int32_t areaHeight, std::int32_t imageWidth,
                         std::int32_t imageHeight) {
    if (areaWidth < 1 || areaHeight < 1 || imageWidth < 1 || imageHeight < 1)
        return {areaWidth, areaHeight, 0, 0};
    const double factor =
        std::min(double(areaWidth) / double(imageWidth), double(areaHeight) / double(imageHeight));
    const auto drawn = [factor](std::int32_t size) {
        return std::max(static_cast<std::int32_t>(factor * double(size)), 1);
    };
    const std::int32_t width = drawn(imageWidth), height = drawn(imageHeight);
    return {width, height, (areaWidth - width) / 2, (areaHeight - height) / 2};
}

}  // namespace veil
