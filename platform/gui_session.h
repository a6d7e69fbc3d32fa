#pragma once

// What a program of ours needs before a window can open in it. A plug-in never opens a session: its host is
// the program.

#include <memory>

namespace veil {

struct GuiSession;
void releaseGuiSession(GuiSession* session);
struct GuiSessionReleaser {
    void operator()(GuiSession* session) const { releaseGuiSession(session); }
};
using GuiSessionHolder = std::unique_ptr<GuiSession, GuiSessionReleaser>;

/// Connects the program to the screen, once, on its first thread, for as long as windows are used; null if
/// there is no screen or the build has no windows. `arguments` is what main was given, the program's name
/// first.
GuiSessionHolder openGuiSession(int argumentCount, char** arguments);

}  // namespace veil
