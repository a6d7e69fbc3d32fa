#include <cassert>
#include <cstdlib>

#include "platform/gui_session.h"
#include "tests/gallery/start.h"

namespace gallery {

void startPlatform() {
    // No screen is needed, and the pictures must not depend on one.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static char name[] = "gallery", *arguments[] = {name, nullptr};
    // Never released: at the exit of the program that would come after what a session needs.
    [[maybe_unused]] static const veil::GuiSession* const session =
        veil::openGuiSession(1, arguments).release();
    assert(session);
}

}  // namespace gallery
