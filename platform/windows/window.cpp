#include "platform/window.h"

#include <windows.h>
// After windows.h, whose types they use.
#include <dwmapi.h>
#include <windowsx.h>

#include "platform/module.h"
#include "platform/windows/activation.h"
#include "platform/windows/placement.h"
#include "platform/windows/window_record.h"

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

// The dialog into which anything can be typed. It must be a wide one: a narrow one puts the text through the
// code page, where a character that it lacks becomes a question mark.
constexpr int kTypingTemplate = 16020;
constexpr INT_PTR kNotMade = -1;

// Of systems from Windows 11 on; headers need not know them.
constexpr DWORD kCornerPreference = 33;
constexpr DWORD kRoundCorners = 2;

// The scale is read once. Newer systems would resize a dialog that comes to a screen with another one, and
// only those can be told not to.
void keepSize(HWND dialog) {
    using SetBehaviour = BOOL(WINAPI*)(HWND, int mask, int values);
    constexpr int kNoResizing = 1;
    const auto set = reinterpret_cast<SetBehaviour>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"user32.dll"), "SetDialogDpiChangeBehavior")));
    if (set) set(dialog, kNoResizing, kNoResizing);
}

HWND handleOf(Window* window) { return window ? window->handle : nullptr; }

INT_PTR answer(HWND dialog, LONG_PTR result) {
    SetWindowLongPtrW(dialog, DWLP_MSGRESULT, result);
    return TRUE;
}

INT_PTR initialise(HWND dialog, Window& window) {
    window.handle = dialog;
    window.hasControls = GetWindow(dialog, GW_CHILD) != nullptr;
    SetWindowLongPtrW(dialog, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&window));
    keepSize(dialog);
    // A paint covers the whole client area. It must not go over an edit box, whose caret would suffer.
    SetWindowLongPtrW(dialog, GWL_STYLE, GetWindowLongPtrW(dialog, GWL_STYLE) | WS_CLIPCHILDREN);
    const bool systemPlacesFocus = deliver(window, {.kind = Kind::initialise});
    if (!systemPlacesFocus || window.hasControls) return systemPlacesFocus;
    // The system would look for a control to give it to.
    if (window.handle) SetFocus(window.handle);
    return FALSE;
}

INT_PTR hitTest(HWND dialog, Window& window, LPARAM lParam) {
    POINT point{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ScreenToClient(dialog, &point);
    const bool moves = deliver(window, {.kind = Kind::hitTest, .point = {point.x, point.y}});
    return answer(dialog, moves ? HTCAPTION : HTCLIENT);
}

INT_PTR command(Window& window, WPARAM wParam, LPARAM lParam) {
    const HWND control = reinterpret_cast<HWND>(lParam);
    if (HIWORD(wParam) == EN_CHANGE && isPlainEditBox(window, control))
        return deliver(window, {.kind = Kind::editChanged});
    if (LOWORD(wParam) == IDOK) return deliver(window, {.kind = Kind::command, .command = Command::ok});
    if (LOWORD(wParam) == IDCANCEL)
        return deliver(window, {.kind = Kind::command, .command = Command::cancel});
    return FALSE;
}

// Of a dialog without controls, whose focus is its own. The dialog manager would give it to the edit box,
// even to a hidden one.
INT_PTR keepFocus(HWND dialog, UINT message, WPARAM wParam) {
    if (message == WM_GETDLGCODE) return answer(dialog, DLGC_WANTARROWS | DLGC_WANTTAB);
    if (message == WM_ACTIVATE && LOWORD(wParam) != WA_INACTIVE) SetFocus(dialog);
    return TRUE;
}

INT_PTR CALLBACK dialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) return initialise(dialog, *reinterpret_cast<Window*>(lParam));
    Window* const window = recordOf(dialog);
    if (!window || !window->handle) return FALSE;
    switch (message) {
        case WM_DESTROY:
            deliverDestroy(*window);
            return TRUE;
        case WM_PAINT:
            deliverPaint(*window);
            return TRUE;
        case WM_ERASEBKGND:
            return answer(dialog, TRUE);  // the paint covers everything
        case WM_NCHITTEST:
            return hitTest(dialog, *window, lParam);
        case WM_COMMAND:
            return command(*window, wParam, lParam);
        case WM_CTLCOLOREDIT:
            return reinterpret_cast<INT_PTR>(
                colorEditBox(*window, reinterpret_cast<HWND>(lParam), reinterpret_cast<HDC>(wParam)));
        case WM_GETDLGCODE:
        case WM_ACTIVATE:
        case WM_SETFOCUS:
            return window->hasControls ? FALSE : keepFocus(dialog, message, wParam);
        default:
            break;
    }
    const auto input = translateInput(dialog, message, wParam, lParam);
    return input && deliver(*window, *input);
}

}  // namespace

int runModalDialog(int id, void* owner, MessageHandler handler, void* context) {
    const ActivationScope scope;
    Window window;
    window.handler = handler;
    window.context = context;
    window.close = [](HWND dialog) { EndDialog(dialog, kNotMade); };
    const HMODULE module = static_cast<HMODULE>(moduleHandle());
    const HWND parent = static_cast<HWND>(owner);
    const LPARAM parameter = reinterpret_cast<LPARAM>(&window);
    const INT_PTR result = id == kTypingTemplate
                               ? DialogBoxParamW(module, MAKEINTRESOURCEW(id), parent, dialogProc, parameter)
                               : DialogBoxParamA(module, MAKEINTRESOURCEA(id), parent, dialogProc, parameter);
    rethrowFailure(window);
    // A program that is told to quit leaves the loop with what looks like OK.
    return static_cast<int>(window.ended ? result : kNotMade);
}

void endModalDialog(Window* window, int result) {
    const HWND handle = handleOf(window);
    if (!handle) return;
    window->ended = true;
    EndDialog(handle, result);
}

void enableOwner(Window* window) {
    const HWND handle = handleOf(window);
    if (const HWND owner = handle ? GetWindow(handle, GW_OWNER) : nullptr) EnableWindow(owner, TRUE);
}

void reviveOwner(void* nativeWindow) {
    const HWND owner = static_cast<HWND>(nativeWindow);
    if (!IsWindow(owner) || IsWindowEnabled(owner)) return;
    EnableWindow(owner, TRUE);
    SetActiveWindow(owner);
}

void* nativeWindow(Window* window) { return handleOf(window); }

void resizeWindow(Window* window, PixelSize size) {
    if (const HWND handle = handleOf(window))
        SetWindowPos(handle, nullptr, 0, 0, size.width, size.height,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void centreOnOwner(Window* window) {
    if (const HWND handle = handleOf(window)) centreOnOwnersMonitor(handle);
}

void roundCorners(Window* window) {
    if (const HWND handle = handleOf(window))
        DwmSetWindowAttribute(handle, kCornerPreference, &kRoundCorners, sizeof(kRoundCorners));
}

void showWindow(Window* window) {
    if (const HWND handle = handleOf(window)) ShowWindow(handle, SW_SHOW);
}

void fadeIn(Window* window, int durationMs) {
    const HWND handle = handleOf(window);
    if (!handle) return;
    AnimateWindow(handle, static_cast<DWORD>(durationMs), AW_BLEND);
    // The animation draws by messages of its own, which a Direct2D window does not answer.
    RedrawWindow(handle, nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_ALLCHILDREN);
}

void invalidate(Window* window) {
    if (const HWND handle = handleOf(window)) InvalidateRect(handle, nullptr, FALSE);
}

void repaintNow(Window* window) {
    if (const HWND handle = handleOf(window)) UpdateWindow(handle);
}

PixelPoint toScreen(Window* window, PixelPoint point) {
    POINT place{point.x, point.y};
    if (const HWND handle = handleOf(window)) ClientToScreen(handle, &place);
    return {place.x, place.y};
}

void focusWindow(Window* window) {
    if (const HWND handle = handleOf(window)) SetFocus(handle);
}

void startTimer(Window* window, int id, int periodMs) {
    if (const HWND handle = handleOf(window))
        SetTimer(handle, static_cast<UINT_PTR>(id), static_cast<UINT>(periodMs), nullptr);
}

void stopTimer(Window* window, int id) {
    if (const HWND handle = handleOf(window)) KillTimer(handle, static_cast<UINT_PTR>(id));
}

void captureMouse(Window* window) {
    if (const HWND handle = handleOf(window)) SetCapture(handle);
}

void releaseMouse(Window* window) {
    const HWND handle = handleOf(window);
    if (handle && GetCapture() == handle) ReleaseCapture();
}

void trackLeave(Window* window) {
    const HWND handle = handleOf(window);
    if (!handle) return;
    TRACKMOUSEEVENT request{sizeof(request), TME_LEAVE, handle, 0};
    TrackMouseEvent(&request);
}

}  // namespace veil
