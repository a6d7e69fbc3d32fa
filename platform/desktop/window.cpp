#include "platform/window.h"

#include <QApplication>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <memory>

#include "platform/desktop/window_widget.h"

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

// The templates of the Windows build's resources. The first has no controls, the second a box to type in.
constexpr int kMainDialog = 16010, kSaveDialog = 16020, kSaveEditBox = 2101;
constexpr int kFrameMs = 16;

WindowWidget* widgetOf(Window* window) { return window ? window->widget.data() : nullptr; }

// The owner takes no input while this lives, unless somebody enables it before. One that was disabled already
// stays so.
class OwnerDisabled {
  public:
    explicit OwnerDisabled(QWidget* owner) : owner_(owner && owner->isEnabled() ? owner : nullptr) {
        if (owner_) owner_->setEnabled(false);
    }
    ~OwnerDisabled() {
        if (owner_) owner_->setEnabled(true);
    }
    OwnerDisabled(const OwnerDisabled&) = delete;
    OwnerDisabled& operator=(const OwnerDisabled&) = delete;

  private:
    const QPointer<QWidget> owner_;
};

void deleteWidget(Window& window) {
    if (!window.widget) return;
    window.isEnded = true;  // nothing but `destroy` comes from here on
    window.widget->hide();
    const std::unique_ptr<WindowWidget> widget(window.widget);
}

void runLoop(Window& window) {
    if (window.isEnded) return;
    if (!window.widget->isVisible()) showWindow(&window);
    QEventLoop loop;
    window.loop = &loop;
    loop.exec();
    window.loop = nullptr;
}

}  // namespace

int runModalDialog(int id, void* owner, MessageHandler handler, void* context) {
    if (!canMakeWindows() || (id != kMainDialog && id != kSaveDialog)) return -1;
    Window window{.handler = handler, .context = context, .owner = topLevel(owner)};
    auto made = std::make_unique<WindowWidget>(window, Qt::Dialog | Qt::FramelessWindowHint);
    made->setWindowModality(Qt::ApplicationModal);
    if (id == kSaveDialog) makeTemplateEditBox(*made, kSaveEditBox);
    made.release();  // others may delete it; window.widget knows
    {
        const OwnerDisabled disabled(window.owner);
        const bool systemPlacesFocus = send(window, {.kind = Kind::initialise});
        if (systemPlacesFocus && window.widget) {
            auto* box = window.widget->findChild<QWidget*>(QString::number(kSaveEditBox));
            (box ? box : window.widget.data())->setFocus();
        }
        runLoop(window);
    }
    deleteWidget(window);
    if (window.owner) window.owner->activateWindow();
    if (window.thrown) std::rethrow_exception(window.thrown);
    return window.result;
}

void endModalDialog(Window* window, int result) {
    if (!window || window->isEnded) return;
    window->result = result;
    window->isEnded = true;
    if (window->loop) window->loop->exit();
}

void enableOwner(Window* window) {
    if (window && window->owner) window->owner->setEnabled(true);
}

void reviveOwner(void* native) {
    QWidget* owner = topLevel(native);
    if (!owner || owner->isEnabled()) return;
    owner->setEnabled(true);
    owner->activateWindow();
}

void* nativeWindow(Window* window) { return static_cast<QWidget*>(widgetOf(window)); }

void resizeWindow(Window* window, PixelSize size) {
    if (auto* widget = widgetOf(window)) resizeTo(*widget, size);
}

void centreOnOwner(Window* window) {
    auto* widget = widgetOf(window);
    if (!widget) return;
    const QWidget* near = window->owner ? window->owner.data() : widget;
    const QRect work = near->screen()->availableGeometry();
    widget->move(work.left() + (work.width() - widget->width()) / 2,
                 work.top() + (work.height() - widget->height()) / 2);
}

// No window system here rounds a frameless window by request, and a mask would cut the frame's soft edge.
void roundCorners(Window*) {}

void showWindow(Window* window) {
    auto* widget = widgetOf(window);
    if (!widget) return;
    widget->show();
    widget->raise();
    widget->activateWindow();
}

void fadeIn(Window* window, int durationMs) {
    auto* widget = widgetOf(window);
    if (!widget) return;
    // Elsewhere a window can't be translucent as a whole.
    if (QGuiApplication::platformName() != QStringLiteral("xcb")) return showWindow(window);
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const auto start = Clock::now();
    const OthersHeld others(*window);
    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, widget, [&] {
        const double share = Milliseconds(Clock::now() - start).count() / std::max(durationMs, 1);
        widget->setWindowOpacity(std::min(share, 1.0));
        if (share >= 1.0) loop.exit();
    });
    QObject::connect(widget, &QObject::destroyed, &loop, &QEventLoop::quit);
    widget->setWindowOpacity(0.0);
    showWindow(window);
    timer.start(kFrameMs);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

void invalidate(Window* window) {
    auto* widget = widgetOf(window);
    if (!widget) return;
    window->paintIsDue = true;
    widget->update();
}

void repaintNow(Window* window) {
    auto* widget = widgetOf(window);
    if (widget && window->paintIsDue) widget->repaint();
}

// A point of the screen is the system's own one times the window's ratio; createPopup takes it back.
PixelPoint toScreen(Window* window, PixelPoint point) {
    const auto* widget = widgetOf(window);
    return widget ? toPixels(*widget, widget->mapToGlobal(fromPixels(*widget, point))) : point;
}

void focusWindow(Window* window) {
    if (auto* widget = widgetOf(window)) widget->setFocus();
}

void startTimer(Window* window, int id, int periodMs) {
    auto* widget = widgetOf(window);
    if (!widget) return;
    stopTimer(window, id);
    window->timers[id] = widget->startTimer(periodMs);
}

void stopTimer(Window* window, int id) {
    auto* widget = widgetOf(window);
    if (!widget) return;
    if (const auto timer = window->timers.extract(id)) widget->killTimer(timer.mapped());
}

// The system sends all moves to the window while a button is down, and only then is a mouse captured.
void captureMouse(Window* window) {
    if (!widgetOf(window)) return;
    if (window->isCaptured) send(*window, {.kind = Kind::captureLost, .captureIsOwn = true});
    window->isCaptured = true;
}

void releaseMouse(Window* window) {
    if (window) loseCapture(*window);
}

void trackLeave(Window* window) {
    if (window) window->wantsLeave = true;
}

}  // namespace veil
