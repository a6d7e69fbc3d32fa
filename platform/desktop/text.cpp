#include <QGuiApplication>
#include <QTextLayout>
#include <QTextOption>
#include <cmath>
#include <memory>

#include "platform/desktop/font.h"
#include "platform/desktop/render_target.h"
#include "platform/drawing.h"

namespace veil {

namespace {

// Text is laid out in units of a tenth of a DIP, whatever the target's scale: fonts are sized in whole units,
// and the font system rounds line heights to whole units.
constexpr double kUnitsPerDip = 10.0;
constexpr double kNoLimit = 1e7;   // of a line's width, in text units
constexpr double kFootRoom = 2.0;  // DIPs

struct Paragraph {
    QTextLayout layout;
    double height = 0.0;  // text units
};

std::unique_ptr<Paragraph> layOut(const wchar_t* text, const QFont& font, QTextOption::WrapMode wrap,
                                  double widthUnits) {
    auto paragraph = std::make_unique<Paragraph>();
    QTextLayout& layout = paragraph->layout;
    layout.setText(QString::fromWCharArray(text).replace(u'\n', QChar::LineSeparator));
    layout.setFont(font);
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
    option.setWrapMode(wrap);
    layout.setTextOption(option);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(widthUnits);
        paragraph->height += line.height();
    }
    layout.endLayout();
    return paragraph;
}

double shiftOf(TextAlign align, double spaceUnits) {
    if (align == TextAlign::leading) return 0.0;
    return align == TextAlign::trailing ? spaceUnits : spaceUnits / 2.0;
}

// `top` in DIPs. Baselines fall on whole pixels of the target.
void draw(RenderTarget& target, const Paragraph& paragraph, const RectF& rect, double top, const Brush& brush,
          TextAlign align) {
    const QTransform toDips = QTransform::fromScale(1.0 / kUnitsPerDip, 1.0 / kUnitsPerDip);
    QBrush ink = brush.brush;
    ink.setTransform(toDips.inverted());
    target.painter.setTransform(toDips, true);
    target.painter.setPen(QPen(ink, 1.0));
    const double widthUnits = (double{rect.right} - rect.left) * kUnitsPerDip;
    const double unitsPerPixel = kUnitsPerDip / target.scale;
    double y = top * kUnitsPerDip;
    for (int i = 0; i < paragraph.layout.lineCount(); ++i) {
        const QTextLine line = paragraph.layout.lineAt(i);
        const double x = rect.left * kUnitsPerDip + shiftOf(align, widthUnits - line.naturalTextWidth());
        const double baseline = std::round((y + line.ascent()) / unitsPerPixel) * unitsPerPixel;
        line.draw(&target.painter, QPointF(x, baseline - line.ascent()) - line.position());
        y += line.height();
    }
}

// What clips a line that leaves `spaceDip` of its rectangle's height free; below 0 it is too high. A font
// that stands in for another may be higher by a trifle, and may have feet where the other has none, as that
// of a J: they stay.
QRectF clipOf(const RectF& rect, double spaceDip) {
    const QRectF clip(QPointF(rect.left, rect.top), QPointF(rect.right, rect.bottom));
    return spaceDip < 0.0 && spaceDip >= -kFootRoom ? clip.adjusted(0.0, spaceDip, 0.0, -spaceDip) : clip;
}

}  // namespace

TextFormatHolder createTextFormat(const wchar_t* family, float sizeDip, int weight) {
    if (!qGuiApp || !family || !(sizeDip > 0.0f)) return nullptr;
    auto format = std::make_unique<TextFormat>();
    format->font = makeFont(QString::fromWCharArray(family), qMax(1, qRound(sizeDip * kUnitsPerDip)), weight);
    return TextFormatHolder(format.release());
}

void drawSingleLineText(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                        Brush* brush, TextAlign align, ParagraphAlign paragraph) {
    if (!isDrawing(target) || !text || !format || !brush) return;
    const auto line = layOut(text, format->font, QTextOption::NoWrap, kNoLimit);
    const double space = double{rect.bottom} - rect.top - line->height / kUnitsPerDip;
    target->painter.save();
    target->painter.setClipRect(clipOf(rect, space));
    draw(*target, *line, rect, paragraph == ParagraphAlign::centre ? rect.top + space / 2.0 : rect.top,
         *brush, align);
    target->painter.restore();
}

void drawWrappedText(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                     Brush* brush) {
    if (!isDrawing(target) || !text || !format || !brush) return;
    const auto lines = layOut(text, format->font, QTextOption::WrapAtWordBoundaryOrAnywhere,
                              (double{rect.right} - rect.left) * kUnitsPerDip);
    target->painter.save();
    draw(*target, *lines, rect, rect.top, *brush, TextAlign::leading);
    target->painter.restore();
}

}  // namespace veil
