#pragma once

// Soft transitions: scalars that move along an ease-out curve by a fixed step on a timer. Pure logic.

#include <cstdint>
#include <unordered_map>

namespace veil {

/// One scalar in motion or at rest; at rest `value` equals `to`.
struct AnimatedValue {
    float value = 0.0f;
    float from = 0.0f;
    float to = 0.0f;
    float elapsed = 0.0f;     ///< milliseconds into the transition
    float duration = 150.0f;  ///< milliseconds
};

/// The scalars of one dialog. References to entries stay valid while the map grows.
using AnimationMap = std::unordered_map<std::uint32_t, AnimatedValue>;

constexpr int kAnimationTickMs = 16;       // period of the timer
constexpr float kAnimationStepMs = 16.0f;  // of each tick, whatever time has passed
constexpr float kHoverMs = 150.0f;
constexpr float kFlashMs = 220.0f;

/// The entry of `key`, made if it is missing.
AnimatedValue& animationEntry(AnimationMap& map, std::uint32_t key);
/// Starts a transition from where the value stands; nothing happens if `target` is where it already goes.
void animateTo(AnimatedValue& entry, float target, float durationMs);
/// Rests the entry at `value`; its duration stays.
void snapTo(AnimatedValue& entry, float value);
/// Advances one entry; true while it moves.
bool stepAnimation(AnimatedValue& entry, float stepMs);
/// Advances all; true if any still moves.
bool stepAllAnimations(AnimationMap& map, float stepMs);
/// 1 - (1 - p)^3 with p limited to 0 to 1.
float easeOutCubic(float p);

}  // namespace veil
