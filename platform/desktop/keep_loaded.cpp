#include <dlfcn.h>

#include <QtGlobal>

namespace {

// A host may unload the plug-in at any time, but Qt is not made for it: it leaves memory behind, and clean-up
// for threads that still run. So it stays, as it does in a host that uses it itself.
[[gnu::constructor]] void keepQtLoaded() {
    Dl_info qt{};
    if (dladdr(reinterpret_cast<void*>(&qVersion), &qt))
        dlopen(qt.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace
