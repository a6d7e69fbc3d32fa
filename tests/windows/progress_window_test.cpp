// The progress window of a real run of DuskyVeil.8bf, looked at and touched from the host's callbacks between
// tiles.

#include <windows.h>
// After windows.h, whose types it uses.
#include <commctrl.h>
#include <doctest/doctest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <set>

#include "standin/host.h"

namespace {

constexpr int kTilesAcross = 4, kTilesDown = 3, kTile = 64;
constexpr int kTiles = kTilesAcross * kTilesDown;

HWND progressWindow() { return FindWindowW(L"#32770", L"Lucent Veil - Applying..."); }

std::wstring textOf(HWND window) {
    wchar_t text[128] = {};
    GetWindowTextW(window, text, 128);
    return text;
}

// The status line's words before the count; the language is the system's.
bool isJapanese() { return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_JAPANESE; }
std::wstring words() { return isJapanese() ? L"\u51E6\u7406\u4E2D..." : L"Processing..."; }

// Filters 12 tiles; `betweenTiles` runs after each of them, when the window shows its count. It gets the
// count.
standin::RunReport run(const std::function<void(int)>& betweenTiles, HWND owner = nullptr) {
    standin::HostOptions options;
    options.tileWidth = options.tileHeight = kTile;
    options.ownerWindow = owner;
    int done = 0;
    options.onProgress = [&](int tiles, int) { done = tiles; };
    options.onAbort = [&] {
        betweenTiles(done);
        return false;
    };
    const standin::Plugin library(VEIL_LIBRARY);  // loaded and unloaded by each run, as some hosts do it
    standin::HostSession session(library, standin::makeImage(kTile * kTilesAcross, kTile * kTilesDown, 3, 8),
                                 options);
    veil::VeilParams params{};
    params.radius = 20.0f;
    session.storeParameters(params);
    return session.repeat();
}

// What the screen shows where the window stands, as a picture to look at and as a number of colours.
struct Screenshot {
    int width = 0, height = 0;
    std::vector<std::uint8_t> pixels;  // blue, green, red, unused; bottom row first

    explicit Screenshot(HWND window) {
        RECT rect;
        GetWindowRect(window, &rect);
        width = rect.right - rect.left;
        height = rect.bottom - rect.top;
        pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
        const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
        const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
        const HGDIOBJ old = SelectObject(memory, bitmap);
        BitBlt(memory, 0, 0, width, height, screen, rect.left, rect.top, SRCCOPY);
        SelectObject(memory, old);
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(), &info, DIB_RGB_COLORS);
        DeleteObject(bitmap);
        DeleteDC(memory);
        ReleaseDC(nullptr, screen);
    }

    // Different colours inside a child of the window.
    int coloursIn(HWND window, HWND child) const {
        RECT outer, inner;
        GetWindowRect(window, &outer);
        GetWindowRect(child, &inner);
        std::set<std::uint32_t> seen;
        for (int y = inner.top - outer.top; y < inner.bottom - outer.top; ++y)
            for (int x = inner.left - outer.left; x < inner.right - outer.left; ++x) seen.insert(at(x, y));
        return static_cast<int>(seen.size());
    }
    std::uint32_t at(int x, int y) const {
        const std::size_t i = (static_cast<std::size_t>(height - 1 - y) * static_cast<std::size_t>(width) +
                               static_cast<std::size_t>(x)) *
                              4;
        return pixels[i] | pixels[i + 1] << 8 | pixels[i + 2] << 16;
    }

    void save(const std::string& path) const {
        std::ofstream file(path, std::ios::binary);
        file << "P6\n" << width << ' ' << height << "\n255\n";
        for (int y = height - 1; y >= 0; --y)
            for (int x = 0; x < width; ++x) {
                const std::size_t i = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + x) * 4;
                for (const int c : {2, 1, 0})
                    file.put(static_cast<char>(pixels[i + static_cast<std::size_t>(c)]));
            }
    }
};

// The size in pixels of a rectangle in the dialog's own units.
SIZE dialogUnits(HWND dialog, int width, int height) {
    RECT rect{0, 0, width, height};
    MapDialogRect(dialog, &rect);
    return {rect.right, rect.bottom};
}

void clickWithTheMouse(HWND button) {
    RECT rect;
    GetWindowRect(button, &rect);
    SetCursorPos((rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2);
    INPUT clicks[2] = {};
    clicks[0].type = clicks[1].type = INPUT_MOUSE;
    clicks[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    clicks[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    SendInput(2, clicks, sizeof(INPUT));
}

void pressEscape(HWND) {
    INPUT keys[2] = {};
    keys[0].type = keys[1].type = INPUT_KEYBOARD;
    keys[0].ki.wVk = keys[1].ki.wVk = VK_ESCAPE;
    keys[1].ki.dwFlags = KEYEVENTF_KEYUP;
    SendInput(2, keys, sizeof(INPUT));
}

}  // namespace

TEST_CASE("the window of a run has another size, place, text or bar than it should") {
    std::vector<int> seen;
    const standin::RunReport report = run([&](int done) {
        const HWND dialog = progressWindow();
        REQUIRE(dialog != nullptr);
        seen.push_back(done);
        const HWND label = GetDlgItem(dialog, 2201), bar = GetDlgItem(dialog, 2202);
        CHECK(IsWindowUnicode(label));  // else Japanese text goes through the code page
        if (done == 1) CHECK(GetFocus() == GetDlgItem(dialog, IDCANCEL));
        CHECK(textOf(label) ==
              words() + L" (" + std::to_wstring(done) + L" / " + std::to_wstring(kTiles) + L")");
        CHECK(SendMessageW(bar, PBM_GETPOS, 0, 0) == done);
        CHECK(SendMessageW(bar, PBM_GETRANGE, FALSE, 0) == kTiles);
        if (done != kTiles / 2) return;

        CHECK(IsWindowVisible(dialog));
        CHECK(textOf(GetDlgItem(dialog, IDCANCEL)) == L"Cancel");
        CHECK((GetWindowLongW(dialog, GWL_STYLE) & (WS_POPUP | WS_CAPTION | WS_SYSMENU)) ==
              (WS_POPUP | WS_CAPTION));
        RECT client, window;
        GetClientRect(dialog, &client);
        GetWindowRect(dialog, &window);
        const SIZE size = dialogUnits(dialog, 260, 76);
        CHECK(client.right == size.cx);
        CHECK(client.bottom == size.cy);
        MONITORINFO monitor{};
        monitor.cbSize = sizeof(monitor);
        GetMonitorInfoW(MonitorFromWindow(dialog, MONITOR_DEFAULTTONEAREST), &monitor);
        const RECT& work = monitor.rcWork;
        CHECK(window.left == work.left + ((work.right - work.left) - (window.right - window.left)) / 2);
        CHECK(window.top == work.top + ((work.bottom - work.top) - (window.bottom - window.top)) / 2);

        const Screenshot shot(dialog);
        CHECK(shot.coloursIn(dialog, label) > 1);  // ink on the ground
        RECT place;
        GetWindowRect(bar, &place);
        const int y = (place.top + place.bottom) / 2 - window.top, x = place.left - window.left;
        CHECK(shot.at(x + 8, y) !=
              shot.at(x + (place.right - place.left) - 8, y));  // filled left, empty right
        if (const char* folder = std::getenv("VEIL_SCREENSHOTS"))
            shot.save(std::string(folder) + (isJapanese() ? "/progress_ja.ppm" : "/progress_en.ppm"));
    });
    CHECK(report.result == photoshop::noErr);
    CHECK(seen.size() == kTiles);
    CHECK(progressWindow() == nullptr);
}

TEST_CASE("a cancel of the user is not heard, or heard again by the next run") {
    struct Way {
        const char* name;
        void (*cancel)(HWND dialog);
    };
    const Way ways[] = {{"click", [](HWND dialog) { clickWithTheMouse(GetDlgItem(dialog, IDCANCEL)); }},
                        {"Escape", pressEscape},
                        {"close", [](HWND dialog) { PostMessageW(dialog, WM_CLOSE, 0, 0); }}};
    for (const Way& way : ways) {
        INFO(way.name);
        int last = 0;
        const standin::RunReport report = run([&](int done) {
            last = done;
            if (done == 5) {
                way.cancel(progressWindow());
                Sleep(100);  // real input takes its way through the server
            }
        });
        CHECK(report.result == photoshop::userCanceledErr);
        CHECK(last == 5);
        CHECK(progressWindow() == nullptr);
        CHECK(run([](int) {}).result == photoshop::noErr);
    }
}

TEST_CASE("the system has another language than this run of the test is meant for") {
    const char* expected = std::getenv("VEIL_EXPECTS");
    REQUIRE(expected != nullptr);
    CHECK(isJapanese() == (std::string(expected) == "ja"));
}

TEST_CASE("a run takes messages that are not its own") {
    const HWND host = CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 10, 300,
                                      200, nullptr, nullptr, nullptr, nullptr);
    REQUIRE(host != nullptr);
    PostMessageW(host, WM_APP + 7, 1, 2);
    run([&](int) { CHECK(GetWindow(progressWindow(), GW_OWNER) == host); }, host);
    MSG message;
    CHECK(PeekMessageW(&message, host, WM_APP + 7, WM_APP + 7, PM_REMOVE));
    CHECK(IsWindowEnabled(host));
    DestroyWindow(host);

    PostQuitMessage(77);
    run([](int) {});
    REQUIRE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    CHECK(message.wParam == 77);
}

TEST_CASE("runs leave windows or objects behind") {
    const HANDLE process = GetCurrentProcess();
    const auto objects = [&] {
        return GetGuiResources(process, GR_GDIOBJECTS) + GetGuiResources(process, GR_USEROBJECTS);
    };
    const HBRUSH probe = CreateSolidBrush(0);
    if (objects() == 0) MESSAGE("this system counts no GDI or USER objects; the windows alone are counted");
    DeleteObject(probe);
    const auto windows = [] {
        int count = 0;
        EnumThreadWindows(
            GetCurrentThreadId(),
            [](HWND, LPARAM sum) { return ++*reinterpret_cast<int*>(sum) > 0 ? TRUE : FALSE; },
            reinterpret_cast<LPARAM>(&count));
        return count;
    };
    run([](int) {});
    const int windowsBefore = windows();
    const DWORD objectsBefore = objects();
    for (int i = 0; i < 20; ++i) run([&](int) { CHECK(windows() > windowsBefore); });
    CHECK(windows() == windowsBefore);
    CHECK(objects() <= objectsBefore);
}

TEST_CASE("each loading and unloading of the library takes a slot of thread-local storage for good") {
    const auto nextSlot = [] {
        const DWORD slot = TlsAlloc();
        TlsFree(slot);
        return slot;
    };
    const auto cycle = [] {
        const standin::Plugin library(VEIL_LIBRARY);
        standin::HostSession session(library, standin::makeImage(kTile, kTile, 3, 8));
        session.storeParameters({});
        CHECK(session.repeat().result == photoshop::noErr);
    };
    cycle();
    const DWORD before = nextSlot();
    for (int i = 0; i < 5; ++i) cycle();
    CHECK(nextSlot() == before);
}
