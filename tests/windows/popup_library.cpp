// A library that opens a popup and closes it by Escape, as the plug-in does with its list.

#include <windows.h>

#include "platform/window.h"

/// Whether Escape arrived. `className` gets the popup's, at most 64 units with the zero.
extern "C" __declspec(dllexport) bool openPopup(wchar_t* className) {
    bool done = false;
    const veil::PopupHolder popup(veil::createPopup(
        nullptr, {10, 10}, {20, 20},
        [](void* context, veil::Window*, const veil::WindowMessage& message) {
            if (message.key == veil::Key::escape) *static_cast<bool*>(context) = true;
            return false;
        },
        &done));
    const HWND handle = static_cast<HWND>(veil::nativeWindow(popup.get()));
    if (!handle) return false;
    GetClassNameW(handle, className, 64);
    PostMessageW(handle, WM_KEYDOWN, VK_ESCAPE, 0);
    veil::showPopup(popup.get());
    veil::runPopup(popup.get(), done);
    return done;
}
