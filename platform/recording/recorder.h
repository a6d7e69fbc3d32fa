#pragma once

// The platform without a screen: windows can't be opened, unless a test installs a recorder, which then lists
// the calls and answers them from a script.

#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <list>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/drawing.h"
#include "platform/edit_box.h"
#include "platform/window.h"

namespace veil {

/// One call to the progress window.
struct RecordedCall {
    enum class Kind { create, text, bar, show, pump, destroy };
    Kind kind;
    std::wstring text;                       ///< of `text`
    std::int32_t position = 0, maximum = 0;  ///< of `bar`
    void* owner = nullptr;                   ///< of `create`
};

/// Paints with `first` alone, or with a gradient from there to `last`.
struct Brush {
    Color first{}, last{};
    bool isGradient = false;
    PointF start{}, end{};  ///< of a gradient
};

struct TextFormat {
    std::wstring family{};
    float size = 0.0f;
    int weight = 0;
    bool operator==(const TextFormat&) const = default;
};

/// One draw that had all that it needs; a draw without its brush, text, format or bitmap leaves no trace.
struct RecordedDraw {
    std::string_view call;         ///< the name of the function
    std::vector<PointF> points{};  ///< of a rectangle: top left, bottom right; of an ellipse: the centre
    PointF radius{};               ///< of round rectangles and ellipses, on both axes
    float strokeWidth = 0.0f;      ///< of strokes and lines
    std::wstring text{};           ///< of text, as are the three below
    TextFormat font{};
    TextAlign align{};
    ParagraphAlign paragraph{};
    int bannerId = 0;    ///< of drawBitmap: the banner's resource, 0 for a preview
    SizeF bitmapSize{};  ///< of drawBitmap
    Brush paint{};       ///< of all but beginDraw, endDraw and drawBitmap
};

/// A dialog or a popup. A dialog's record goes when runModalDialog returns.
struct Window {
    MessageHandler handler = nullptr;
    void* context = nullptr;
    void* owner = nullptr;
    int id = 0;                  ///< the dialog's template, 0 for a popup
    bool placesFocus = false;    ///< the answer to `initialise`
    bool open = true;            ///< until `destroy` is sent
    bool ended = false;          ///< the current message is the last one before `destroy`
    int result = 0;              ///< of a dialog that nobody ends
    const bool* done = nullptr;  ///< of runPopup
    bool paintDue = true;        ///< until the next paint
    std::set<int> timers{};      ///< that run
    EditBox* focusedBox = nullptr;
    std::exception_ptr thrown{};  ///< by the handler, the first one
};

/// Text is typed at the end, or in place of all if all is selected.
struct EditBox {
    Window* dialog = nullptr;  ///< null once it is gone
    bool filtered = false;
    EditColors colors{};
    PixelRect rect{};
    std::wstring text{};
    bool visible = false, allSelected = false;
};

/// The calls in their order, and what is answered. Drawing objects can't be made without a recorder.
struct Recorder {
    std::vector<RecordedCall> calls{};
    std::vector<RecordedDraw> draws{};
    std::vector<const void*> liveBrushes{};
    bool brushesOutOfOrder = false;  ///< one was released that was not the last one made
    SizeF bannerSize{440.0f, 80.0f};
    bool refusesTargets = false, refusesFormats = false, refusesGradients = false, refusesBanners = false;
    int refusedBrush = 0;      ///< the k-th brush from here can't be made; 0: each can
    bool losesTarget = false;  ///< the next endDraw finds the target lost
    bool refusesWindows = false;
    int cancelAtPump = 0;             ///< the k-th look at the messages finds a cancel; 0: none does
    std::uint16_t language = 0x0409;  ///< the display language; read once in the life of a process

    /// The user: taken in order, one for each dialog and each runPopup. A dialog ends when its script
    /// returns.
    std::list<std::function<void(Window*)>> scripts{};
    /// Calls to windows that are not null, and createWindowRenderTarget, createTextFormat and the release of
    /// a window's target: the name and the numbers, "resizeWindow 300 214".
    std::vector<std::string> windowCalls{};
    std::list<EditBox> editBoxes{};      ///< all that were ever made
    Window* capture = nullptr;           ///< who has the mouse
    float scale = 1.0f;                  ///< of every window
    PixelPoint screenOrigin{1000, 500};  ///< of every window's client area
    bool refusesDialogs = false, refusesPopups = false, refusesEditBoxes = false;
    std::vector<std::uint8_t> previewPixels{};  ///< of the last preview bitmap that was made
};

/// Installs `recorder` (null: none). It must outlive its installation.
void installRecorder(Recorder* recorder);
Recorder* installedRecorder();
/// The installed recorder, or one that refuses all.
Recorder& script();
/// Adds to `windowCalls`.
void recordCall(std::string line, std::initializer_list<double> values = {});

// The user's side of a window. Nothing arrives once the window's loop has ended.

/// Answers whether the message was handled.
bool send(Window* window, const WindowMessage& message);
/// The first pixel of a DIP.
PixelPoint pixelOf(int xDip, int yDip);
void moveTo(Window* window, int xDip, int yDip);
/// Moves to the place, presses and releases, unless the place moves the window.
void clickAt(Window* window, int xDip, int yDip);
/// A tick; false if the timer does not run.
bool fireTimer(Window* window, int id);
/// Another window takes the mouse.
void takeCapture();
/// A key in the box that has the focus; Enter and Escape leave an unfiltered box as commands.
void typeKey(EditBox* box, Key key);
/// What a press of `character` types; '\b' erases.
void typeCharacter(EditBox* box, wchar_t character);
/// Passes the filter by.
void pasteText(EditBox* box, const std::wstring& text);

}  // namespace veil
