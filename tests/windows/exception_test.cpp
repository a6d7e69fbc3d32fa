// What the library does when its own calls for memory and threads fail: they are replaced in its import
// table, since the compiler's run-time libraries lie inside of it.

#include <windows.h>
// After windows.h, whose types it uses.
#include <doctest/doctest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "standin/host.h"

namespace {

std::atomic<int> gCallsLeft = -1;  // the call after these fails; below 0 none does

bool fails() { return gCallsLeft >= 0 && gCallsLeft.fetch_sub(1) == 0; }

void* failingMalloc(std::size_t size) { return fails() ? nullptr : std::malloc(size); }

std::uintptr_t failingThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) {
    errno = EAGAIN;
    return 0;
}

// The slot of the import table through which the library calls `name`; null if it imports no such function.
void** importSlot(HMODULE module, const char* name) {
    auto* const base = reinterpret_cast<std::uint8_t*>(module);
    const auto* header =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* from = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); from->Name; ++from) {
        const auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
        auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots) {
            const auto* entry = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal) && std::strcmp(entry->Name, name) == 0)
                return reinterpret_cast<void**>(&slots->u1.Function);
        }
    }
    return nullptr;
}

// Another function in the place of an imported one while this lives.
struct Replacement {
    void** slot;
    void* before;

    Replacement(const char* name, void* function)
        : slot(importSlot(GetModuleHandleA("DuskyVeil.8bf"), name)) {
        REQUIRE(slot != nullptr);
        before = *slot;
        put(function);
    }
    ~Replacement() { put(before); }
    void put(void* function) const {
        DWORD protection;
        VirtualProtect(slot, sizeof(void*), PAGE_READWRITE, &protection);
        *slot = function;
        VirtualProtect(slot, sizeof(void*), protection, &protection);
    }
};

struct Run {
    standin::HostSession session;
    standin::Image before;

    explicit Run(const standin::Plugin& library) : session(library, picture()), before(session.image()) {
        veil::VeilParams params{};
        params.radius = 20.0f;
        params.strength = 1.0f;
        params.advancedMode = 1;
        params.highlightBoost = 4.0f;
        session.storeParameters(params);
    }
    static standin::Image picture() {
        standin::Image image = standin::makeImage(90, 70, 3, 8);
        for (int i = 0; i < 20; ++i) image.set(30 + i, 35, i % 3, 250);
        return image;
    }
};

}  // namespace

TEST_CASE("a failed call for memory ends the host, changes the picture or leaves the window") {
    const standin::Plugin library(VEIL_LIBRARY);
    int failures = 0;
    for (int k = 0;; ++k) {
        INFO("call ", k);
        Run run(library);
        standin::RunReport report;
        {
            const Replacement replacement("malloc", reinterpret_cast<void*>(failingMalloc));
            gCallsLeft = k;
            report = run.session.repeat();
        }
        const bool failed = gCallsLeft < 0;
        gCallsLeft = -1;
        if (!failed) {
            CHECK(report.result == photoshop::noErr);
            CHECK_FALSE(run.session.image() == run.before);
            break;
        }
        // The first call is that for the run flag, which has a code of its own. A failure inside the
        // exception's own machinery can be mended there, so that the run may succeed.
        ++failures;
        const bool told = report.result == -1 || report.result == photoshop::memFullErr;
        CHECK((told || report.result == photoshop::noErr));
        CHECK((run.session.image() == run.before) == told);
        CHECK(FindWindowW(L"#32770", L"Lucent Veil - Applying...") == nullptr);
        REQUIRE(k < 2000);
    }
    CHECK(failures > 20);
}

TEST_CASE("a thread that can't start ends the host or changes the picture") {
    const standin::Plugin library(VEIL_LIBRARY);
    Run run(library);
    if (std::thread::hardware_concurrency() < 2) {
        MESSAGE("one processor: the library starts no thread here, so nothing is tested");
        return;
    }
    const Replacement replacement("_beginthreadex", reinterpret_cast<void*>(failingThread));
    CHECK(run.session.repeat().result == -1);
    CHECK(run.session.image() == run.before);
    CHECK(FindWindowW(L"#32770", L"Lucent Veil - Applying...") == nullptr);
}
