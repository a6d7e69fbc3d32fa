// The compiler's thread library takes slots of thread-local storage at its first use and never gives them
// back. Hosts load and unload a plug-in as often as they like, and a process has about a thousand slots for
// everybody. So its calls for a slot come through here, and the library's unloading returns them.

#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>

namespace {

class ThreadSlots {
  public:
    ~ThreadSlots() {
        for (std::size_t i = 0; i < count_ && i < slots_.size(); ++i) TlsFree(slots_[i]);
    }
    void remember(DWORD slot) {
        const std::size_t place = count_.fetch_add(1);
        if (place < slots_.size()) slots_[place] = slot;
    }

  private:
    std::array<DWORD, 16> slots_{};  // it takes two
    std::atomic<std::size_t> count_{0};
};

// Made first and so destroyed last, after everything that still uses a slot.
__attribute__((init_priority(101))) ThreadSlots gThreadSlots;

DWORD WINAPI takeThreadSlot() {
    using TlsAllocProc = DWORD(WINAPI*)();
    // The import of this name is what is replaced, so the system's own is asked for. No static local: its
    // guard would need the thread library, which is just asking for its first slot.
    const FARPROC system = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "TlsAlloc");
    const DWORD slot = reinterpret_cast<TlsAllocProc>(reinterpret_cast<void*>(system))();
    if (slot != TLS_OUT_OF_INDEXES) gThreadSlots.remember(slot);
    return slot;
}

}  // namespace

// The pointer through which imported calls go; this definition keeps the linker from importing the function.
extern "C" {
DWORD(WINAPI* __imp_TlsAlloc)() = takeThreadSlot;
}
