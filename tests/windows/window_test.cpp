// Dialogs, popups and edit boxes, touched by the system's mouse and keyboard.

#include "platform/window.h"

#include <windows.h>
// After windows.h, whose types it uses.
#include <doctest/doctest.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

#include "platform/edit_box.h"

namespace {

using veil::EditBox, veil::Window, veil::WindowMessage;
using Kind = veil::WindowMessage::Kind;
using Step = std::function<void(Window*)>;

constexpr int kMain = 16010, kSave = 16020, kTick = 3, kTickMs = 60, kCaption = 40;
constexpr veil::EditColors kColors{{224 / 255.0f, 168 / 255.0f, 92 / 255.0f, 1}, {0.5f, 1, 0, 1}};

std::string name(const WindowMessage& message) {
    const char* const kinds[] = {"first",   "last",   "paint",   "hit",     "move",   "leave",
                                 "down",    "up",     "double",  "lost",    "tick",   "key",
                                 "command", "boxKey", "boxChar", "boxLeft", "changed"};
    const char* const keys[] = {"", ":up", ":down", ":left", ":right", ":enter", ":escape"};
    std::string text =
        std::string(" ") + kinds[static_cast<int>(message.kind)] + keys[static_cast<int>(message.key)];
    if (message.kind == Kind::command) text += message.command == veil::Command::ok ? ":ok" : ":cancel";
    if (message.captureIsOwn) text += ":own";
    if (message.character) text += ":" + std::to_string(message.character);
    if (!(message.point == veil::PixelPoint{}))
        text += ":" + std::to_string(message.point.x) + "," + std::to_string(message.point.y);
    return text;
}

// One step at each tick of the window, then its end. What comes as often as the system likes is not logged.
struct Script {
    std::vector<Step> steps;
    Step start = [](Window*) {};
    std::function<bool(const WindowMessage&)> answer = [](const WindowMessage&) { return false; };
    std::string log;
    int paints = 0, moves = 0;
    bool done = false;
    std::size_t next = 0;
};

bool play(void* context, Window* window, const WindowMessage& message) {
    Script& script = *static_cast<Script*>(context);
    const bool isPaint = message.kind == Kind::paint, isMove = message.kind == Kind::mouseMove;
    script.paints += isPaint;
    script.moves += isMove;
    if (!isPaint && !isMove && message.kind != Kind::hitTest && message.kind != Kind::timer)
        script.log += name(message);
    const bool answer = script.answer(message);
    if (message.kind == Kind::hitTest) return message.point.y < kCaption;
    if (message.kind == Kind::initialise) {
        veil::resizeWindow(window, {300, 200});
        veil::centreOnOwner(window);
        veil::roundCorners(window);
        script.start(window);
        veil::showWindow(window);
        veil::startTimer(window, kTick, kTickMs);
        return true;
    }
    if (message.kind != Kind::timer) return answer;
    CHECK(message.timer == kTick);
    script.done = script.next == script.steps.size();
    if (script.done)
        veil::endModalDialog(window, 7);
    else
        script.steps[script.next++](window);
    return true;
}

struct Owner {
    const HWND handle = CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 40, 40, 300,
                                        200, nullptr, nullptr, nullptr, nullptr);
    Owner() { SetFocus(handle); }
    ~Owner() { DestroyWindow(handle); }
};

int run(Script& script, int id = kMain, HWND owner = nullptr) {
    SetCursorPos(1900, 1100);  // away from all windows
    return veil::runModalDialog(id, owner, play, &script);
}

HWND native(Window* window) { return static_cast<HWND>(veil::nativeWindow(window)); }
bool hasFocus(Window* window) { return GetFocus() == native(window); }

Step moveTo(int x, int y) {
    return [=](Window* window) {
        const veil::PixelPoint place = veil::toScreen(window, {x, y});
        SetCursorPos(place.x, place.y);
    };
}

// Down and up; key 0 is the mouse's button.
Step press(std::vector<WORD> keys) {
    return [=](Window*) {
        for (const WORD key : keys)
            for (const bool isUp : {false, true}) {
                INPUT input{};
                input.type = key ? INPUT_KEYBOARD : INPUT_MOUSE;
                if (!key) input.mi.dwFlags = isUp ? MOUSEEVENTF_LEFTUP : MOUSEEVENTF_LEFTDOWN;
                if (key) input.ki = {key, 0, isUp ? KEYEVENTF_KEYUP : DWORD{0}, 0, 0};
                SendInput(1, &input, sizeof(input));
            }
    };
}
const Step kClick = press({0});

}  // namespace

TEST_CASE("a dialog opens in another place, without the focus, or leaves its owner disabled") {
    for (const int id : {kMain, kSave}) {
        INFO(id);
        const Owner owner;
        Script script;
        script.steps = {[&](Window* window) {
            CHECK(IsWindowUnicode(native(window)) == (id == kSave));
            CHECK(GetFocus() == (id == kMain ? native(window) : GetDlgItem(native(window), 2101)));
            CHECK_FALSE(IsWindowEnabled(owner.handle));
            veil::enableOwner(window);
            CHECK(IsWindowEnabled(owner.handle));
            RECT rect, work;
            GetWindowRect(native(window), &rect);
            SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
            CHECK((rect.right - rect.left == 300 && rect.bottom - rect.top == 200));
            CHECK(rect.left == work.left + (work.right - work.left - 300) / 2);
            CHECK(rect.top == work.top + (work.bottom - work.top - 200) / 2);
        }};
        CHECK(run(script, id, owner.handle) == 7);
        CHECK(script.next == 1);
        CHECK(script.paints > 0);
        CHECK(script.log == " first last");
        EnableWindow(owner.handle, FALSE);
        veil::reviveOwner(owner.handle);
        CHECK(IsWindowEnabled(owner.handle));
    }
    Script never;
    CHECK(run(never, 1) == -1);
    CHECK(never.log.empty());
    Script quit;
    quit.steps = {[](Window*) { PostQuitMessage(0); }, [](Window*) {}, [](Window*) {}};
    CHECK(run(quit) == -1);  // to the system it ends with 1, which would be OK
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) continue;
}

TEST_CASE("the mouse arrives twice, elsewhere, or on the caption that moves the window") {
    Script script;
    const Step track = veil::trackLeave;
    const Step awaitLeave = [&](Window*) { script.next -= script.log.find("leave") == std::string::npos; };
    script.steps = {moveTo(50, 100), track, track, press({0, 0}), moveTo(20, 10), awaitLeave, kClick};
    script.steps.insert(script.steps.end(),
                        {moveTo(60, 100), veil::captureMouse, moveTo(-30, -5), kClick, veil::releaseMouse});
    run(script);
    // The capture that is lost first is the one of the system's own moving.
    CHECK(script.log ==
          " first down:50,100 up:50,100 double:50,100 up:50,100 leave lost down:-30,-5 up:-30,-5 lost last");
    CHECK(script.moves >= 3);
}

TEST_CASE("the dialog manager keeps arrows or Tab to itself, or Enter and Escape do not arrive as commands") {
    Script script;
    script.start = [](Window* window) { veil::createFilteredEditBox(window, 17, 600, kColors); };
    script.steps = {press({VK_UP, VK_DOWN, VK_LEFT, VK_RIGHT, VK_TAB, VK_RETURN, VK_ESCAPE})};
    run(script);
    CHECK(script.log == " first key:up key:down key:left key:right key command:ok command:cancel last");
}

TEST_CASE("a filtered box takes what was refused, loses Enter or Escape, or keeps the focus when hidden") {
    const Owner owner;
    Script script;
    EditBox* box = nullptr;
    const Step open = [&](Window*) {
        veil::showEditBox(box);
        veil::focusEditBox(box);
    };
    script.start = [&](Window* window) {
        box = veil::createFilteredEditBox(window, 17, 600, kColors);
        veil::placeEditBox(box, {100, 60, 180, 84});
        veil::setEditText(box, L"45");
        veil::selectAll(box);
    };
    script.answer = [](const WindowMessage& message) {
        return message.character == L'x' || message.character == VK_ESCAPE || message.key == veil::Key::up;
    };
    const Step look = [&](Window* window) {
        CHECK(veil::editBoxRect(box) == veil::PixelRect{100, 60, 180, 84});
        CHECK(veil::editText(box, 9) == L"12");
        CHECK(veil::editText(box, 1) == L"1");
        const HDC context = GetDC(nullptr);
        const LRESULT brush = SendMessageW(native(window), WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(context),
                                           reinterpret_cast<LPARAM>(GetFocus()));
        LOGBRUSH ground{};
        GetObjectW(reinterpret_cast<HBRUSH>(brush), sizeof(ground), &ground);
        CHECK(ground.lbColor == RGB(128, 255, 0));
        CHECK(GetBkColor(context) == RGB(128, 255, 0));
        CHECK(GetTextColor(context) == RGB(224, 168, 92));
        ReleaseDC(nullptr, context);
    };
    const Step leaveAndReturn = [&](Window* window) {
        SetActiveWindow(owner.handle);
        veil::hideEditBox(box);
        SetActiveWindow(native(window));
        CHECK(hasFocus(window));
        open(window);
        veil::hideEditBox(box);
        CHECK(hasFocus(window));
    };
    script.steps = {open, press({'1', 'X', '2', VK_UP, VK_RETURN, VK_ESCAPE}), look, leaveAndReturn};
    run(script);
    CHECK(script.log ==
          " first boxKey boxChar:49 boxKey boxChar:120 boxKey boxChar:50 boxKey:up boxKey:enter boxChar:13"
          " boxKey:escape boxChar:27 boxLeft boxLeft last");
}

TEST_CASE("the name's box loses characters to the code page, or its dialog does not hear of a change") {
    Script script;
    EditBox* box = nullptr;
    script.start = [&](Window* window) {
        CHECK(veil::templateEditBox(window, 2100, kColors) == nullptr);
        box = veil::templateEditBox(window, 2101, kColors);
        veil::disableInputMethod(box);
    };
    script.steps = {[](Window*) { PostMessageW(GetFocus(), WM_CHAR, L'\u65E5', 1); }, press({'Z', VK_RETURN}),
                    [&](Window*) { CHECK(veil::editText(box, 127) == L"\u65E5z"); }};
    run(script, kSave);
    CHECK(script.log == " first changed changed command:ok last");
}

TEST_CASE("what a handler throws is lost, or leaves the window or a disabled owner behind") {
    for (const Kind kind : {Kind::initialise, Kind::paint, Kind::hitTest, Kind::timer, Kind::command,
                            Kind::captureLost, Kind::destroy}) {
        INFO(name({.kind = kind}));
        const Owner owner;
        Script script;
        script.steps = {moveTo(60, 60), press({VK_RETURN}), veil::captureMouse, veil::releaseMouse};
        script.answer = [&](const WindowMessage& m) {
            return m.kind == kind ? throw std::bad_alloc() : false;
        };
        CHECK_THROWS_AS(run(script, kMain, owner.handle), std::bad_alloc);
        CHECK(script.log.ends_with(" last"));
        CHECK(FindWindowW(L"#32770", nullptr) == nullptr);
        CHECK(IsWindowEnabled(owner.handle));
    }
}

TEST_CASE("a popup does not end, takes more than its own, or loses the end of the program") {
    struct Way {
        const char* name;
        std::vector<Step> steps;
        const char* log;
        bool throws = false, quits = false;
    };
    const Owner owner;
    const Step close = veil::closePopup;
    const Step destroy = [](Window* popup) { DestroyWindow(native(popup)); };
    const Step takeCapture = [&](Window*) { SetCapture(owner.handle); };
    const Step fail = [](Window*) { throw std::bad_alloc(); };
    const Step quit = [](Window*) { PostQuitMessage(5); };
    const Way ways[] = {{"done", {}, " lost last"},
                        {"closed", {close}, " last"},
                        {"destroyed", {destroy}, " last"},
                        {"keys", {press({'A', VK_MENU, VK_ESCAPE}), close}, " key key:escape last"},
                        {"outside", {moveTo(-50, 30), kClick, close}, " down:-50,30 up:-50,30 last"},
                        {"inside", {moveTo(50, 30), kClick, close}, " down:50,30 up:50,30 last"},
                        {"capture", {veil::captureMouse, takeCapture, close}, " lost:own lost last"},
                        {"throws", {fail}, " last", true},
                        {"quit", {quit}, " lost last", false, true}};
    for (const Way& way : ways) {
        INFO(way.name);
        SetCursorPos(1900, 1100);
        PostMessageW(owner.handle, WM_APP + 7, 0, 0);
        Script script;
        script.steps = way.steps;
        veil::PopupHolder popup(veil::createPopup(owner.handle, {400, 300}, {120, 80}, play, &script));
        veil::startTimer(popup.get(), kTick, kTickMs);
        veil::showPopup(popup.get());
        CHECK((popup && GetCapture() == native(popup.get())));
        if (way.throws)
            CHECK_THROWS_AS(veil::runPopup(popup.get(), script.done), std::bad_alloc);
        else
            veil::runPopup(popup.get(), script.done);
        CHECK(GetFocus() == owner.handle);
        popup.reset();
        CHECK(script.log == way.log);
        CHECK(script.paints > 0);
        MSG message;
        CHECK(bool(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) == way.quits);
        CHECK_FALSE(PeekMessageW(&message, owner.handle, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE));
        CHECK(PeekMessageW(&message, owner.handle, WM_APP + 7, WM_APP + 7, PM_REMOVE));
    }
}

TEST_CASE("a library that comes back to its old address finds the popup class of the one that went") {
    for (int i = 0; i < 2; ++i) {
        const HMODULE library = LoadLibraryA(VEIL_POPUP_LIBRARY);
        REQUIRE(library);
        const auto open = reinterpret_cast<bool (*)(wchar_t*)>(
            reinterpret_cast<void*>(GetProcAddress(library, "openPopup")));
        wchar_t name[64] = {};
        CHECK(open(name));
        WNDCLASSW found{};
        CHECK(GetClassInfoW(library, name, &found));
        FreeLibrary(library);
        CHECK_FALSE(GetClassInfoW(library, name, &found));
    }
}

TEST_CASE("dialogs leave handles behind") {
    // Wine counts no GDI or USER objects, so there this sees the other handles only.
    const auto handles = [process = GetCurrentProcess()] {
        DWORD count = 0;
        GetProcessHandleCount(process, &count);
        return count + GetGuiResources(process, GR_GDIOBJECTS) + GetGuiResources(process, GR_USEROBJECTS);
    };
    DWORD before = 0;
    for (int i = 0; i <= 50; ++i) {
        Script script;
        script.start = [](Window* window) { veil::createFilteredEditBox(window, 17, 600, kColors); };
        run(script);
        if (i == 0) before = handles();
    }
    CHECK(handles() <= before);
}
