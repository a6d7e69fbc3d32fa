// Memory that runs out inside the plug-in, whose operator new is that of the program that loads it.

#include <dlfcn.h>
#include <doctest/doctest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>
#include <tuple>

#include "tests/host/runs.h"

namespace {

// Allocations of the plug-in that succeed; none does after them. Negative: all do.
std::atomic<int> gLeft{-1};
std::atomic<bool> gRanOut{false};
// From this size on none of the plug-in's succeeds: what is cut from one large block asks for no other.
std::atomic<std::size_t> gMost{SIZE_MAX};

// The plug-in's memory runs out, the host's never.
bool isPlugins(const void* caller) {
    Dl_info info{};
    return dladdr(caller, &info) != 0 && info.dli_fname &&
           std::string_view(info.dli_fname).find("DuskyVeil") != std::string_view::npos;
}

bool fails(std::size_t size, const void* caller) {
    if ((gLeft < 0 && gMost == SIZE_MAX) || !isPlugins(caller)) return false;
    if (size >= gMost) return true;
    if (gLeft < 0) return false;
    if (gLeft > 0) {
        --gLeft;
        return false;
    }
    gRanOut = true;
    return true;
}

}  // namespace

void* operator new(std::size_t size) {
    void* memory = fails(size, __builtin_return_address(0)) ? nullptr : std::malloc(size > 0 ? size : 1);
    return memory ? memory : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return fails(size, __builtin_return_address(0)) ? nullptr : std::malloc(size > 0 ? size : 1);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

TEST_CASE(
    "memory that runs out anywhere in a run is reported as -1, or not at all without a result location") {
    const standin::Image image = hosttest::picture(140, 70);
    // The flag of an earlier run; a run that ends in an exception forgets one that it makes itself.
    std::uint8_t runFlag = 0;
    constexpr std::size_t kReserve = std::size_t{1} << 24;
    for (const auto& [afterTile, nullResult, most, expected] :
         {std::tuple(0, false, kReserve, 60), std::tuple(0, true, SIZE_MAX, 40),
          std::tuple(1, false, SIZE_MAX, 10), std::tuple(1, true, kReserve, 10)}) {
        int passed = 0;
        gMost = most;
        for (bool ranOut = true; ranOut; passed += ranOut) {
            INFO("after tile ", afterTile, " allocations before ", passed, " null result ", nullResult,
                 " of less than ", most);
            standin::HostSession session(
                hosttest::plugin(), image,
                {.tileWidth = 70, .movingBuffers = false, .blocksMove = false, .nullResult = nullResult});
            session.options().onProgress = [tile = afterTile, passed](int done, int) {
                if (done == tile) gLeft = passed;
            };
            session.storeParameters(hosttest::kEffect);
            session.dataSlot() = reinterpret_cast<std::intptr_t>(&runFlag);
            gLeft = afterTile == 0 ? passed : -1;
            const standin::RunReport report = session.repeat();
            gLeft = -1;
            ranOut = gRanOut.exchange(false);
            CHECK(report.result == (ranOut && !nullResult ? -1 : photoshop::noErr));
            CHECK_FALSE(report.spareBytesTouched);
            if (report.result != photoshop::noErr) CHECK(session.image() == image);
            session.options() = {};
            session.storeParameters(hosttest::kBlack);
            CHECK(hosttest::checkedRun(session).result == photoshop::noErr);
            CHECK(session.image() == hosttest::blackened(image, {0, 0, 140, 70}));
        }
        CHECK(passed >= expected);
    }
    gMost = SIZE_MAX;
}
