// Memory that runs out while the dialog is open.

#include <doctest/doctest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tests/dialog/page.h"

namespace {
std::atomic<int> gUntilFailure{0};  // counts down to the allocation that fails; 0: none does
}  // namespace

void* operator new(std::size_t size) {
    int left = gUntilFailure;
    while (left > 0 && !gUntilFailure.compare_exchange_weak(left, left - 1)) continue;
    void* memory = left == 1 ? nullptr : std::malloc(size > 0 ? size : 1);
    return memory ? memory : throw std::bad_alloc();
}
// The host's buffers, which never fail.
void* operator new[](std::size_t size) { return std::malloc(size > 0 ? size : 1); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

TEST_CASE("memory that runs out while the dialog is open is reported as -1, with the host's window awake") {
    using namespace dialogtest;
    bool failed = true;
    const auto user = [&](Page& page) {
        page.recorder.scripts.emplace_back([](veil::Window* window) {
            typeCharacter(window->focusedBox, L'n');
            typeKey(window->focusedBox, veil::Key::enter);
        });
        page.recorder.refusesTargets = true;  // the recorder's list of calls needs memory at their release
        page.act("d271,687 u271,687 d476,643 '5 eN c30,580 d80,430 d400,440 u400,440 D60,643 t1");
        failed = gUntilFailure.exchange(0) == 0;
    };
    const auto prepare = [](veil::Recorder& recorder) { recorder.windowCalls.reserve(1000); };
    for (int failures = 0; failed; ++failures) {
        INFO("allocations before ", failures);
        failed = true;
        const auto arm = [&] { gUntilFailure = failures + 1; };
        Run run(user, {.prepare = prepare, .atStart = arm});
        CHECK(run.report.result == (failed ? -1 : photoshop::userCanceledErr));
        CHECK(std::memcmp(&*run.stored, &kMiddle, sizeof kMiddle) == 0);
        CHECK((run.session.image() == hosttest::picture(12, 9)));
        CHECK(run.recorder.windowCalls.back() == "reviveOwner");
        if (!failed) CHECK(failures > 100);
    }
}
