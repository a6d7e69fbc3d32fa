#include "dialog/run_main_dialog.h"

#include "dialog/input.h"
#include "dialog/state.h"
#include "host/host_support.h"
#include "platform/window.h"

namespace veil {

namespace {

constexpr int kTemplate = 16010;

// The host's window takes the user's input again, whichever way the dialog ended.
struct OwnerScope {
    void* owner = ownerWindow();

    OwnerScope() = default;
    OwnerScope(const OwnerScope&) = delete;
    OwnerScope& operator=(const OwnerScope&) = delete;
    ~OwnerScope() { reviveOwner(owner); }
};

}  // namespace

bool runMainDialog() {
    MainDialogState dialog;
    const OwnerScope scope;
    if (runModalDialog(kTemplate, scope.owner, handleMainDialogMessage, &dialog) != kConfirmed) return false;
    makeHostForgetPreview(dialog.preview, dialog.params);
    return true;
}

}  // namespace veil
