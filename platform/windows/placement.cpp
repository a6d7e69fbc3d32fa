#include "platform/windows/placement.h"

namespace veil {

void centreOnOwnersMonitor(HWND window) {
    const HWND owner = GetWindow(window, GW_OWNER);
    MONITORINFO monitor{};
    monitor.cbSize = sizeof(monitor);
    RECT rect;
    if (!GetMonitorInfoW(MonitorFromWindow(owner ? owner : window, MONITOR_DEFAULTTONEAREST), &monitor) ||
        !GetWindowRect(window, &rect))
        return;
    const RECT& work = monitor.rcWork;
    const int x = work.left + ((work.right - work.left) - (rect.right - rect.left)) / 2;
    const int y = work.top + ((work.bottom - work.top) - (rect.bottom - rect.top)) / 2;
    SetWindowPos(window, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace veil
