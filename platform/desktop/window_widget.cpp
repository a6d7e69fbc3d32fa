#include "platform/desktop/window_widget.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>
#include <QThread>
#include <QWindow>
#include <algorithm>
#include <cmath>

namespace veil {

namespace {

using Kind = WindowMessage::Kind;

constexpr double kRoundingError =
    1.0 / 64.0;  // of a whole pixel that was divided by the ratio and comes back

OthersHeld* innermostHold = nullptr;

// What the handler throws must not cross the system's event loop.
bool callHandler(Window& window, const WindowMessage& message) {
    try {
        return window.handler(window.context, &window, message);
    } catch (...) {
        if (!window.thrown) window.thrown = std::current_exception();
        return true;
    }
}

}  // namespace

bool send(Window& window, const WindowMessage& message) {
    if (window.isEnded || OthersHeld::holdBack(window, message)) return false;
    const bool isHandled = callHandler(window, message);
    if (window.thrown && !window.isEnded) {
        if (window.isPopup)
            closePopup(&window);
        else
            endModalDialog(&window, window.result);
    }
    if (window.loop && window.done && *window.done) window.loop->exit();
    return isHandled;
}

void loseCapture(Window& window) {
    if (std::exchange(window.isCaptured, false)) send(window, {.kind = Kind::captureLost});
}

void finish(Window& window) {
    loseCapture(window);
    window.isEnded = true;
    if (!std::exchange(window.isDestroyed, true)) callHandler(window, {.kind = Kind::destroy});
    if (window.loop) window.loop->exit();
}

OthersHeld::OthersHeld(const Window& window) : window_(window), outer_(std::exchange(innermostHold, this)) {}

OthersHeld::~OthersHeld() {
    innermostHold = outer_;
    for (const auto& [widget, message] : late_) {
        if (!widget) continue;
        if (message.kind == Kind::paint)
            invalidate(&widget->record);
        else
            QMetaObject::invokeMethod(
                widget, [&record = widget->record, late = message] { send(record, late); },
                Qt::QueuedConnection);
    }
}

bool OthersHeld::holdBack(const Window& window, const WindowMessage& message) {
    if (!innermostHold || &innermostHold->window_ == &window) return false;
    if (message.kind != Kind::timer) innermostHold->late_.emplace_back(window.widget, message);
    return true;
}

WindowWidget::WindowWidget(Window& of, Qt::WindowFlags flags) : QWidget(nullptr, flags), record(of) {
    setAttribute(Qt::WA_QuitOnClose, false);  // the host's program goes on without it
    // Nothing erases: a window that has to wait keeps its picture.
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    winId();  // makes windowHandle()
    if (record.owner) {
        windowHandle()->setTransientParent(record.owner->windowHandle());
        setScreen(record.owner->screen());
    }
    record.widget = this;
}

WindowWidget::~WindowWidget() { finish(record); }

void WindowWidget::leave() {
    if (std::exchange(record.wantsLeave, false)) send(record, {.kind = Kind::mouseLeave});
}

void WindowWidget::paintEvent(QPaintEvent*) {
    record.paintIsDue = false;
    send(record, {.kind = Kind::paint});
}

void WindowWidget::timerEvent(QTimerEvent* event) {
    const auto timer = std::find_if(record.timers.begin(), record.timers.end(),
                                    [&](const auto& entry) { return entry.second == event->timerId(); });
    if (timer != record.timers.end()) send(record, {.kind = Kind::timer, .timer = timer->first});
}

// The system sends all moves while a button is down; a window that hasn't captured the mouse must not see
// those outside, nor those over a place that moves it.
bool WindowWidget::isOutOfReach(const QMouseEvent& event) {
    if (record.isCaptured) return false;
    return !QRectF(rect()).contains(event.position()) ||
           send(record, {.kind = Kind::hitTest, .point = toPixels(*this, event.position())});
}

void WindowWidget::startMove(const QMouseEvent& event) {
    if (!windowHandle()->startSystemMove()) moveOffset_ = event.globalPosition().toPoint() - pos();
}

void WindowWidget::mouseMoveEvent(QMouseEvent* event) {
    const bool isHeld = event->buttons().testFlag(Qt::LeftButton);
    if (!isHeld) moveOffset_.reset();
    if (moveOffset_) return move(event->globalPosition().toPoint() - *moveOffset_);
    // The release went elsewhere. A popup keeps the mouse without a button.
    if (!isHeld && !record.isPopup) loseCapture(record);
    if (isOutOfReach(*event)) return leave();
    send(record, {.kind = Kind::mouseMove, .point = toPixels(*this, event->position())});
}

void WindowWidget::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    if (isOutOfReach(*event)) return startMove(*event);
    send(record, {.kind = Kind::buttonDown, .point = toPixels(*this, event->position())});
}

void WindowWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || std::exchange(moveOffset_, std::nullopt)) return;
    if (isOutOfReach(*event)) return;
    send(record, {.kind = Kind::buttonUp, .point = toPixels(*this, event->position())});
}

void WindowWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || isOutOfReach(*event)) return;
    send(record, {.kind = Kind::doubleClick, .point = toPixels(*this, event->position())});
}

void WindowWidget::leaveEvent(QEvent*) {
    if (!record.isCaptured) leave();
}

void WindowWidget::keyPressEvent(QKeyEvent* event) {
    if (!record.isPopup && sendCommand(record, *event)) return;
    send(record, {.kind = Kind::key, .key = keyOf(*event)});
}

// Only a handler ends a dialog; a popup closes with the loss of the capture.
void WindowWidget::closeEvent(QCloseEvent* event) {
    event->setAccepted(record.isPopup);
    if (!record.isPopup) send(record, {.kind = Kind::command, .command = Command::cancel});
}

void WindowWidget::hideEvent(QHideEvent*) {
    if (record.isPopup) loseCapture(record);
}

bool canMakeWindows() {
    const auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    return app && app->thread() == QThread::currentThread();
}

QWidget* topLevel(void* nativeWindow) {
    return nativeWindow ? static_cast<QWidget*>(nativeWindow)->window() : nullptr;
}

QPointF fromPixels(const QWidget& widget, PixelPoint point) {
    return QPointF(point.x, point.y) / widget.devicePixelRatio();
}

PixelPoint toPixels(const QWidget& widget, QPointF point) {
    const auto pixel = [ratio = widget.devicePixelRatio()](double value) {
        return static_cast<std::int32_t>(std::floor(value * ratio + kRoundingError));
    };
    return {pixel(point.x()), pixel(point.y())};
}

void resizeTo(QWidget& widget, PixelSize size) {
    const auto length = [ratio = widget.devicePixelRatio()](std::int32_t pixels) {
        return static_cast<int>(std::ceil(pixels / ratio - kRoundingError));
    };
    widget.setFixedSize(length(size.width), length(size.height));
}

Key keyOf(const QKeyEvent& event) {
    switch (event.key()) {
        case Qt::Key_Up:
            return Key::up;
        case Qt::Key_Down:
            return Key::down;
        case Qt::Key_Left:
            return Key::left;
        case Qt::Key_Right:
            return Key::right;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return Key::enter;
        case Qt::Key_Escape:
            return Key::escape;
        default:
            return Key::other;
    }
}

bool sendCommand(Window& window, const QKeyEvent& event) {
    const Key key = keyOf(event);
    if (key != Key::enter && key != Key::escape) return false;
    send(window, {.kind = Kind::command, .command = key == Key::enter ? Command::ok : Command::cancel});
    return true;
}

}  // namespace veil
