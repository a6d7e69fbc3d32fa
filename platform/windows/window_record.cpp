#include "platform/windows/window_record.h"

// After windows.h, whose types it uses.
#include <windowsx.h>

#include <utility>

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

WindowMessage atPoint(Kind kind, LPARAM lParam) {
    return {.kind = kind, .point = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)}};
}

// Nothing may leave a window procedure, so whatever the handler throws ends here.
bool callHandler(Window& window, const WindowMessage& message, std::exception_ptr& thrown) noexcept {
    try {
        return window.handler(window.context, &window, message);
    } catch (...) {
        thrown = std::current_exception();
        return false;
    }
}

}  // namespace

Window* recordOf(HWND handle) { return reinterpret_cast<Window*>(GetWindowLongPtrW(handle, GWLP_USERDATA)); }

bool deliver(Window& window, const WindowMessage& message) {
    if (!window.handle || window.failure) return false;
    std::exception_ptr thrown;
    const bool handled = callHandler(window, message, thrown);
    if (!thrown) return handled;
    // A handler that was called meanwhile, from inside this one, may have failed before it.
    if (!window.failure) window.failure = std::move(thrown);
    if (window.handle) window.close(window.handle);
    return false;
}

void deliverDestroy(Window& window) {
    if (!window.handle) return;
    std::exception_ptr thrown;
    callHandler(window, {.kind = Kind::destroy}, thrown);
    if (thrown && !window.failure) window.failure = std::move(thrown);
    window.handle = nullptr;
}

void rethrowFailure(Window& window) {
    if (window.failure) std::rethrow_exception(std::exchange(window.failure, nullptr));
}

Key keyOf(WPARAM virtualKey) {
    switch (virtualKey) {
        case VK_UP:
            return Key::up;
        case VK_DOWN:
            return Key::down;
        case VK_LEFT:
            return Key::left;
        case VK_RIGHT:
            return Key::right;
        case VK_RETURN:
            return Key::enter;
        case VK_ESCAPE:
            return Key::escape;
        default:
            return Key::other;
    }
}

std::optional<WindowMessage> translateInput(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_MOUSEMOVE:
            return atPoint(Kind::mouseMove, lParam);
        case WM_MOUSELEAVE:
            return WindowMessage{.kind = Kind::mouseLeave};
        case WM_LBUTTONDOWN:
            return atPoint(Kind::buttonDown, lParam);
        case WM_LBUTTONUP:
            return atPoint(Kind::buttonUp, lParam);
        case WM_LBUTTONDBLCLK:
            return atPoint(Kind::doubleClick, lParam);
        case WM_CAPTURECHANGED:
            return WindowMessage{.kind = Kind::captureLost,
                                 .captureIsOwn = reinterpret_cast<HWND>(lParam) == handle};
        case WM_TIMER:
            return WindowMessage{.kind = Kind::timer, .timer = static_cast<int>(wParam)};
        case WM_KEYDOWN:
            return WindowMessage{.kind = Kind::key, .key = keyOf(wParam)};
        default:
            return std::nullopt;
    }
}

void deliverPaint(Window& window) {
    const HWND handle = window.handle;
    PAINTSTRUCT paint;
    BeginPaint(handle, &paint);
    deliver(window, {.kind = Kind::paint});
    EndPaint(handle, &paint);
}

}  // namespace veil
