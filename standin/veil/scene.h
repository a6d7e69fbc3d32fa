#pragma once

// Pictures of our own to show and test the filter with. They come out the same on every machine: noise is an
// integer hash, and nothing but +, -, *, / and square roots of floats is used.

#include "standin/image.h"

namespace standin {

/// A wet street at night: sky, moon, lit windows, blown-out lamps with orange rims, neon, reflections. Depth
/// 8 or 16.
Image renderNightScene(int width, int height, int depth);

/// A smooth sky from deep blue to a warm horizon, the kind of picture in which steps show first. Depth 8
/// or 16.
Image renderSkyGradient(int width, int height, int depth);

}  // namespace standin
