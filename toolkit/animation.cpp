#include "toolkit/animation.h"

#include <algorithm>

namespace veil {

AnimatedValue& animationEntry(AnimationMap& map, std::uint32_t key) { return map[key]; }

void animateTo(AnimatedValue& entry, float target, float durationMs) {
    if (entry.to == target) return;
    entry.from = entry.value;
    entry.to = target;
    entry.elapsed = 0.0f;
    entry.duration = std::max(durationMs, 1.0f);
}

void snapTo(AnimatedValue& entry, float value) {
    entry.value = entry.from = entry.to = value;
    entry.elapsed = 0.0f;
}

bool stepAnimation(AnimatedValue& entry, float stepMs) {
    if (entry.value == entry.to) return false;
    entry.elapsed += stepMs;
    const float p = std::min(entry.elapsed / entry.duration, 1.0f);
    entry.value = entry.from + easeOutCubic(p) * (entry.to - entry.from);
    if (p < 1.0f) return true;
    entry.value = entry.to;  // not just close to it: rest is told by an exact comparison
    return false;
}

bool stepAllAnimations(AnimationMap& map, float stepMs) {
    bool moving = false;
    for (auto& [key, entry] : map) moving |= stepAnimation(entry, stepMs);
    return moving;
}

float easeOutCubic(float p) {
    const float rest = 1.0f - std::clamp(p, 0.0f, 1.0f);
    return 1.0f - rest * rest * rest;
}

}  // namespace veil
