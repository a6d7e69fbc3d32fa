// Memory that runs out inside the plug-in, whose operator new is that of the program that loads it.

#include <doctest/doctest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <tuple>

#include "tests/host/runs.h"

namespace {

std::atomic<std::size_t> gUnit{0};  // allocations of a multiple of this size are counted; 0: none
std::atomic<int> gUntilFailure{0};

}  // namespace

void* operator new(std::size_t size) {
    const std::size_t unit = gUnit;
    const bool fails = unit > 0 && size % unit == 0 && --gUntilFailure == 0;
    void* memory = fails ? nullptr : std::malloc(size > 0 ? size : 1);
    return memory ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

TEST_CASE("any allocation of a run that fails is reported as -1, or not at all without a result location") {
    const standin::Image image = hosttest::picture(140, 70);
    // The flag of an earlier run; a run that ends in an exception forgets one that it makes itself.
    std::uint8_t runFlag = 0;
    // Memory fails for the plug-in and never for the host. In the first tile the size tells whose it is: the
    // host's buffers have bytes to spare and the plug-in's have not. In the second, of the same size, the
    // host needs no more.
    const std::tuple<int, std::size_t, bool, int> sweeps[] = {
        {0, 70 * 70 * 3, false, 2}, {0, 70 * 70 * 3, true, 2}, {1, 1, false, 10}, {1, 1, true, 10}};
    for (const auto& [afterTile, unit, nullResult, expected] : sweeps) {
        int failures = 0;
        for (bool failed = true; failed; failures += failed) {
            INFO("after tile ", afterTile, " allocations before ", failures, " null result ", nullResult);
            standin::HostSession session(
                hosttest::plugin(), image,
                {.tileWidth = 70, .movingBuffers = false, .blocksMove = false, .nullResult = nullResult});
            session.options().onProgress = [tile = afterTile, size = unit](int done, int) {
                if (done == tile) gUnit = size;
            };
            session.storeParameters(hosttest::kEffect);
            session.dataSlot() = reinterpret_cast<std::intptr_t>(&runFlag);
            gUntilFailure = failures + 1;
            gUnit = afterTile == 0 ? unit : 0;
            const standin::RunReport report = session.repeat();
            gUnit = 0;
            failed = gUntilFailure <= 0;
            CHECK(report.result == (failed && !nullResult ? -1 : photoshop::noErr));
            CHECK_FALSE(report.spareBytesTouched);
            if (report.result != photoshop::noErr) CHECK(session.image() == image);
            session.options() = {};
            session.storeParameters(hosttest::kBlack);
            CHECK(hosttest::checkedRun(session).result == photoshop::noErr);
            CHECK(session.image() == hosttest::blackened(image, {0, 0, 140, 70}));
        }
        CHECK(failures >= expected);
    }
}
