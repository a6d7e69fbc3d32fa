#pragma once

// The dialog's procedure: hit tests in a fixed order, hover, press, drag, keys, and the set-up.

#include "dialog/state.h"

namespace veil {

constexpr int kConfirmed = 1, kCancelled = 2;  // what the modal dialog ends with

/// The message handler; `context` is the MainDialogState.
bool handleMainDialogMessage(void* context, Window* window, const WindowMessage& message);

}  // namespace veil
