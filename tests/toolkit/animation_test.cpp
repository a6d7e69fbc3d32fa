#include "toolkit/animation.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>

using namespace veil;

namespace {

AnimatedValue moving(float from, float target, float durationMs) {
    AnimatedValue entry;
    snapTo(entry, from);
    animateTo(entry, target, durationMs);
    return entry;
}

}  // namespace

TEST_CASE("a transition follows the curve, and its last step gives the target itself and rests") {
    struct {
        float from, to, durationMs;
        int ticks;
    } const table[] = {{0, 1, kHoverMs, 10}, {0.5f, 0, kHoverMs, 10}, {1, 0, kFlashMs, 14},
                       {0, 1, 0.5f, 1},      {0.25f, 0.75f, -3, 1},   {0, 1, 16, 1},
                       {-2, 3, 17, 2},       {0.9f, 0.1f, 50, 4}};
    for (const auto& row : table) {
        AnimatedValue entry = moving(row.from, row.to, row.durationMs);
        for (int tick = 1; tick <= row.ticks; ++tick) {
            INFO(row.from, " to ", row.to, " in ", row.durationMs, ", tick ", tick);
            CHECK(stepAnimation(entry, kAnimationStepMs) == (tick < row.ticks));
            const double p = std::min(16.0 * tick / std::max(row.durationMs, 1.0f), 1.0);
            const double expected = row.from + (1.0 - std::pow(1.0 - p, 3.0)) * (row.to - row.from);
            CHECK(std::abs(entry.value - expected) < 1e-6);
        }
        CHECK(entry.value == row.to);
        const float elapsed = entry.elapsed;
        CHECK_FALSE(stepAnimation(entry, kAnimationStepMs));
        CHECK(entry.elapsed == elapsed);
    }
}

TEST_CASE("a new target starts from where the value stands, the same target disturbs nothing, a snap rests") {
    const auto is = [](const AnimatedValue& e, float value, float from, float elapsed, float duration) {
        return e.value == value && e.from == from && e.elapsed == elapsed && e.duration == duration;
    };
    AnimatedValue entry = moving(0.0f, 1.0f, kHoverMs);
    stepAnimation(entry, 16.0f);
    const float reached = entry.value;
    animateTo(entry, 1.0f, 999.0f);
    CHECK(is(entry, reached, 0.0f, 16.0f, kHoverMs));
    animateTo(entry, 0.0f, kFlashMs);
    CHECK(is(entry, reached, reached, 0.0f, kFlashMs));
    stepAnimation(entry, 16.0f);
    snapTo(entry, 0.75f);
    CHECK_FALSE(stepAnimation(entry, 16.0f));
    CHECK(is(entry, 0.75f, 0.75f, 0.0f, kFlashMs));
}

TEST_CASE("a map makes entries at rest, keeps their addresses and steps every one that moves") {
    AnimationMap map;
    CHECK_FALSE(stepAllAnimations(map, 16.0f));
    AnimatedValue& first = animationEntry(map, 10);
    CHECK(first.duration == 150.0f);
    for (std::uint32_t key = 11; key < 500; ++key) animationEntry(map, key);
    CHECK((&animationEntry(map, 10) == &first && map.size() == 490));
    animateTo(first, 1.0f, kHoverMs);
    animateTo(animationEntry(map, 499), 1.0f, kFlashMs);
    for (int tick = 1; tick < 14; ++tick) CHECK(stepAllAnimations(map, 16.0f));
    CHECK_FALSE(stepAllAnimations(map, 16.0f));
    CHECK((first.elapsed == 160.0f && animationEntry(map, 499).elapsed == 224.0f));
}
