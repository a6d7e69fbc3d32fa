// Lets memory run out after each allocation of a render in turn. Replaces operator new for the whole program.

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

#include "engine/memory.h"
#include "engine/render.h"

namespace {

std::atomic<long> gLiveBlocks = 0;
constexpr long kAll = std::numeric_limits<long>::max();
std::atomic<long> gLeft = kAll;  // allocations that succeed; none does after them

}  // namespace

void* operator new(std::size_t size) {
    if (gLeft != kAll && --gLeft < 0) throw std::bad_alloc();
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

/// True if memory ran out after `passed` allocations, on any thread, and the failure came out; false if they
/// sufficed.
bool isRefused(const veil::RenderSettings& settings, veil::WorkerPool& pool, long passed) {
    const veil::Rect rect{0, 0, 90, 70};
    const std::vector<float> input(90 * 70 * 3, 0.97f);
    std::vector<float> output;
    bool refused = false;
    gLeft = passed;
    try {
        veil::renderVeil(input.data(), rect, rect, 90, 70, settings, output, &pool);
    } catch (const std::bad_alloc&) {
        refused = true;
    }
    CHECK(refused == (gLeft.exchange(kAll) < 0));
    return refused;
}

}  // namespace

TEST_CASE("whenever memory runs out, on whichever thread, the caller gets it and nothing leaks") {
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

#if !defined(__SANITIZE_ADDRESS__)
TEST_CASE(
    "large blocks are kept up to a limit, begin with a line of the cache, and make way where memory is "
    "short") {
    using namespace veil;
    freeKeptBlocks();
    const long before = gLiveBlocks;
    {
        const Samples first(10000);
        CHECK(reinterpret_cast<std::uintptr_t>(first.data()) % 64 == 0);
    }
    CHECK(gLiveBlocks == before + 1);
    gLeft = 0;
    { const Samples again(10001); }  // of nearly the same size
    CHECK_THROWS_AS(Samples(20000), std::bad_alloc);
    CHECK(gLiveBlocks == before);
    CHECK_THROWS_AS(Samples(10000), std::bad_alloc);
    gLeft = kAll;
    {
        const Samples all[] = {Samples(kMostKeptBytes / 8), Samples(kMostKeptBytes / 8),
                               Samples(kMostKeptBytes / 8)};
    }
    CHECK(gLiveBlocks == before + 2);  // the third is beyond the limit
    freeKeptBlocks();
    { const Samples small(kLeastKeptBlock / 4 - 1); }
    CHECK(gLiveBlocks == before);
    CHECK_THROWS_AS(Samples(static_cast<std::size_t>(-1) / 5), std::exception);
}

TEST_CASE("the blocks of a run are cut from one piece, if there is one, and all is freed at its end") {
    using namespace veil;
    freeKeptBlocks();
    const long before = gLiveBlocks;
    {
        const ReservedBlocksScope run;
        const Samples first(10000, 1.0f);
        { const Samples second(20000, 2.0f); }
        const Samples again(20000), third(3000, 3.0f);
        CHECK(again.back() == 2.0f);  // the same block
        CHECK(std::count(first.begin(), first.end(), 1.0f) == 10000);
        CHECK(reinterpret_cast<std::uintptr_t>(third.data()) % 64 == 0);
        CHECK(gLiveBlocks == before + 1);
        { const Samples large(kReservedBytes / sizeof(float)); }
        CHECK(gLiveBlocks == before + 2);
        { const Samples small(5000); }
        gLeft = 0;
        CHECK_THROWS_AS(Samples(2 * kReservedBytes / sizeof(float)), std::bad_alloc);
        CHECK(gLiveBlocks == before + 1);
        { const Samples small(5000); }  // stayed
        gLeft = kAll;
    }
    CHECK(gLiveBlocks == before);
    gLeft = 0;
    {
        const ReservedBlocksScope run;
        CHECK_THROWS_AS(Samples(10000), std::bad_alloc);
        gLeft = kAll;
        const Samples alone(10000);
        CHECK(gLiveBlocks == before + 1);
    }
    CHECK(gLiveBlocks == before);
}
#endif
