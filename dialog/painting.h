#pragma once

// Paints the dialog from its record.

#include "dialog/state.h"

namespace veil {

/// The whole page, from the paint message. Nothing without a target; a lost one is made anew, with another
/// paint to follow.
void paintMainDialog(MainDialogState& dialog);

}  // namespace veil
