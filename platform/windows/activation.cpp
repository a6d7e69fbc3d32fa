#include "platform/windows/activation.h"

#include "platform/module.h"

namespace veil {

namespace {

constexpr int kManifestId = 2;

struct ModuleContext {
    HANDLE handle;
    ~ModuleContext() {
        if (handle != INVALID_HANDLE_VALUE) ReleaseActCtx(handle);
    }
};

// Made at the first use and kept for the life of the module.
HANDLE moduleContext() {
    static const ModuleContext context{[] {
        ACTCTXW description{};
        description.cbSize = sizeof(description);
        description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
        description.hModule = static_cast<HMODULE>(moduleHandle());
        description.lpResourceName = MAKEINTRESOURCEW(kManifestId);
        return CreateActCtxW(&description);
    }()};
    return context.handle;
}

}  // namespace

ActivationScope::ActivationScope() {
    const HANDLE context = moduleContext();
    active_ = context != INVALID_HANDLE_VALUE && ActivateActCtx(context, &cookie_);
}

ActivationScope::~ActivationScope() {
    if (active_) DeactivateActCtx(0, cookie_);
}

}  // namespace veil
