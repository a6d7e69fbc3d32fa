#pragma once

// The one list of built-in and user presets, what a choice in it does, and what is saved to it.

#include <string>
#include <vector>

#include "dialog/state.h"

namespace veil {

/// The names of the list: the built-in looks by their ids, then the user's in their order.
std::vector<std::wstring> presetListNames(const MainDialogState& dialog);

/// The place in the list of the current name, or of the look that the values stem from if the name is not in
/// the list. A user preset with the name of a built-in look counts as the look.
int currentPresetIndex(const MainDialogState& dialog);

/// Takes every value of a list entry and renders the preview; an index outside the list does nothing. A
/// built-in look leaves the output choice as it is.
void applyPresetByIndex(MainDialogState& dialog, int listIndex);

/// Asks for a name and stores the values under it, in the file and in the list. A cancelled question does
/// nothing; a file that can't be written leaves the entry in the list alone.
void saveCurrentAsUserPreset(MainDialogState& dialog);

}  // namespace veil
