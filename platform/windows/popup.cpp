#include <windows.h>

#include <cstdio>

#include "platform/module.h"
#include "platform/windows/activation.h"
#include "platform/windows/window_record.h"

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

LRESULT CALLBACK popupProc(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* const popup = static_cast<Window*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        popup->handle = handle;
        SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(popup));
    }
    Window* const popup = recordOf(handle);
    if (!popup || !popup->handle) return DefWindowProcW(handle, message, wParam, lParam);
    switch (message) {
        case WM_ERASEBKGND:
            return TRUE;  // the paint covers everything
        case WM_PAINT:
            deliverPaint(*popup);
            return 0;
        case WM_MOUSEACTIVATE:
            return MA_NOACTIVATE;
        case WM_DESTROY:
            deliverDestroy(*popup);
            return 0;
        default:
            break;
    }
    const auto input = translateInput(handle, message, wParam, lParam);
    if (input && deliver(*popup, *input)) return 0;
    return DefWindowProcW(handle, message, wParam, lParam);
}

// The class of all popups. The module takes it along when it is unloaded: another copy may be loaded at the
// same address, and would find a class of this name whose procedure is gone.
struct PopupClass {
    wchar_t name[64];

    PopupClass() {
        // Each copy of the module in a process needs a name of its own.
        std::swprintf(name, std::size(name), L"GlowVeilComboPopup_%p", moduleHandle());
        WNDCLASSW description{};
        description.style = CS_DBLCLKS;
        description.lpfnWndProc = popupProc;
        description.hInstance = static_cast<HMODULE>(moduleHandle());
        description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        description.lpszClassName = name;
        RegisterClassW(&description);
    }
    ~PopupClass() { UnregisterClassW(name, static_cast<HMODULE>(moduleHandle())); }
    PopupClass(const PopupClass&) = delete;
    PopupClass& operator=(const PopupClass&) = delete;
};

const wchar_t* popupClass() {
    static const PopupClass registered;
    return registered.name;
}

// A message that comes between two looks into the queue wakes no wait after them, so no wait lasts long.
constexpr DWORD kLookAgainMs = 50;

// Whether there was a message for the popup. The active window stays its owner, so keys come there: a key
// that goes down is given to the popup, the rest of the keyboard's messages are dropped.
bool takeMessage(HWND popup, MSG& message) {
    if (PeekMessageW(&message, popup, 0, 0, PM_REMOVE)) return true;
    const HWND owner = GetWindow(popup, GW_OWNER);
    while (owner && PeekMessageW(&message, owner, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE)) {
        if (message.message == WM_QUIT) return true;  // it passes every filter
        if (message.message != WM_KEYDOWN) continue;
        message.hwnd = popup;
        return true;
    }
    return false;
}

}  // namespace

Window* createPopup(void* owner, PixelPoint onScreen, PixelSize size, MessageHandler handler, void* context) {
    const ActivationScope scope;
    auto popup = std::make_unique<Window>();
    popup->handler = handler;
    popup->context = context;
    popup->close = [](HWND handle) { DestroyWindow(handle); };
    const HWND handle = CreateWindowExW(
        WS_EX_TOPMOST | WS_EX_TOOLWINDOW, popupClass(), L"", WS_POPUP, onScreen.x, onScreen.y, size.width,
        size.height, static_cast<HWND>(owner), nullptr, static_cast<HMODULE>(moduleHandle()), popup.get());
    return handle ? popup.release() : nullptr;
}

void showPopup(Window* popup) {
    if (!popup || !popup->handle) return;
    ShowWindow(popup->handle, SW_SHOWNOACTIVATE);
    // A handler that failed in its first paint has closed the window.
    if (popup->handle) SetCapture(popup->handle);
}

void runPopup(Window* popup, const bool& done) {
    if (!popup) return;
    while (!done && popup->handle) {
        MSG message;
        if (!takeMessage(popup->handle, message)) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, kLookAgainMs, QS_ALLINPUT);
            continue;
        }
        if (message.message == WM_QUIT) {
            PostQuitMessage(static_cast<int>(message.wParam));  // the outer loops end as well
            break;
        }
        DispatchMessageW(&message);
    }
    rethrowFailure(*popup);
}

void closePopup(Window* popup) {
    if (popup && popup->handle) DestroyWindow(popup->handle);
}

void destroyPopup(Window* popup) {
    const std::unique_ptr<Window> owner(popup);
    releaseMouse(popup);
    closePopup(popup);
}

}  // namespace veil
