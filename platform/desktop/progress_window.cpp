#include "platform/progress_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QThread>
#include <QWindow>
#include <memory>
#include <utility>
#include <vector>

#include "platform/desktop/font.h"

namespace veil {

// A title without a system menu. It never closes itself: a cancel only raises the flag.
struct ProgressWindow final : QWidget {
    QLabel label{this};
    QProgressBar bar{this};
    QPushButton button{QStringLiteral("Cancel"), this};
    bool cancelled = false;

    ProgressWindow() : QWidget(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint) {
        connect(&button, &QPushButton::clicked, this, [this] { cancelled = true; });
    }

  protected:
    void closeEvent(QCloseEvent* event) override {
        cancelled = true;
        event->ignore();
    }
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Escape) cancelled = true;
    }
};

namespace {

constexpr double kDipsPerInch = 96.0;
constexpr int kFontDips = 12;

// Dialog units as the Windows build's template has them: a quarter of the font's mean width, an eighth of its
// height.
constexpr double kUnitX = 7.0 / 4.0, kUnitY = 15.0 / 8.0;

// While this lives, what the user does to other windows waits; afterwards it takes its way.
class OthersWait final : QObject {
  public:
    explicit OthersWait(const QWindow* window) : window_(window) { qApp->installEventFilter(this); }
    ~OthersWait() override {
        qApp->removeEventFilter(this);
        for (auto& [receiver, event] : waiting_)
            if (receiver) QCoreApplication::postEvent(receiver, event.release());
    }
    OthersWait(const OthersWait&) = delete;
    OthersWait& operator=(const OthersWait&) = delete;

  protected:
    bool eventFilter(QObject* receiver, QEvent* event) override {
        if (!receiver->isWindowType() || receiver == window_) return false;
        if (!event->isInputEvent() && event->type() != QEvent::Close) return false;
        waiting_.emplace_back(receiver, event->clone());
        return true;
    }

  private:
    const QWindow* window_;
    std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> waiting_;
};

void handleEvents(const ProgressWindow& window) {
    const OthersWait wait(window.windowHandle());
    QCoreApplication::processEvents();
}

void layOut(ProgressWindow& window) {
    const double dip = window.logicalDpiX() / kDipsPerInch;
    const auto rect = [dip](int x, int y, int width, int height) {
        return QRectF(x * kUnitX * dip, y * kUnitY * dip, width * kUnitX * dip, height * kUnitY * dip)
            .toRect();
    };
    window.setFont(makeFont(QStringLiteral("Segoe UI"), qRound(kFontDips * dip), QFont::Normal));
    window.setFixedSize(rect(0, 0, 260, 76).size());
    window.label.setGeometry(rect(12, 12, 236, 12));
    window.bar.setGeometry(rect(12, 30, 236, 14));
    window.bar.setTextVisible(false);
    window.button.setGeometry(rect(190, 50, 58, 16));
}

}  // namespace

ProgressWindow* createProgressWindow(void* owner) {
    const auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!app || app->thread() != QThread::currentThread()) return nullptr;
    auto window = std::make_unique<ProgressWindow>();
    window->setWindowTitle(QStringLiteral("Lucent Veil - Applying..."));
    window->setAttribute(Qt::WA_QuitOnClose, false);  // the host's program goes on without it
    layOut(*window);
    window->winId();  // makes windowHandle()
    if (auto* widget = static_cast<QWidget*>(owner)) {
        // Not its child, which the owner would delete.
        window->windowHandle()->setTransientParent(widget->window()->windowHandle());
        window->setScreen(widget->screen());
    }
    return window.release();
}

void setProgressText(ProgressWindow* window, const wchar_t* text) {
    window->label.setText(QString::fromWCharArray(text));
}

void setProgressBar(ProgressWindow* window, std::int32_t position, std::int32_t maximum) {
    window->bar.setRange(0, maximum);
    window->bar.setValue(position);
}

void showProgressWindow(ProgressWindow* window) {
    const QRect work = window->screen()->availableGeometry();
    window->move(work.left() + (work.width() - window->width()) / 2,
                 work.top() + (work.height() - window->height()) / 2);
    window->show();
    // A window system tells by an event when a window can be painted.
    handleEvents(*window);
    window->repaint();
}

bool pumpProgressWindow(ProgressWindow* window) {
    handleEvents(*window);
    return window->cancelled;
}

void destroyProgressWindow(ProgressWindow* window) { std::default_delete<ProgressWindow>()(window); }

}  // namespace veil
