#pragma once

// The run over the image, tile by tile.

#include <cstdint>

#include "engine/image.h"
#include "engine/settings.h"

namespace veil {

/// The largest filter rectangle, a side: far beyond any document (300000). Above it positions would leave
/// 32-bit integers.
constexpr std::int64_t kLargestSide = 1 << 30;

/// How a run is cut into tiles; sizes in pixels.
struct TilePlan {
    std::int32_t imageWidth = 0,
                 imageHeight = 0;  ///< of the filter rectangle, which is the engine's image plane
    std::int32_t tileWidth = 0, tileHeight = 0;
    std::int32_t columns = 0, rows = 0;

    std::int64_t count() const { return static_cast<std::int64_t>(columns) * rows; }
    /// Tile (`column`, `row`); those of the last column and row may be smaller.
    Rect tile(std::int32_t column, std::int32_t row) const;
};

/// Tiles of the host's size, but at most 512, 1024 or 2048 pixels a side by the reach of the effect: with a
/// far reach larger tiles waste less on their margins. All sizes are at least 1, none above kLargestSide.
TilePlan planTiles(std::int32_t imageWidth, std::int32_t imageHeight, std::int32_t hostTileWidth,
                   std::int32_t hostTileHeight, const RenderSettings& settings);

/// Filters the image of the current call with the locked block. Reports through the result location:
/// userCanceledErr, filterBadParameters, or what advanceState answered; throws what the engine throws. Tiles
/// that are written already stay with the host. [host's thread, Start stage]
void applyFilter();

/// Whether the host's buffers hold the rectangles that were asked for, at the depth of the record.
bool hostBuffersMatch(const Rect& needRect, const Rect& tileRect);

}  // namespace veil
