#include <QWindow>
#include <memory>

#include "platform/desktop/window_widget.h"

namespace veil {

Window* createPopup(void* owner, PixelPoint onScreen, PixelSize size, MessageHandler handler, void* context) {
    if (!canMakeWindows()) return nullptr;
    auto popup = std::make_unique<Window>(
        Window{.handler = handler, .context = context, .isPopup = true, .owner = topLevel(owner)});
    auto widget = std::make_unique<WindowWidget>(*popup, Qt::Popup | Qt::FramelessWindowHint);
    widget->setAttribute(Qt::WA_ShowWithoutActivating);
    widget->setAttribute(Qt::WA_NoMouseReplay);  // the press that closes it has done its work
    resizeTo(*widget, size);
    const QWidget& measure = popup->owner ? *popup->owner : *widget;
    widget->move(fromPixels(measure, onScreen).toPoint());
    widget.release();  // others may delete it; popup->widget knows
    return popup.release();
}

void showPopup(Window* popup) {
    if (!popup || !popup->widget || popup->isEnded) return;
    popup->isCaptured = true;
    popup->widget->show();
}

void runPopup(Window* popup, const bool& done) {
    if (!popup) return;
    if (!done && !popup->isEnded) {
        const OthersHeld others(*popup);
        QEventLoop loop;
        popup->loop = &loop;
        popup->done = &done;
        loop.exec();
        popup->loop = nullptr;
        popup->done = nullptr;
    }
    if (popup->thrown) std::rethrow_exception(std::exchange(popup->thrown, nullptr));
}

void closePopup(Window* popup) {
    if (!popup || popup->isDestroyed) return;
    finish(*popup);
    if (popup->widget) popup->widget->hide();
}

void destroyPopup(Window* popup) {
    const std::unique_ptr<Window> record(popup);
    if (!record) return;
    closePopup(popup);
    const std::unique_ptr<WindowWidget> widget(record->widget);
}

}  // namespace veil
