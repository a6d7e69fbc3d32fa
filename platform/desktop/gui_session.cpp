#include "platform/gui_session.h"

#include <QApplication>
#include <QDir>
#include <QLibrary>
#include <QLibraryInfo>
#include <string_view>
#include <vector>

namespace veil {

struct GuiSession {
    int count;
    std::vector<char*> arguments;  // the application keeps and edits it
    QApplication application{count, arguments.data()};
};

namespace {

// A connection by the library that the application itself connects with, so that a refusal counts as well. It
// is held until the application has its own: with its last client a bare X server starts anew and refuses.
class XConnection {
  public:
    XConnection() {
        if (qEnvironmentVariableIsEmpty("DISPLAY")) return;
        const auto connect = reinterpret_cast<void* (*)(const char*, int*)>(library_.resolve("xcb_connect"));
        const auto hasError = reinterpret_cast<int (*)(void*)>(library_.resolve("xcb_connection_has_error"));
        disconnect_ = reinterpret_cast<void (*)(void*)>(library_.resolve("xcb_disconnect"));
        if (!connect || !hasError || !disconnect_) return;
        connection_ = connect(nullptr, nullptr);
        isOpen_ = hasError(connection_) == 0;
    }
    ~XConnection() {
        if (connection_) disconnect_(connection_);
    }
    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;

    bool isOpen() const { return isOpen_; }

  private:
    QLibrary library_{QStringLiteral("xcb"), 1};
    void (*disconnect_)(void*) = nullptr;
    void* connection_ = nullptr;
    bool isOpen_ = false;
};

bool canReachWayland() {
    const QString display = qEnvironmentVariable("WAYLAND_DISPLAY");
    const QDir sockets(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    return !display.isEmpty() && sockets.exists(display) &&
           !plugins.entryList({QStringLiteral("libqwayland*")}).isEmpty();
}

// The platform that is asked for by name, empty if none is.
QByteArray chosenPlatform(int count, char** arguments) {
    QByteArray chosen = qgetenv("QT_QPA_PLATFORM");
    for (int i = 1; i + 1 < count; ++i)
        if (std::string_view(arguments[i]) == "-platform") chosen = arguments[i + 1];
    return chosen;
}

// Without a screen the application would end the program instead of failing.
bool findScreen(const QByteArray& chosen, const XConnection& x) {
    if (chosen.startsWith("xcb")) return x.isOpen();
    if (chosen.startsWith("wayland")) return canReachWayland();
    if (!chosen.isEmpty() || x.isOpen()) return true;
    if (!canReachWayland()) return false;
    qputenv("QT_QPA_PLATFORM", "wayland");  // not everywhere the application's own choice
    return true;
}

}  // namespace

void releaseGuiSession(GuiSession* session) { std::default_delete<GuiSession>()(session); }

GuiSessionHolder openGuiSession(int argumentCount, char** arguments) {
    const XConnection x;
    if (!findScreen(chosenPlatform(argumentCount, arguments), x)) return nullptr;
    auto session = std::make_unique<GuiSession>(argumentCount,
                                                std::vector<char*>(arguments, arguments + argumentCount + 1));
    QApplication::setQuitOnLastWindowClosed(false);
    return GuiSessionHolder(session.release());
}

}  // namespace veil
