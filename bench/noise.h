#pragma once

// The samples that the benchmarks work on.

#include <cstdint>
#include <span>

/// Dim noise with a clipped light every few hundred samples; the engine's cost does not depend on the
/// picture.
inline void fillWithNoise(std::span<float> samples) {
    std::uint32_t state = 1;
    for (float& sample : samples) {
        state = state * 1664525u + 1013904223u;
        const float noise = static_cast<float>(state >> 8) / 16777216.0f;
        sample = (state >> 24) == 0 ? 1.0f : noise * 0.6f;
    }
}
