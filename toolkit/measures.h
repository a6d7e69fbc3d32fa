#pragma once

// Measures in DIPs on which the painters and the hit tests must agree.

#include <cstdint>

namespace veil {

constexpr std::int32_t kTitleBandHeight = 40;
constexpr std::int32_t kThumbRoom = 8;  // at both ends of a slider's track, for half of the grown thumb

}  // namespace veil
