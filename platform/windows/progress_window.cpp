#include "platform/progress_window.h"

#include <windows.h>
// After windows.h, whose types it uses.
#include <commctrl.h>

#include "platform/module.h"
#include "platform/windows/activation.h"
#include "platform/windows/placement.h"

namespace veil {

// One window at a time; the dialog procedure finds it here, since it gets no context of ours.
struct ProgressWindow {
    HWND dialog = nullptr;
    HWND bar = nullptr;
    HWND label = nullptr;
    bool cancelled = false;
};

namespace {

constexpr int kTemplate = 16030;
constexpr int kLabel = 2201;
constexpr int kBar = 2202;

ProgressWindow gWindow;

INT_PTR CALLBACK progressProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
        case WM_INITDIALOG:
            gWindow.bar = GetDlgItem(dialog, kBar);
            gWindow.label = GetDlgItem(dialog, kLabel);
            return TRUE;
        case WM_COMMAND:
            if (LOWORD(wParam) != IDCANCEL) return FALSE;
            gWindow.cancelled = true;
            return TRUE;
        case WM_CLOSE:
            gWindow.cancelled = true;
            return TRUE;
        default:
            return FALSE;
    }
}

}  // namespace

ProgressWindow* createProgressWindow(void* owner) {
    const ActivationScope scope;
    gWindow = {};
    const INITCOMMONCONTROLSEX classes{sizeof(classes), ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&classes);
    // A dialog of the wide kind: a narrow one would put the Japanese line through the code page.
    gWindow.dialog = CreateDialogParamW(static_cast<HMODULE>(moduleHandle()), MAKEINTRESOURCEW(kTemplate),
                                        static_cast<HWND>(owner), progressProc, 0);
    return gWindow.dialog ? &gWindow : nullptr;
}

void setProgressText(ProgressWindow* window, const wchar_t* text) {
    if (window->label) SetWindowTextW(window->label, text);
}

void setProgressBar(ProgressWindow* window, std::int32_t position, std::int32_t maximum) {
    if (!window->bar) return;
    SendMessageW(window->bar, PBM_SETRANGE32, 0, maximum);
    SendMessageW(window->bar, PBM_SETPOS, static_cast<WPARAM>(position), 0);
}

void showProgressWindow(ProgressWindow* window) {
    centreOnOwnersMonitor(window->dialog);
    ShowWindow(window->dialog, SW_SHOW);
    UpdateWindow(window->dialog);
}

bool pumpProgressWindow(ProgressWindow* window) {
    // With a window given, messages of other windows stay in the queue.
    MSG message;
    while (PeekMessageW(&message, window->dialog, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // It passes every filter, but it is the host's.
            PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        if (IsDialogMessageW(window->dialog, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return window->cancelled;
}

void destroyProgressWindow(ProgressWindow* window) {
    DestroyWindow(window->dialog);
    window->dialog = window->bar = window->label = nullptr;
}

}  // namespace veil
