#include "platform/edit_box.h"

#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <memory>

#include "platform/desktop/font.h"
#include "platform/desktop/window_widget.h"

namespace veil {

using Kind = WindowMessage::Kind;

struct EditBox final : QLineEdit {
    Window& dialog;
    const bool isFiltered;

    EditBox(WindowWidget& parent, bool filtered)
        : QLineEdit(&parent), dialog(parent.record), isFiltered(filtered) {
        setFrame(false);  // the dialog draws one, or none
        // Opaque, so that the cursor's blinking does not paint the dialog.
        setBackgroundRole(QPalette::Base);
        setAutoFillBackground(true);
        if (!isFiltered)
            connect(this, &QLineEdit::textChanged, this,
                    [this] { send(dialog, {.kind = Kind::editChanged}); });
    }

  protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (isFiltered ? takesKey(*event) : sendCommand(dialog, *event)) return;
        QLineEdit::keyPressEvent(event);
        event->accept();  // a key that the box has no use for is none of the dialog's
    }
    void inputMethodEvent(QInputMethodEvent* event) override {
        QString kept;
        for (const wchar_t character : event->commitString().toStdWString())
            if (!isFiltered || !takesCharacter(character)) kept += QString::fromWCharArray(&character, 1);
        event->setCommitString(kept, event->replacementStart(), event->replacementLength());
        QLineEdit::inputMethodEvent(event);
    }
    void focusOutEvent(QFocusEvent* event) override {
        // A popup, as the box's own menu is one, borrows the keys and no more.
        if (isFiltered && event->reason() != Qt::PopupFocusReason)
            send(dialog, {.kind = Kind::editFocusLost});
        QLineEdit::focusOutEvent(event);
    }
    // The dialog's own area ends where the box begins.
    void enterEvent(QEnterEvent* event) override {
        if (dialog.widget) dialog.widget->leave();
        QLineEdit::enterEvent(event);
    }
    bool focusNextPrevChild(bool) override { return false; }

  private:
    // A key's character follows even where the dialog has taken the key.
    bool takesKey(const QKeyEvent& event) {
        bool isTaken = send(dialog, {.kind = Kind::editKey, .key = keyOf(event)});
        if (event.key() == Qt::Key_Delete) return isTaken;  // has a text, and is no character
        for (const wchar_t character : event.text().toStdWString())
            if (takesCharacter(character)) isTaken = true;
        return isTaken;
    }
    bool takesCharacter(wchar_t character) {
        return send(dialog, {.kind = Kind::editCharacter, .character = character});
    }
};

namespace {

constexpr double kTemplateFontDips = 12.0, kDipsPerInch = 96.0;

QColor toColor(const Color& color) { return QColor::fromRgbF(color.r, color.g, color.b); }

void setColors(EditBox& box, const EditColors& colors) {
    const QColor text = toColor(colors.text), background = toColor(colors.background);
    QPalette palette = box.palette();
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Base, background);
    palette.setColor(QPalette::Highlight, text);
    palette.setColor(QPalette::HighlightedText, background);
    box.setPalette(palette);
}

QFont fontOf(double pixelSize, int weight) {
    return makeFont(QStringLiteral("Segoe UI"), std::max(qRound(pixelSize), 1), weight);
}

}  // namespace

void makeTemplateEditBox(WindowWidget& dialog, int control) {
    auto box = std::make_unique<EditBox>(dialog, false);
    box->setObjectName(QString::number(control));
    box->setFont(fontOf(kTemplateFontDips * dialog.logicalDpiX() / kDipsPerInch, QFont::Normal));
    box.release();  // the dialog's child
}

EditBox* createFilteredEditBox(Window* dialog, int emPx, int weight, const EditColors& colors) {
    if (!dialog || !dialog->widget) return nullptr;
    auto box = std::make_unique<EditBox>(*dialog->widget, true);
    box->hide();  // a child would be shown with its parent
    box->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    box->setFont(fontOf(emPx / dialog->widget->devicePixelRatio(), weight));
    setColors(*box, colors);
    return box.release();  // the dialog's child
}

EditBox* templateEditBox(Window* dialog, int control, const EditColors& colors) {
    if (!dialog || !dialog->widget) return nullptr;
    auto* box = static_cast<EditBox*>(dialog->widget->findChild<QLineEdit*>(QString::number(control)));
    if (box) setColors(*box, colors);
    return box;
}

void placeEditBox(EditBox* box, const PixelRect& rect) {
    if (!box) return;
    const QPointF topLeft = fromPixels(*box, {rect.left, rect.top});
    const QPointF bottomRight = fromPixels(*box, {rect.right, rect.bottom});
    const QPoint corner = topLeft.toPoint(), end = bottomRight.toPoint();
    box->setGeometry(corner.x(), corner.y(), end.x() - corner.x(), end.y() - corner.y());
}

PixelRect editBoxRect(EditBox* box) {
    if (!box) return {};
    const PixelPoint corner = toPixels(*box, box->pos());
    const PixelPoint end = toPixels(*box, box->pos() + QPoint(box->width(), box->height()));
    return {corner.x, corner.y, end.x, end.y};
}

void showEditBox(EditBox* box) {
    if (box) box->show();
}

void hideEditBox(EditBox* box) {
    if (!box) return;
    // Also while another window is active: on its return the dialog would give the keys to the hidden box.
    QWidget* const dialog = box->parentWidget();
    if (dialog->focusWidget() == box) dialog->setFocus();
    box->hide();
}

void focusEditBox(EditBox* box) {
    if (box) box->setFocus();
}

void disableInputMethod(EditBox* box) {
    if (box) box->setAttribute(Qt::WA_InputMethodEnabled, false);
}

void setEditText(EditBox* box, const wchar_t* text) {
    if (box) box->setText(QString::fromWCharArray(text));
}

std::wstring editText(EditBox* box, int maxUnits) {
    return box ? box->text().left(maxUnits).toStdWString() : std::wstring();
}

void selectAll(EditBox* box) {
    if (box) box->selectAll();
}

}  // namespace veil
