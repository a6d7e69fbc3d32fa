#include "platform/gui_session.h"

namespace veil {

// The system connects every program by itself.
struct GuiSession {};

void releaseGuiSession(GuiSession* session) { const std::unique_ptr<GuiSession> owner(session); }

GuiSessionHolder openGuiSession(int, char**) {
    return GuiSessionHolder(std::make_unique<GuiSession>().release());
}

}  // namespace veil
