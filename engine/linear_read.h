#pragma once

// Reads between two pixels of an axis, by a position in 32-bit floats.

#include <cmath>

#include "engine/image.h"

namespace veil {

inline int floorToInt(float v) { return static_cast<int>(std::floor(v)); }
inline int ceilToInt(float v) { return static_cast<int>(std::ceil(v)); }

/// The two pixels, limited to the axis, and the weight of the second.
struct LinearRead {
    int low, high;
    float fraction;
};

/// The read at `position`, local to an axis of `size` pixels.
inline LinearRead linearRead(float position, int size) {
    const float base = std::floor(position);
    const int index = static_cast<int>(base);
    return {clampIndex(index, size), clampIndex(index + 1, size), position - base};
}

}  // namespace veil
