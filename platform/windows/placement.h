#pragma once

// Where windows stand on the screen.

#include <windows.h>

namespace veil {

/// In the middle of the work area of the monitor nearest to the owner, or to the window if it has none; where
/// it stands already if that is unknown.
void centreOnOwnersMonitor(HWND window);

}  // namespace veil
