#pragma once

// The progress dialog of a run: what it counts and says, once per tile. The window itself is the platform's.
// All accept a null dialog; the run then goes on without one. [host's thread]

#include <cstdint>
#include <string>

namespace veil {

struct ProgressWindow;
using ProgressDialog = ProgressWindow;

/// Opens the dialog over the host's window with the cancel flag clear; null if it can't be made.
ProgressDialog* openProgress();

/// Shows `done` of `total` tiles; a total below 1 counts as a bar of 1.
void setProgress(ProgressDialog* dialog, std::int32_t done, std::int32_t total);

/// Handles the dialog's waiting messages. False once the user has cancelled.
bool pumpProgress(ProgressDialog* dialog);

void closeProgress(ProgressDialog* dialog);

/// The status line that counts tiles, in the user's language.
std::wstring progressText(std::int32_t done, std::int32_t total);

}  // namespace veil
