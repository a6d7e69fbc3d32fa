#include "platform/gui_session.h"

namespace veil {

// There is no screen, so none is ever opened.
struct GuiSession {};

void releaseGuiSession(GuiSession* session) { delete session; }

GuiSessionHolder openGuiSession(int, char**) { return nullptr; }

}  // namespace veil
