// Lets each allocation of a render fail in turn. Replaces operator new for the whole program.

#include <doctest/doctest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "engine/render.h"

namespace {

std::atomic<long> gLiveBlocks = 0;
std::atomic<long> gCountdown = -1;  // 0: the next allocation fails; negative: none does

}  // namespace

void* operator new(std::size_t size) {
    if (gCountdown >= 0 && gCountdown-- == 0) throw std::bad_alloc();
    void* const block = std::malloc(size > 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    ++gLiveBlocks;
    return block;
}
void operator delete(void* block) noexcept {
    if (block) --gLiveBlocks;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace {

/// True if the allocation after `passed` others, on any thread, failed and came out; false if there was none.
bool isRefused(const veil::RenderSettings& settings, veil::WorkerPool& pool, long passed) {
    const veil::Rect rect{0, 0, 90, 70};
    const std::vector<float> input(90 * 70 * 3, 0.97f);
    std::vector<float> output;
    bool refused = false;
    gCountdown = passed;
    try {
        veil::renderVeil(input.data(), rect, rect, 90, 70, settings, output, &pool);
    } catch (const std::bad_alloc&) {
        refused = true;
    }
    CHECK(refused == (gCountdown.exchange(-1) < 0));
    return refused;
}

}  // namespace

TEST_CASE("whichever allocation fails, on whichever thread, the caller gets it and nothing leaks") {
    for (const bool anamorphic : {false, true}) {
        for (const float boost : {0.0f, 0.6f}) {
            for (const int workers : {0, 2}) {
                INFO("anamorphic ", anamorphic, ", boost ", boost, ", workers ", workers);
                long passed = 0;
                for (bool refused = true; refused; ++passed) {
                    const long before = gLiveBlocks;
                    {
                        veil::WorkerPool pool(workers);
                        refused =
                            isRefused({.radius = 40.0f, .anamorphic = anamorphic, .highlightBoost = boost},
                                      pool, passed);
                    }
                    CHECK(gLiveBlocks == before);
                }
                CHECK(passed > 5);
            }
        }
    }
}
