#pragma once

// What differs between the platforms before the first picture is painted.

namespace gallery {

/// Brings up what painting in memory needs, for the life of the process. Call it once, first thing.
void startPlatform();

}  // namespace gallery
