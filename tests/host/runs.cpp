#include "tests/host/runs.h"

#include <doctest/doctest.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace hosttest {

using namespace standin;

namespace {

// 0 where the system has no such list.
std::ptrdiff_t threadCount() {
    std::error_code absent;
    return std::distance(std::filesystem::directory_iterator("/proc/self/task", absent), {});
}

// The thread sanitizer keeps a thread of its own from the first that is started on.
std::ptrdiff_t settledThreadCount() {
    std::thread([] {}).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return threadCount();
}
const std::ptrdiff_t kThreadsAtStart = settledThreadCount();

}  // namespace

Image picture(int width, int height, int planes, int depth) {
    Image image = makeImage(width, height, planes, depth);
    const int white = depth == 8 ? 255 : 32768;
    for (int i = 0; i < width * height * planes; ++i) {
        const int c = i % planes, x = i / planes % width, y = i / planes / width;
        const int sample = (x * 7 + y * 13 + c * 29 + x * y) % 256 * white / 255;
        image.set(x, y, c, x % 16 < 3 && y % 16 < 3 ? white - c : sample);
    }
    return image;
}

Image blackened(Image image, const PixelRect& area) {
    for (int y = area.top; y < area.bottom; ++y) {
        for (int i = area.left * 3; i < area.right * 3; ++i) image.set(i / 3, y, i % 3, 0);
    }
    return image;
}

RunReport checkedRun(HostSession& session, How how) {
    const Image before = session.image();
    RunReport report = how == How::menu ? session.runFromMenu() : session.repeat();
    // A joined thread may stay on the system's list for a moment.
    for (int i = 0; i < 200 && threadCount() > kThreadsAtStart; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    CHECK(threadCount() <= kThreadsAtStart);
    CHECK_FALSE((report.leftFilterRect || report.spareBytesTouched || report.lentInputTouched));
    CHECK_FALSE((report.handlesMisused || report.recordOverrun));
    CHECK(report.locksBalanced);
    if (report.result != photoshop::noErr) CHECK(session.image() == before);
    return report;
}

RunReport checkedRun(Image& image, const veil::VeilParams& block, const HostOptions& options) {
    HostSession session(plugin(), image, options);
    session.recordEvents = true;
    session.storeParameters(block);
    RunReport report = checkedRun(session);
    image = session.takeImage();
    return report;
}

std::string story(const RunReport& report) {
    std::string told;
    for (const HostEvent& e : report.events) {
        const char* names[] = {"", "advance", "", "abort?", "new", "lock", "unlock"};  // by HostEvent::Kind
        const std::string number = std::to_string(e.a), other = std::to_string(e.b);
        told += told.empty() ? "" : " ";
        told += names[static_cast<int>(e.kind)];
        if (e.kind == HostEvent::Kind::selector) told += e.b == 0 ? number : number + "=" + other;
        if (e.kind == HostEvent::Kind::progress) told += number + "/" + other;
    }
    return told;
}

}  // namespace hosttest
