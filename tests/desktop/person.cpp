#include "tests/desktop/person.h"

#include <QApplication>
#include <QBackingStore>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include "platform/gui_session.h"

namespace person {

namespace {

constexpr int kPatienceMs = 2000;
constexpr double kDipsPerInch = 96.0;

QWindow* window() { return topWindow() ? topWindow()->windowHandle() : nullptr; }

QPoint toWindow(QPoint dips) { return (QPointF(dips) * topWindow()->logicalDpiX() / kDipsPerInch).toPoint(); }

}  // namespace

bool startSession() {
    static int count = 1;
    static char name[] = "person", *arguments[] = {name, nullptr};
    static const veil::GuiSession* const session = veil::openGuiSession(count, arguments).release();
    return session != nullptr;
}

QWidget* topWindow() {
    QWidget* const list = QApplication::activePopupWidget();
    return list ? list : QApplication::activeModalWidget();
}

bool meet(const Act& open, const Act& act) {
    const QWidget* const before = topWindow();
    bool isMet = false, isLeft = true;
    QTimer visit, impatience;
    QObject::connect(&impatience, &QTimer::timeout, [&] {
        isLeft = false;
        pressKey(Qt::Key_Escape);
    });
    QObject::connect(&visit, &QTimer::timeout, [&] {
        QWidget* const now = topWindow();
        if (!now || now == before) return;
        visit.stop();
        isMet = QTest::qWaitForWindowExposed(now);
        QTest::qWait(50);  // for the focus and the first paint
        act();
        impatience.start(kPatienceMs);
    });
    visit.start(1);
    open();
    return isMet && isLeft;
}

void press(QPoint at) { QTest::mousePress(window(), Qt::LeftButton, {}, toWindow(at)); }
void moveTo(QPoint at) { QTest::mouseMove(window(), toWindow(at)); }
void release(QPoint at) { QTest::mouseRelease(window(), Qt::LeftButton, {}, toWindow(at)); }

void click(QPoint at) {
    moveTo(at);
    press(at);
    release(at);
}

void doubleClick(QPoint at) {
    moveTo(at);
    QTest::mouseDClick(window(), Qt::LeftButton, {}, toWindow(at));
}

void pressKey(Qt::Key key) {
    if (window()) QTest::keyClick(window(), key);
}

void type(const QString& text) {
    for (const QChar character : text)
        QTest::sendKeyEvent(QTest::Click, window(), Qt::Key_unknown, character, {});
}

// From the window's own pixels: off screen, a grabbed screen ends at the size in coarser coordinates.
QImage pictureOf(const QWidget& window) {
    QTest::qWait(50);  // for what is still to be painted
    const auto* pixels = dynamic_cast<const QImage*>(window.backingStore()->paintDevice());
    if (!pixels) return {};
    QImage picture = pixels->convertToFormat(QImage::Format_RGB32);
    picture.setDevicePixelRatio(window.devicePixelRatio());
    return picture;
}

}  // namespace person
