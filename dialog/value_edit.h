#pragma once

// Typing a value: the edit box over the value of one row.

#include "dialog/state.h"

namespace veil {

/// Makes the dialog's edit box, hidden; without one, values can't be typed.
void createValueEdit(MainDialogState& dialog);

/// Opens the box over `row`'s value with all of it selected; one that is open over another row commits first.
void beginValueEdit(MainDialogState& dialog, int row);

enum class EditEnd { commit, discard };
/// Closes the box, if it is open. A commit takes what was typed, limited to the row's range; an empty text
/// changes nothing.
void endValueEdit(MainDialogState& dialog, EditEnd end);

/// What the box must ask before it takes a key or a character; true if it does not get it.
bool handleEditKey(MainDialogState& dialog, Key key);
bool handleEditCharacter(const MainDialogState& dialog, wchar_t character);

}  // namespace veil
