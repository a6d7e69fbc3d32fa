// The dialog of DuskyVeil.8bf as a user meets it: from the host's menu to the pixels, by the system's mouse
// and keyboard.

#include <windows.h>
// After windows.h, whose types it uses.
#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>

#include "standin/host.h"

namespace {

const HWND gHost = CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 300, 200,
                                   nullptr, nullptr, nullptr, nullptr);

template <class Look>
void eachWindow(Look look) {
    const auto call = [](HWND window, LPARAM context) -> BOOL {
        (*reinterpret_cast<Look*>(context))(window);
        return TRUE;
    };
    EnumThreadWindows(GetCurrentThreadId(), call, reinterpret_cast<LPARAM>(&look));
}

// The visible window without a title whose class begins so.
HWND find(const std::string& className, HWND owner) {
    HWND found = nullptr;
    eachWindow([&](HWND window) {
        char name[64] = {};
        GetClassNameA(window, name, 64);
        if (owner && GetWindow(window, GW_OWNER) == owner && IsWindowVisible(window) &&
            std::string(name).starts_with(className) && GetWindowTextLengthW(window) == 0)
            found = window;
    });
    return found;
}
HWND mainDialog() { return find("#32770", gHost); }
HWND saveDialog() { return find("#32770", mainDialog()); }
HWND presetList() { return find("GlowVeilComboPopup_", mainDialog()); }
HWND nameBox() { return GetDlgItem(saveDialog(), 2101); }

// A key; 0 is the mouse's button.
bool send(int key, bool isUp) {
    INPUT input{};
    input.type = key ? INPUT_KEYBOARD : INPUT_MOUSE;
    if (key)
        input.ki = {static_cast<WORD>(key), 0, isUp ? KEYEVENTF_KEYUP : DWORD{0}, 0, 0};
    else
        input.mi.dwFlags = isUp ? MOUSEEVENTF_LEFTUP : MOUSEEVENTF_LEFTDOWN;
    return SendInput(1, &input, sizeof(input)) == 1;
}
bool press(int key) { return send(key, false) && send(key, true); }

// A key goes to the window in the foreground, which another program's late news of the screen can take away.
bool pressKey(int key) {
    DWORD process = 0;
    GetWindowThreadProcessId(GetForegroundWindow(), &process);
    if (process == GetCurrentProcessId()) return press(key);
    SetForegroundWindow(saveDialog() ? saveDialog() : mainDialog());
    return false;
}

// Whether the pointer stands where the latest act has put it. The screen's own news of an earlier place may
// come later than the move, so that no button goes down before the pointer is seen there.
POINT gPlace;
bool isThere() {
    POINT now;
    return GetCursorPos(&now) && now.x == gPlace.x && now.y == gPlace.y;
}
bool bringPointer() { return isThere() || (SetCursorPos(gPlace.x, gPlace.y), false); }

// "x,y" in units of the dialog.
bool moveTo(HWND dialog, int width, const std::string& place) {
    int x = 0, y = 0;
    RECT client;
    if (std::sscanf(place.c_str(), "%d,%d", &x, &y) != 2 || !GetClientRect(dialog, &client)) return false;
    gPlace = {x * client.right / width, y * client.right / width};
    return ClientToScreen(dialog, &gPlace) && bringPointer();
}

std::string valueText() {
    char text[32] = {};
    GetWindowTextA(GetWindow(mainDialog(), GW_CHILD), text, 32);
    return text;
}

// What a user does, and waits for. An act that isn't done is tried again. Behind a colon stands its argument.
using Argument = const std::string&;
using Act = std::function<bool(Argument)>;
const std::map<std::string, Act> kActs = {
    {"at", [](Argument a) { return moveTo(mainDialog(), 558, a); }},
    {"down", [](Argument) { return bringPointer() && send(0, false); }},
    {"up", [](Argument) { return bringPointer() && send(0, true); }},
    {"click", [](Argument a) { return moveTo(mainDialog(), 558, a) && press(0); }},
    {"double", [](Argument a) { return moveTo(mainDialog(), 558, a) && press(0) && press(0); }},
    {"saveClick", [](Argument a) { return moveTo(saveDialog(), 300, a) && press(0); }},
    {"Enter", [](Argument) { return pressKey(VK_RETURN); }},
    {"Escape", [](Argument) { return pressKey(VK_ESCAPE); }},
    {"Tab", [](Argument) { return pressKey(VK_TAB); }},
    {"Up", [](Argument) { return pressKey(VK_UP); }},
    {"Left", [](Argument) { return pressKey(VK_LEFT); }},
    {"Right", [](Argument) { return pressKey(VK_RIGHT); }},
    {"type",
     [](Argument a) {
         return pressKey(VkKeyScanA(a[0]) & 255) &&
                std::all_of(a.begin() + 1, a.end(), [](char c) { return press(VkKeyScanA(c) & 255); });
     }},
    {"close", [](Argument) { return PostMessageW(mainDialog(), WM_CLOSE, 0, 0) != 0; }},
    {"capture", [](Argument) { return SetCapture(gHost), true; }},
    {"release", [](Argument) { return ReleaseCapture() != 0; }},
    {"kanji", [](Argument) { return PostMessageW(nameBox(), WM_CHAR, L'\u65E5', 1) != 0; }},
    {"selectAll", [](Argument) { return SendMessageW(nameBox(), EM_SETSEL, 0, -1) != 0; }},
    {"dialog", [](Argument) { return mainDialog() && !saveDialog() && !presetList(); }},
    {"list", [](Argument) { return presetList() != nullptr; }},
    {"save", [](Argument) { return saveDialog() != nullptr; }},
    {"value", [](Argument a) { return a == valueText(); }},
};

// The acts of one opening of the dialog. They happen in the ticks of timers, which come when no input is left
// to handle: each act finds what the one before it has done.
struct Play {
    std::vector<std::string> acts;
    Act look;
    std::size_t next = 0;
} gPlay;

// The time for one act. What has gone wrong once may go wrong in every opening: the rest need not wait so
// long.
ULONGLONG gPatienceMs = 20000;
std::atomic<ULONGLONG> gDeadline{~0ull};

void waitOn() { gDeadline = GetTickCount64() + gPatienceMs; }
bool isLate() { return GetTickCount64() > gDeadline; }

// Ends the program if not even the ticks come any more, and says what holds them up.
void watch(DWORD thread) {
    constexpr ULONGLONG kTicksAreGoneMs = 15000;
    while (GetTickCount64() < gDeadline || GetTickCount64() - gDeadline < kTicksAreGoneMs) Sleep(500);
    GUITHREADINFO info{};
    info.cbSize = sizeof(info);
    GetGUIThreadInfo(thread, &info);
    std::printf(
        "no ticks: act %u, flags %lx, active %p, focus %p, capture %p, moves %p, foreground %p, host %p\n",
        static_cast<unsigned>(gPlay.next), info.flags, static_cast<void*>(info.hwndActive),
        static_cast<void*>(info.hwndFocus), static_cast<void*>(info.hwndCapture),
        static_cast<void*>(info.hwndMoveSize), static_cast<void*>(GetForegroundWindow()),
        static_cast<void*>(gHost));
    TerminateProcess(GetCurrentProcess(), 1);
}

bool doNext() {
    const std::string& act = gPlay.acts[gPlay.next];
    const std::size_t colon = std::min(act.find(':'), act.size());
    const std::string argument = act.substr(std::min(colon + 1, act.size()));
    return act == "look" ? gPlay.look(argument) : kActs.at(act.substr(0, colon))(argument);
}

void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD) {
    if (isLate()) {  // ends what is open, from the top
        if (presetList()) DestroyWindow(presetList());
        EndDialog(saveDialog() ? saveDialog() : mainDialog(), IDCANCEL);
    } else if (gPlay.next < gPlay.acts.size() && mainDialog() && doNext()) {
        ++gPlay.next;
        waitOn();
    }
}

LRESULT CALLBACK giveTicks(int code, WPARAM wParam, LPARAM lParam) {
    const auto& call = *reinterpret_cast<const CWPSTRUCT*>(lParam);
    const bool isTop = !(GetWindowLongW(call.hwnd, GWL_STYLE) & WS_CHILD);
    if (code == HC_ACTION && call.message == WM_CREATE && isTop) SetTimer(call.hwnd, 77, 10, tick);
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

struct Document {
    const standin::Plugin plugin{VEIL_LIBRARY};
    standin::HostSession session{plugin, picture(), {.ownerWindow = gHost}};

    static standin::Image picture() {
        standin::Image image = standin::makeImage(96, 64, 3, 8);
        for (int i = 0; i < 96 * 64 * 3; ++i)
            image.set(i / 3 % 96, i / 288, i % 3, (i * i / 7 + i % 3 * 40) % 256);
        return image;
    }
    const standin::Image& image() const { return session.image(); }
    veil::VeilParams block() const { return session.storedParameters().value_or(veil::VeilParams{}); }

    // The filter from the menu; the result.
    int run(const std::string& acts, Act look = {}) {
        std::istringstream words(acts);
        gPlay = {{std::istream_iterator<std::string>(words), {}}, std::move(look)};
        waitOn();
        SetCursorPos(1900, 1100);  // away from all windows
        static std::thread watchdog(watch, GetCurrentThreadId());
        if (watchdog.joinable()) watchdog.detach();
        const HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, giveTicks, nullptr, GetCurrentThreadId());
        const standin::RunReport report = session.runFromMenu();
        UnhookWindowsHookEx(hook);
        INFO("act ", gPlay.next, " of ", acts);
        CHECK(gPlay.next == gPlay.acts.size());
        CHECK_FALSE(isLate());
        if (isLate()) gPatienceMs = 1000;
        gDeadline = ~0ull;
        CHECK(IsWindowEnabled(gHost));
        CHECK(GetActiveWindow() == gHost);
        return report.result;
    }
};

// All that a host keeps but the reserved bytes, for comparisons.
std::string text(const veil::VeilParams& p) {
    std::ostringstream out;
    for (const float value :
         {p.threshold, p.radius, p.strength, p.fog, p.highlightBoost, p.glowSaturation, p.shadowProtect})
        out << value << ' ';
    out << p.presetId << ' ' << p.advancedMode << ' ' << p.outputGlowOnly;
    return out.str();
}
const veil::VeilParams kDefaults{0, 0, 0.0f, 180.0f, 0.7f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 1};

// By a host that has kept the block, and asks nobody.
standin::Image repeatWith(const veil::VeilParams& block) {
    Document document;
    document.session.storeParameters(block);
    CHECK(document.session.repeat().result == photoshop::noErr);
    return document.image();
}

// How far the hint of the radius reaches on the screen, and how far the system's own text would, in pixels.
int hintWidth() {
    POINT from{16, 744};
    ClientToScreen(mainDialog(), &from);
    const HDC screen = GetDC(nullptr);
    const COLORREF ground = GetPixel(screen, from.x + 525, from.y);
    int i = 526 * 14 - 1;
    while (i > 0 && GetPixel(screen, from.x + i / 14, from.y + i % 14) == ground) --i;
    ReleaseDC(nullptr, screen);
    return i / 14 + 1;
}
int textWidth(const std::wstring& text) {
    const HDC screen = GetDC(nullptr);
    const HFONT font = CreateFontW(-11, 0, 0, 0, 400, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Segoe UI");
    const HGDIOBJ old = SelectObject(screen, font);
    SIZE size{};
    GetTextExtentPoint32W(screen, text.c_str(), static_cast<int>(text.size()), &size);
    DeleteObject(SelectObject(screen, old));
    ReleaseDC(nullptr, screen);
    return size.cx;
}

const std::string kOk = " dialog click:392,960", kOpenList = " click:150,443 list",
                  kOpenSave = " click:425,443 save", kRaiseRadius = " click:532,726";

}  // namespace

TEST_CASE("the dialog opens in another size or place, leaves its host usable, or OK writes other pixels") {
    Document document;
    const auto look = [](Argument) {
        const int dpi = static_cast<int>(GetDpiForWindow(mainDialog()));
        RECT window, work;
        GetWindowRect(mainDialog(), &window);
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
        const int width = window.right - window.left, height = window.bottom - window.top;
        CHECK(width == (558 * dpi + 48) / 96);
        CHECK(height == (992 * dpi + 48) / 96);
        CHECK(window.left == work.left + (work.right - work.left - width) / 2);
        CHECK(window.top == work.top + (work.bottom - work.top - height) / 2);
        CHECK_FALSE(IsWindowEnabled(gHost));
        CHECK(GetFocus() == mainDialog());
        return true;
    };
    CHECK(document.run("dialog look" + kOk, look) == photoshop::noErr);
    CHECK(text(document.block()) == text(kDefaults));
    CHECK(document.image() == repeatWith(kDefaults));
    CHECK_FALSE(document.image() == Document::picture());
}

TEST_CASE("the texts are of another language than the system's") {
    const char* const expected = std::getenv("VEIL_EXPECTS");
    REQUIRE(expected);
    const int widths[] = {
        textWidth(L"How far the bloom spreads (px, absolute against the actual image size)."),
        textWidth(L"にじみが広がる範囲(px、画像の実寸に対する絶対値)。")};
    const int wanted = widths[std::string(expected) == "ja"];
    REQUIRE(std::abs(widths[0] - widths[1]) > 40);
    Document document;
    document.run("look" + kOk, [&](Argument) { return std::abs(hintWidth() - wanted) < 20; });
}

TEST_CASE("a value that the user sets does not arrive in the block, or not in the pixels") {
    Document document;
    const std::string toggles =  // advanced, preview, and output three times
        " click:30,584 click:30,376 click:30,530 double:30,530";
    const std::string drags = " at:270,643 down at:900,20 up at:200,643 at:270,775 down at:-300,1000 up";
    const std::string arrows = kRaiseRadius + kRaiseRadius + " click:532,736 Right Up Up Left";
    const std::string typed =
        " click:476,687 value:0.00 type:1..2x-5 value:1.25 Enter"
        " click:476,819 type:99 Escape Up"                  // dropped; then a step
        " click:476,863 Up value:19 type:50 click:300,200"  // kept by a click on the picture
        " click:476,907 type:20 Enter double:60,907";       // reset
    CHECK(document.run(toggles + drags + arrows + typed + kOk) == photoshop::noErr);
    const veil::VeilParams expected{0, 0, 1.25f, 183.0f, 2.5f, 0.5f, 0.0f, 0.0f, 0.2f + 0.01f, 1, 0};
    CHECK(text(document.block()) == text(expected));
    CHECK(document.image() == repeatWith(expected));
}

TEST_CASE("the preset list takes another row, is not dismissed, or passes its input on to the dialog") {
    struct Way {
        std::string acts;
        int presetId;
        float radius;
    };
    const Way ways[] = {{kOpenList + " click:150,551", 3, 140},
                        {" at:150,443 down list at:150,525 up", 2, 180},
                        {kOpenList + " at:30,530 down dialog up", 0, 181},  // over the output's toggle
                        {kOpenList + " at:150,551 down at:30,530 list up", 0, 181},
                        {kOpenList + " Escape", 0, 181},
                        {kOpenList + " capture dialog release", 0, 181},
                        {kOpenList + " Up Right type:5 Tab Enter list Escape", 0, 181}};
    for (const Way& way : ways) {
        INFO(way.acts);
        Document document;
        CHECK(document.run(kRaiseRadius + way.acts + kOk) == photoshop::noErr);
        CHECK(document.block().presetId == way.presetId);
        CHECK(document.block().radius == way.radius);
        CHECK(document.block().outputGlowOnly == 1);
    }
}

TEST_CASE("a preset is not saved under its name, saved after a cancel, or comes back with other values") {
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / ("veil" + std::to_string(GetCurrentProcessId()));
    fs::remove_all(folder);  // of a program that was killed; process numbers come again
    REQUIRE(fs::create_directory(folder));
    REQUIRE(SetEnvironmentVariableA("APPDATA", folder.string().c_str()));
    struct Way {
        std::string acts, names;  // of the file then
    };
    const Way ways[] = {{"saveClick:234,183", ""},
                        {"Escape", ""},
                        {"saveClick:280,20", ""},
                        {"Enter", "a1;"},
                        {"type:b saveClick:138,183", "a1;a1b;"},
                        {"kanji Enter save selectAll type:c Enter", "a1;a1b;c;"}};
    for (const Way& way : ways) {
        INFO(way.acts);
        Document document;
        CHECK(document.run("click:476,643 type:150 Enter click:30,530" + kOpenSave + " type:a1 " + way.acts +
                           " dialog Escape") == photoshop::userCanceledErr);
        std::ifstream file(folder / "LucentVeil" / "DuskyVeil_Presets.ini");
        std::string names;
        for (std::string line; std::getline(file, line);)
            if (line.starts_with("[")) names += line.substr(1, line.find(']') - 1) + ";";
        CHECK(names == way.names);
    }
    Document document;
    CHECK(document.run(kOpenList + " click:150,603" + kOk) == photoshop::noErr);
    veil::VeilParams saved = kDefaults;
    saved.strength = 1.5f;
    saved.outputGlowOnly = 0;
    CHECK(text(document.block()) == text(saved));
    CHECK(document.image() == repeatWith(saved));
    fs::remove_all(folder);
}

TEST_CASE("a cancel changes the block or the picture, or is no cancel for the host") {
    for (const std::string way : {"click:496,960", "click:538,20", "Escape", "close"}) {
        INFO(way);
        Document document;
        CHECK(document.run(kRaiseRadius + " click:30,584 click:30,530" + kOpenList +
                           " click:150,499 dialog " + way) == photoshop::userCanceledErr);
        CHECK(text(document.block()) == text(kDefaults));
        CHECK(document.image() == Document::picture());
    }
}

TEST_CASE("dialogs leave handles, windows or a class behind, or fail when the library is loaded again") {
    // Wine counts no GDI or USER objects, so there this sees the other handles and the windows only.
    const auto handles = [process = GetCurrentProcess()] {
        DWORD count = 0;
        GetProcessHandleCount(process, &count);
        return count + GetGuiResources(process, GR_GDIOBJECTS) + GetGuiResources(process, GR_USEROBJECTS);
    };
    const auto windows = [] {
        int count = 0;
        eachWindow([&](HWND) { ++count; });
        return count;
    };
    for (const int openings : {2, 50}) {
        char name[64];
        WNDCLASSA found{};
        HMODULE library = nullptr;
        {
            Document document;
            library = GetModuleHandleA("DuskyVeil.8bf");
            std::snprintf(name, sizeof(name), "GlowVeilComboPopup_%p", static_cast<void*>(library));
            document.run(kOpenList + " Escape dialog" + kOpenSave + " Escape dialog Escape");
            CHECK(GetClassInfoA(library, name, &found));
            const DWORD handlesBefore = handles();
            const int windowsBefore = windows();
            for (int i = 0; i < openings; ++i)
                document.run(i ? "Escape" : kOpenList + " Escape dialog Escape");
            CHECK(handles() <= handlesBefore);
            CHECK(windows() == windowsBefore);
        }
        CHECK_FALSE(GetClassInfoA(library, name, &found));
        CHECK(GetModuleHandleA("DuskyVeil.8bf") == nullptr);
    }
}
