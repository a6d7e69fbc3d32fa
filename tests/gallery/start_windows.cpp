#include <windows.h>

#include "tests/gallery/start.h"

namespace gallery {

void startPlatform() {}

bool paintsSmoothly() {
    // Wine's Direct2D does not soften edges, and its DirectWrite ignores the clip option.
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return !system || !GetProcAddress(system, "wine_get_version");
}

}  // namespace gallery
