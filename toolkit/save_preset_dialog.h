#pragma once

// The small dialog that asks for the name of a user preset. It stores nothing.

#include <string>

#include "platform/drawing.h"
#include "platform/edit_box.h"
#include "platform/window.h"
#include "toolkit/animation.h"
#include "toolkit/widgets.h"

namespace veil {

/// The dialog while it is open.
struct SavePresetDialogState {
    EditBox* edit = nullptr;
    float scale = 1.0f;
    RenderTargetHolder target{};
    TextFormatHolder titleFormat{}, labelFormat{}, noteFormat{}, buttonFormat{};
    ControlRecord ok{}, cancel{};
    bool closeHovered = false, closePressed = false;  ///< the title bar's close button
    AnimationMap animations{};
    bool animationTimerRunning = false;
    std::string name{};         ///< as accepted
    bool nameRejected = false;  ///< and the text has not changed since
};

/// Asks for a name over `owner`. True: `name` is of printable ASCII characters, not empty, and not changed in
/// any way, blanks and all. False: the user cancelled or gave none; cancelled, `name` stays as it was.
bool runSavePresetDialog(Window* owner, std::string& name);

/// What OK does: takes the first 127 characters of the box and ends the dialog, or, if one of them is not
/// printable ASCII, says so and stays open.
void acceptPresetName(SavePresetDialogState& state, Window* dialog);

}  // namespace veil
