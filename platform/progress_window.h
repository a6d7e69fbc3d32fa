#pragma once

// A small modeless window with a status line, a bar and a Cancel button. [host's thread]

#include <cstdint>

namespace veil {

struct ProgressWindow;

/// Makes the window, hidden, over `owner` (may be null). Null if it can't be made.
ProgressWindow* createProgressWindow(void* owner);

/// The status line.
void setProgressText(ProgressWindow* window, const wchar_t* text);

/// The bar: `position` of 0 to `maximum`.
void setProgressBar(ProgressWindow* window, std::int32_t position, std::int32_t maximum);

/// Centres the window on the owner's monitor, shows it and paints it at once.
void showProgressWindow(ProgressWindow* window);

/// Handles the messages that wait for this window, and no other's. True if the user asked to cancel
/// meanwhile.
bool pumpProgressWindow(ProgressWindow* window);

/// Closes the window and frees it.
void destroyProgressWindow(ProgressWindow* window);

}  // namespace veil
