#pragma once

// The record of a window and the widget that turns the system's events into its messages.
//
// The record outlives the widget, which others may delete at any time: `widget` is null from then on.

#include <QEventLoop>
#include <QPointer>
#include <QWidget>
#include <exception>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/window.h"

namespace veil {

class WindowWidget;

struct Window {
    MessageHandler handler;
    void* context;
    bool isPopup = false;
    QPointer<QWidget> owner{};        // its top-level widget
    QPointer<WindowWidget> widget{};  // null before it is made and after it is gone
    QEventLoop* loop = nullptr;       // while the dialog or the popup runs
    const bool* done = nullptr;       // of a popup's loop
    int result = 0;
    std::exception_ptr thrown{};  // by the handler; leaves where the loop was entered
    bool isEnded = false;         // takes no message but `destroy`
    bool isDestroyed = false;     // had its `destroy`
    bool isCaptured = false;
    bool wantsLeave = false;
    bool paintIsDue = false;
    std::map<int, int> timers{};  // the system's ids by ours
};

/// Gives a message to the window's handler, unless the window is past that or has to wait; false if it does
/// not come to it. Nothing is thrown.
bool send(Window& window, const WindowMessage& message);
/// Takes the capture away, if the window has it.
void loseCapture(Window& window);
/// The window's last messages; its loop ends. The widget may live on, without effect.
void finish(Window& window);

/// While this lives no other window's handler runs. What comes for one is delivered afterwards; timers only
/// go on.
class OthersHeld {
  public:
    explicit OthersHeld(const Window& window);
    ~OthersHeld();
    OthersHeld(const OthersHeld&) = delete;
    OthersHeld& operator=(const OthersHeld&) = delete;

    /// Whether `message` has to wait; if so, it is kept.
    static bool holdBack(const Window& window, const WindowMessage& message);

  private:
    const Window& window_;
    OthersHeld* const outer_;
    std::vector<std::pair<QPointer<WindowWidget>, WindowMessage>> late_{};
};

class WindowWidget final : public QWidget {
  public:
    /// Hidden, on the owner's screen and above the owner, but not its child, which the owner would delete.
    WindowWidget(Window& record, Qt::WindowFlags flags);
    ~WindowWidget() override;

    Window& record;

    /// The mouse is no longer over what is the window's own.
    void leave();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool focusNextPrevChild(bool) override { return false; }

  private:
    bool isOutOfReach(const QMouseEvent& event);
    void startMove(const QMouseEvent& event);

    std::optional<QPoint> moveOffset_{};  // while the window is moved by hand: from its corner to the mouse
};

/// Whether windows can be made: this is the thread of a QApplication.
bool canMakeWindows();
/// The top-level widget of a native window; null for null.
QWidget* topLevel(void* nativeWindow);
/// Widget coordinates from device pixels, and back.
QPointF fromPixels(const QWidget& widget, PixelPoint point);
PixelPoint toPixels(const QWidget& widget, QPointF point);
/// Never smaller than asked for, where the widget's own coordinates are coarser.
void resizeTo(QWidget& widget, PixelSize size);

Key keyOf(const QKeyEvent& event);
/// Sends the command that Enter or Escape stands for; false for other keys.
bool sendCommand(Window& window, const QKeyEvent& event);

/// Makes the edit box of the dialog's template, id `control`.
void makeTemplateEditBox(WindowWidget& dialog, int control);

}  // namespace veil
