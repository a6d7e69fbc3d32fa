#pragma once

// The one system control of the dialogs, a line of editable text. A box belongs to its dialog and goes with
// it. An operation on a null box does nothing. [one thread, that of the windows]

#include <string>

#include "platform/drawing.h"
#include "platform/window.h"

namespace veil {

struct EditBox;

/// Opaque colours; the background is filled behind the text.
struct EditColors {
    Color text, background;
};

/// A hidden, empty, right-aligned box in "Segoe UI" of `emPx` pixels and `weight`. It is filtered: the dialog
/// sees each key and character first, and Enter and Escape stay in the box. Null if it can't be made.
EditBox* createFilteredEditBox(Window* dialog, int emPx, int weight, const EditColors& colors);
/// The box with id `control` of the dialog's template, unfiltered, in the dialog's font; null if there is
/// none.
EditBox* templateEditBox(Window* dialog, int control, const EditColors& colors);

void placeEditBox(EditBox* box, const PixelRect& rect);
/// Where it lies in its dialog's client area, borders and all.
PixelRect editBoxRect(EditBox* box);
void showEditBox(EditBox* box);
/// A box that has the focus gives it to its dialog.
void hideEditBox(EditBox* box);
void focusEditBox(EditBox* box);
/// No input method: nothing but what the keys themselves give can be typed.
void disableInputMethod(EditBox* box);

void setEditText(EditBox* box, const wchar_t* text);
/// At most `maxUnits` UTF-16 units; what is beyond is cut off.
std::wstring editText(EditBox* box, int maxUnits);
void selectAll(EditBox* box);

}  // namespace veil
