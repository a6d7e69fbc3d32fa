#pragma once

// Windows as the dialogs use them: modal dialogs, popups, timers, the mouse. Places and points are device
// pixels of the window's client area unless noted. An operation on a null window does nothing. [one thread,
// that of the windows]

#include <cstdint>
#include <memory>

namespace veil {

struct PixelPoint {
    std::int32_t x = 0, y = 0;
    bool operator==(const PixelPoint&) const = default;
};

/// Right and bottom exclusive.
struct PixelRect {
    std::int32_t left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const PixelRect&) const = default;
};

struct PixelSize {
    std::int32_t width = 0, height = 0;
};

struct Window;  ///< a modal dialog or a popup

enum class Key { other, up, down, left, right, enter, escape };
enum class Command { ok, cancel };  ///< Enter and Escape, where no control wants these keys

/// One event. Fields that a kind does not name are as made here.
struct WindowMessage {
    enum class Kind {
        initialise,     ///< the dialog is made, not shown; the answer: whether the system places the focus
        destroy,        ///< the window goes; the last message
        paint,          ///< between the system's begin and end of a paint
        hitTest,        ///< `point`; handled: the place moves the window and sends no other mouse message
        mouseMove,      ///< `point`, signed: a captured mouse may be outside
        mouseLeave,     ///< once after each trackLeave
        buttonDown,     ///< `point`; of the left button, as are the two below
        buttonUp,       ///< `point`
        doubleClick,    ///< `point`; takes the place of the second buttonDown
        captureLost,    ///< `captureIsOwn`: it went to this very window
        timer,          ///< `timer`
        key,            ///< `key`: pressed while the window itself has the focus
        command,        ///< `command`
        editKey,        ///< `key`: pressed in a filtered edit box; handled: the box does not get it
        editCharacter,  ///< `character`: typed in a filtered edit box; handled: the box does not get it
        editFocusLost,  ///< of a filtered edit box
        editChanged,    ///< the text of an unfiltered edit box, by whatever way
    };
    Kind kind;
    PixelPoint point{};
    Key key = Key::other;
    Command command = Command::ok;
    int timer = 0;
    wchar_t character = 0;
    bool captureIsOwn = false;
};

/// Answers whether the message was handled. What it throws ends its window and leaves where the window's
/// loop was entered.
using MessageHandler = bool (*)(void* context, Window* window, const WindowMessage& message);

/// Runs the modal dialog of template `id` (16010, 16020) over `owner`, a native window or null, which is
/// disabled meanwhile; returns what endModalDialog was given, another number than 1 and 2 if nobody ended it
/// or it can't be made. The template's size stands only until the handler sets another.
int runModalDialog(int id, void* owner, MessageHandler handler, void* context);
/// The loop ends after the current message, then the window goes.
void endModalDialog(Window* window, int result);
/// Enables the window's owner, if there is one: before endModalDialog, so that the focus goes back to it.
void enableOwner(Window* window);
/// Enables a window of the host that was left disabled and makes it active; null or an enabled one stays.
void reviveOwner(void* nativeWindow);

/// A borderless window above all others, with its top left corner at a point of the screen, hidden; null if
/// it can't be made. It is freed by destroyPopup.
Window* createPopup(void* owner, PixelPoint onScreen, PixelSize size, MessageHandler handler, void* context);
/// Shows the popup without making it active; the mouse is captured from here on.
void showPopup(Window* popup);
/// Handles the popup's messages, and the keys that its owner would get, until `done` or until the popup is
/// closed; everything else waits. Leaves the loop on the end of the program as well.
void runPopup(Window* popup, const bool& done);
/// The window goes, with the capture.
void closePopup(Window* popup);
/// Releases the capture if the popup still has it, closes it if it is open, and frees the record.
void destroyPopup(Window* popup);
struct PopupReleaser {
    void operator()(Window* popup) const { destroyPopup(popup); }
};
using PopupHolder = std::unique_ptr<Window, PopupReleaser>;

/// What createWindowRenderTarget, windowScale and the owner of another window take.
void* nativeWindow(Window* window);

void resizeWindow(Window* window, PixelSize size);
/// In the middle of the work area of the monitor that is nearest to the owner, or to the window if it has
/// none; left where it is if that is unknown.
void centreOnOwner(Window* window);
/// Asks for rounded corners; where the system has none, nothing happens.
void roundCorners(Window* window);
void showWindow(Window* window);
/// Fades the window in and returns when that is done.
void fadeIn(Window* window, int durationMs);
/// A paint will follow, of the whole client area.
void invalidate(Window* window);
/// Paints at once, if a paint is due.
void repaintNow(Window* window);
PixelPoint toScreen(Window* window, PixelPoint point);
void focusWindow(Window* window);

void startTimer(Window* window, int id, int periodMs);
void stopTimer(Window* window, int id);
/// Mouse messages come to the window wherever the mouse is.
void captureMouse(Window* window);
void releaseMouse(Window* window);
/// Asks for one mouseLeave.
void trackLeave(Window* window);

}  // namespace veil
