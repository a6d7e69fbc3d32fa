#include "platform/window.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "platform/edit_box.h"
#include "platform/recording/recorder.h"

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

// What the handler throws waits for the window's loop.
bool dispatch(Window* window, const WindowMessage& message) try {
    if (message.kind == Kind::paint) window->paintDue = false;
    return window->handler(window->context, window, message);
} catch (...) {
    if (!window->thrown) window->thrown = std::current_exception();
    window->ended = true;
    return false;
}

void giveCapture(Window* window) {
    Window* const last = std::exchange(script().capture, window);
    if (last) dispatch(last, {.kind = Kind::captureLost, .captureIsOwn = last == window});
}

void moveFocus(Window* window, EditBox* box) {
    if (!window) return;
    EditBox* const last = std::exchange(window->focusedBox, box);
    if (last && last != box && last->filtered) dispatch(window, {.kind = Kind::editFocusLost});
}

void close(Window* window) {
    if (!window || !std::exchange(window->open, false)) return;
    releaseMouse(window);
    moveFocus(window, nullptr);
    dispatch(window, {.kind = Kind::destroy});
    for (EditBox& box : script().editBoxes)
        if (box.dialog == window) box.dialog = nullptr;
}

bool isOver(const Window* window) {
    return !window || !window->open || window->ended || (window->done && *window->done);
}

void runScript(Window* window) {
    if (isOver(window) || script().scripts.empty()) return;
    const auto user = std::move(script().scripts.front());
    script().scripts.pop_front();
    user(window);
}

void rethrow(Window* window) {
    if (window->thrown) std::rethrow_exception(std::exchange(window->thrown, nullptr));
}

// The window to change, or one that nobody looks at.
template <class... Numbers>
Window& called(Window* window, const char* call, Numbers... values) {
    static Window nobody{.open = false};
    if (window) recordCall(call, {double(values)...});
    return window ? *window : nobody;
}

template <class... Numbers>
EditBox& called(EditBox* box, const char* call, Numbers... values) {
    static EditBox nobody;
    if (!box || !box->dialog) return nobody;
    recordCall(call, {double(values)...});
    return *box;
}

EditBox* makeEditBox(const EditBox& box) {
    return !box.dialog || script().refusesEditBoxes ? nullptr : &script().editBoxes.emplace_back(box);
}

void changeText(EditBox& box, const std::wstring& text) {
    box.text = text;
    box.allSelected = false;
    if (box.dialog && !box.filtered) dispatch(box.dialog, {.kind = Kind::editChanged});
}

}  // namespace

void recordCall(std::string line, std::initializer_list<double> values) {
    char text[32];
    for (const double value : values) line.append(text, std::snprintf(text, sizeof text, " %.7g", value));
    if (installedRecorder()) installedRecorder()->windowCalls.push_back(line);
}

int runModalDialog(int id, void* owner, MessageHandler handler, void* context) {
    if (script().refusesDialogs) return -1;
    recordCall("runModalDialog", {double(id)});
    Window window{.handler = handler, .context = context, .owner = owner, .id = id};
    {
        const std::unique_ptr<Window, void (*)(Window*)> closing(&window, close);
        window.placesFocus = dispatch(&window, {.kind = Kind::initialise});
        runScript(&window);
    }
    rethrow(&window);
    return window.result;
}
void endModalDialog(Window* window, int result) {
    Window& dialog = called(window, "endModalDialog", result);
    if (!std::exchange(dialog.ended, true)) dialog.result = result;
}
void enableOwner(Window* window) { called(window, "enableOwner"); }
void reviveOwner(void* owner) {
    if (owner) recordCall("reviveOwner");
}

Window* createPopup(void* owner, PixelPoint p, PixelSize size, MessageHandler handler, void* context) {
    if (script().refusesPopups) return nullptr;
    auto popup = std::make_unique<Window>(Window{.handler = handler, .context = context, .owner = owner});
    called(popup.get(), "createPopup", p.x, p.y, size.width, size.height);
    return popup.release();
}
void showPopup(Window* popup) {
    called(popup, "showPopup");
    if (popup) giveCapture(popup);
}
void runPopup(Window* popup, const bool& done) {
    if (!popup) return;
    called(popup, "runPopup").done = &done;
    runScript(popup);
    popup->done = nullptr;
    rethrow(popup);
}
void closePopup(Window* popup) { close(&called(popup, "closePopup")); }
void destroyPopup(Window* popup) {
    called(popup, "destroyPopup");
    releaseMouse(popup);
    close(popup);
    std::default_delete<Window>()(popup);
}

void* nativeWindow(Window* window) { return window; }
void resizeWindow(Window* window, PixelSize s) { called(window, "resizeWindow", s.width, s.height); }
void centreOnOwner(Window* window) { called(window, "centreOnOwner"); }
void roundCorners(Window* window) { called(window, "roundCorners"); }
void showWindow(Window* window) { called(window, "showWindow"); }
void fadeIn(Window* window, int durationMs) { called(window, "fadeIn", durationMs); }
void invalidate(Window* window) { called(window, "invalidate").paintDue = true; }
void repaintNow(Window* window) {
    called(window, "repaintNow");
    if (window && window->paintDue) dispatch(window, {.kind = Kind::paint});
}
PixelPoint toScreen(Window*, PixelPoint point) {
    return {point.x + script().screenOrigin.x, point.y + script().screenOrigin.y};
}
void focusWindow(Window* window) { moveFocus(&called(window, "focusWindow"), nullptr); }

void startTimer(Window* window, int id, int ms) { called(window, "startTimer", id, ms).timers.insert(id); }
void stopTimer(Window* window, int id) { called(window, "stopTimer", id).timers.erase(id); }
void captureMouse(Window* window) {
    called(window, "captureMouse");
    if (window) giveCapture(window);
}
void releaseMouse(Window* window) {
    if (!window || script().capture != window) return;
    called(window, "releaseMouse");
    giveCapture(nullptr);
}
void trackLeave(Window* window) { called(window, "trackLeave"); }

EditBox* createFilteredEditBox(Window* dialog, int emPx, int weight, const EditColors& colors) {
    called(dialog, "createFilteredEditBox", emPx, weight);
    return makeEditBox({.dialog = dialog, .filtered = true, .colors = colors});
}
EditBox* templateEditBox(Window* dialog, int control, const EditColors& colors) {
    called(dialog, "templateEditBox", control);
    return makeEditBox({.dialog = dialog, .colors = colors, .visible = true});
}
void placeEditBox(EditBox* box, const PixelRect& r) {
    called(box, "placeEditBox", r.left, r.top, r.right, r.bottom).rect = r;
}
PixelRect editBoxRect(EditBox* box) { return box ? box->rect : PixelRect{}; }
void showEditBox(EditBox* box) { called(box, "showEditBox").visible = true; }
void hideEditBox(EditBox* box) {
    called(box, "hideEditBox").visible = false;
    if (box && box->dialog && box->dialog->focusedBox == box) moveFocus(box->dialog, nullptr);
}
void focusEditBox(EditBox* box) { moveFocus(called(box, "focusEditBox").dialog, box); }
void disableInputMethod(EditBox* box) { called(box, "disableInputMethod"); }
void setEditText(EditBox* box, const wchar_t* text) { changeText(called(box, "setEditText"), text); }
std::wstring editText(EditBox* box, int maxUnits) {
    return box ? box->text.substr(0, static_cast<std::size_t>(maxUnits)) : std::wstring();
}
void selectAll(EditBox* box) { called(box, "selectAll").allSelected = true; }

bool send(Window* window, const WindowMessage& message) {
    if (isOver(window)) return false;
    const bool handled = dispatch(window, message);
    if (window->ended) close(window);
    return handled;
}
PixelPoint pixelOf(int xDip, int yDip) {
    const auto pixel = [](int dip) { return std::int32_t(std::ceil(float(dip) * script().scale)); };
    return {pixel(xDip), pixel(yDip)};
}
void moveTo(Window* window, int xDip, int yDip) {
    send(window, {.kind = Kind::mouseMove, .point = pixelOf(xDip, yDip)});
}
void clickAt(Window* window, int xDip, int yDip) {
    const PixelPoint point = pixelOf(xDip, yDip);
    if (send(window, {.kind = Kind::hitTest, .point = point})) return;
    for (const Kind kind : {Kind::mouseMove, Kind::buttonDown, Kind::buttonUp})
        send(window, {.kind = kind, .point = point});
}
bool fireTimer(Window* window, int id) {
    if (isOver(window) || !window->timers.contains(id)) return false;
    send(window, {.kind = Kind::timer, .timer = id});
    return true;
}
void takeCapture() { giveCapture(nullptr); }

void typeKey(EditBox* box, Key key) {
    if (box->filtered)
        send(box->dialog, {.kind = Kind::editKey, .key = key});
    else if (key == Key::enter || key == Key::escape)
        send(box->dialog,
             {.kind = Kind::command, .command = key == Key::enter ? Command::ok : Command::cancel});
}
void typeCharacter(EditBox* box, wchar_t character) {
    if (box->filtered && send(box->dialog, {.kind = Kind::editCharacter, .character = character})) return;
    std::wstring text = box->allSelected ? L"" : box->text;
    if (character != L'\b')
        text += character;
    else if (!text.empty())
        text.pop_back();
    changeText(*box, text);
}
void pasteText(EditBox* box, const std::wstring& text) {
    changeText(*box, (box->allSelected ? L"" : box->text) + text);
}

}  // namespace veil
