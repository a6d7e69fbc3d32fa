#include "engine/geometry.h"

#include "engine/linear_read.h"

#include <algorithm>

namespace veil {

namespace {

constexpr float kMinRadius = 2.0f;
constexpr float kMaxRadius = 600.0f;
constexpr float kReachCap = 768.0f;         // bounds the margin of a tile
constexpr float kStreakReachCap = 6000.0f;  // a streak costs only columns, so it may reach further
constexpr float kBoostReach = 2.0f;         // the colour of a rim comes through two blurs in a row
constexpr float kBoostMargin = 16.0f;

struct Range {
    int first, last;  // inclusive
};

enum class Growth { none, byMargin };

// The working pixels that a run of image pixels, `low` up to `high` (exclusive), is made from.
Range workingRange(int low, int high, int imageSize, int workSize, int margin, Growth growth) {
    int a = floorToInt(mapCentre(low, imageSize, workSize));
    int b = ceilToInt(mapCentre(high - 1, imageSize, workSize));
    if (growth == Growth::byMargin) {
        a = a - 1 - margin;
        b = b + 2 + margin;
    } else {
        b = b + 1;
    }
    return {clampIndex(a - 1, workSize), clampIndex(b, workSize)};
}

// The working pixels between which a run of image pixels reads the glow.
Range visibleRange(int low, int high, int imageSize, int workSize, const Range& working) {
    const int a = floorToInt(mapCentre(low, imageSize, workSize));
    const int b = floorToInt(mapCentre(high - 1, imageSize, workSize)) + 1;
    return {std::clamp(a, working.first, working.last), std::clamp(b, working.first, working.last)};
}

// The image pixels that the box reads for a run of working pixels.
Range sourceRange(const Range& working, int imageSize, int workSize) {
    const int first = floorToInt(mapCentre(working.first, workSize, imageSize)) - kBoxHalf;
    const int last = ceilToInt(mapCentre(working.last, workSize, imageSize)) + kBoxHalf;
    return {clampIndex(first, imageSize), clampIndex(last, imageSize)};
}

}  // namespace

int workingSize(int imageSize) {
    const int quarter = imageSize / 4;
    return quarter > 8 ? quarter : 8;
}

float limitedRadius(const RenderSettings& settings) {
    // A value that is not a number acts as the least, since no rectangle can be made from it.
    if (!(settings.radius >= kMinRadius)) return kMinRadius;
    return settings.radius > kMaxRadius ? kMaxRadius : settings.radius;
}

float workingRadius(const RenderSettings& settings) { return limitedRadius(settings) * 0.25f; }

float effectMargin(const RenderSettings& settings) {
    const bool boosts = settings.highlightBoost > 0.0f;
    float k = settings.wideScale > 1.0f ? settings.wideScale : 1.0f;
    if (boosts && k < kBoostReach) k = kBoostReach;
    const float cap = settings.anamorphic ? kStreakReachCap : kReachCap;
    const float full = k * limitedRadius(settings);
    const float reach = full > cap ? cap : full;
    return boosts ? reach + kBoostMargin : reach;
}

Rect workingRect(const Rect& outputRect, int imageWidth, int imageHeight, const RenderSettings& settings) {
    const int margin = ceilToInt(effectMargin(settings) * 0.25f);
    const Range x = workingRange(outputRect.x0, outputRect.x1, imageWidth, workingSize(imageWidth), margin,
                                 Growth::byMargin);
    const Range y = workingRange(outputRect.y0, outputRect.y1, imageHeight, workingSize(imageHeight), margin,
                                 settings.anamorphic ? Growth::none : Growth::byMargin);
    return {x.first, y.first, x.last + 1, y.last + 1};
}

Rect visibleGlowRect(const Rect& outputRect, const Rect& workRect, int imageWidth, int imageHeight) {
    const Range x = visibleRange(outputRect.x0, outputRect.x1, imageWidth, workingSize(imageWidth),
                                 {workRect.x0, workRect.x1 - 1});
    const Range y = visibleRange(outputRect.y0, outputRect.y1, imageHeight, workingSize(imageHeight),
                                 {workRect.y0, workRect.y1 - 1});
    return {x.first, y.first, x.last + 1, y.last + 1};
}

Rect requiredInputRect(const Rect& tile, int imageWidth, int imageHeight, const RenderSettings& settings) {
    const Rect work = workingRect(tile, imageWidth, imageHeight, settings);
    const Range x = sourceRange({work.x0, work.x1 - 1}, imageWidth, workingSize(imageWidth));
    const Range y = sourceRange({work.y0, work.y1 - 1}, imageHeight, workingSize(imageHeight));
    return {x.first, y.first, x.last + 1, y.last + 1};
}

}  // namespace veil
