#pragma once

// The one thing that the host driver asks of the dialog.

namespace veil {

/// Asks the user for the values, on the record of the current host call. True if they were confirmed; the
/// block holds them then. [host's thread, Start stage]
bool runMainDialog();

}  // namespace veil
