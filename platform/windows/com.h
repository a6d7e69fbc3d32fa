#pragma once

// Owning references to the system's COM objects, and COM itself.

#include <objbase.h>

#include <memory>

namespace veil {

struct ComRelease {
    template <class T>
    void operator()(T* object) const {
        object->Release();
    }
};
template <class T>
using ComHolder = std::unique_ptr<T, ComRelease>;

/// What `create`, called with a T**, stores there; null if its result tells of a failure.
template <class T, class Create>
ComHolder<T> makeCom(Create create) {
    T* object = nullptr;
    if (FAILED(create(&object))) return nullptr;
    return ComHolder<T>(object);
}

/// COM is on for this thread while this lives, and afterwards as it was before. On a thread that is in
/// another apartment already it stays so, and COM works all the same.
class ComScope {
  public:
    ComScope() : entered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~ComScope() {
        if (entered_) CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

  private:
    const bool entered_;
};

}  // namespace veil
