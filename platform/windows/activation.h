#pragma once

// The module's activation context: windows and classes are made inside it, so that the module's own manifest
// counts there, whatever the host program has active.

#include <windows.h>

namespace veil {

/// The module's context is active while this lives. Without a manifest in the module the current one stays.
class ActivationScope {
  public:
    ActivationScope();
    ~ActivationScope();
    ActivationScope(const ActivationScope&) = delete;
    ActivationScope& operator=(const ActivationScope&) = delete;

  private:
    ULONG_PTR cookie_ = 0;
    bool active_ = false;
};

}  // namespace veil
