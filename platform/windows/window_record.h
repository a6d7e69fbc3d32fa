#pragma once

// The records behind the seam's windows, and the way from the system's messages to their handlers.

#include <windows.h>

#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "platform/edit_box.h"
#include "platform/window.h"

namespace veil {

struct GdiDelete {
    void operator()(void* object) const { DeleteObject(object); }
};
using GdiHolder = std::unique_ptr<void, GdiDelete>;

struct EditBox {
    HWND handle = nullptr;
    Window* dialog = nullptr;
    WNDPROC original = nullptr;  ///< of a filtered box: what filters stand before
    COLORREF text = 0, background = 0;
    GdiHolder brush;  ///< of the background, made at the first use
    GdiHolder font;
};

/// Lives as long as its system window at least.
struct Window {
    HWND handle = nullptr;  ///< null before the window is there and from its last message on
    MessageHandler handler = nullptr;
    void* context = nullptr;
    void (*close)(HWND handle) = nullptr;  ///< after an exception
    bool hasControls = false;              ///< its template brought some
    bool ended = false;                    ///< by endModalDialog
    std::exception_ptr failure;            ///< what the handler threw first
    std::vector<std::unique_ptr<EditBox>> boxes;
};

/// The record that the window's long data holds; null if it holds none yet.
Window* recordOf(HWND handle);

/// The handler's answer. An exception is kept, the window is closed, and from then on the handler gets
/// nothing but the last message.
bool deliver(Window& window, const WindowMessage& message);
/// The last message. From here on operations on the window do nothing.
void deliverDestroy(Window& window);
/// What the handler threw, once the system is not on the stack any more.
void rethrowFailure(Window& window);

Key keyOf(WPARAM virtualKey);
/// The messages of mouse, keys and timers, which are the same for dialogs and popups.
std::optional<WindowMessage> translateInput(HWND handle, UINT message, WPARAM wParam, LPARAM lParam);
/// A paint from begin to end.
void deliverPaint(Window& window);

/// The brush and colours for a box of the window; null if `control` is none of its boxes.
HBRUSH colorEditBox(Window& window, HWND control, HDC context);
/// Whether `control` is an unfiltered box of the window.
bool isPlainEditBox(const Window& window, HWND control);

}  // namespace veil
