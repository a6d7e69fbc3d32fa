#include "platform/module.h"

#include <windows.h>

namespace {
HMODULE gModule = nullptr;
}

namespace veil {

void* moduleHandle() { return gModule; }

}  // namespace veil

// Hosts load the library only to read its resources, so nothing else may happen here.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) gModule = module;
    return TRUE;
}
