#pragma once

// Reads between two pixels of an axis, by a position in 32-bit floats.

#include <cmath>

#include "engine/image.h"

namespace veil {

/// Without a call, which std::floor is where the processor may be an old one.
inline int floorToInt(float v) {
    const int towardsZero = static_cast<int>(v);
    return towardsZero - (static_cast<float>(towardsZero) > v ? 1 : 0);
}
inline int ceilToInt(float v) { return static_cast<int>(std::ceil(v)); }

/// The two pixels, limited to the axis, and the weight of the second.
struct LinearRead {
    int low, high;
    float fraction;
};

/// The read at `position`, local to an axis of `size` pixels.
inline LinearRead linearRead(float position, int size) {
    const int index = floorToInt(position);
    return {clampIndex(index, size), clampIndex(index + 1, size), position - static_cast<float>(index)};
}

}  // namespace veil
