#include "platform/drawing.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "platform/desktop/render_target.h"
#include "platform/desktop/resources.h"
#include "platform/windows_1252.h"

namespace veil {

namespace {

constexpr double kDipsPerInch = 96.0;
constexpr double kMiterLimit = 5.0;  // in stroke widths from the corner to the tip
constexpr double kFineness = 8.0;    // of a curve's lines, against those of the painter

QColor toColor(const Color& color) {
    const auto channel = [](float value) { return std::clamp(value, 0.0f, 1.0f); };
    return QColor::fromRgbF(channel(color.r), channel(color.g), channel(color.b), channel(color.a));
}

QPointF toPoint(PointF point) { return {point.x, point.y}; }
QRectF toRect(const RectF& rect) {
    return QRectF(QPointF(rect.left, rect.top), QPointF(rect.right, rect.bottom));
}

QPainterPath rectangle(const QRectF& rect) {
    QPainterPath path;
    if (rect.isValid()) path.addRect(rect);
    return path;
}

QPainterPath roundRect(const QRectF& rect, double radius) {
    QPainterPath path;
    if (rect.isValid()) path.addRoundedRect(rect, std::max(radius, 0.0), std::max(radius, 0.0));
    return path;
}

QPainterPath ellipse(PointF centre, double radiusX, double radiusY) {
    QPainterPath path;
    if (radiusX > 0.0 && radiusY > 0.0) path.addEllipse(toPoint(centre), radiusX, radiusY);
    return path;
}

QPainterPath polyline(const PointF* points, std::size_t count) {
    QPainterPath path;
    if (!points || count < 2) return path;
    path.moveTo(toPoint(points[0]));
    for (std::size_t i = 1; i < count; ++i) path.lineTo(toPoint(points[i]));
    return path;
}

// The painter turns curves into lines within a quarter of a pixel, too coarse for the corners of a thin
// frame.
QPainterPath inFineLines(const QPainterPath& path, double scale) {
    const QTransform fine = QTransform::fromScale(kFineness * scale, kFineness * scale);
    QPainterPath lines;
    lines.setFillRule(path.fillRule());
    for (const QPolygonF& polygon : path.toSubpathPolygons(fine))
        lines.addPolygon(fine.inverted().map(polygon));
    return lines;
}

void fill(RenderTarget* target, const QPainterPath& path, const Brush* brush) {
    if (isDrawing(target) && brush) target->painter.fillPath(inFineLines(path, target->scale), brush->brush);
}

// What lies between two closed outlines; exact, where a stroked outline only comes near.
QPainterPath band(QPainterPath outer, const QPainterPath& inner) {
    outer.setFillRule(Qt::OddEvenFill);
    outer.addPath(inner);
    return outer;
}

QRectF grown(const QRectF& rect, double by) { return rect.adjusted(-by, -by, by, by); }

void strokeOpen(RenderTarget* target, const QPainterPath& path, const Brush* brush, float strokeWidth) {
    if (!(strokeWidth > 0.0f)) return;
    // As an outline to fill: the painter's own thin lines are placed by rules of their own. Simplified, since
    // an overlap at a corner would count twice in its pixels.
    QPainterPathStroker stroker;
    stroker.setWidth(strokeWidth);
    stroker.setJoinStyle(Qt::MiterJoin);
    stroker.setMiterLimit(kMiterLimit);
    stroker.setCapStyle(Qt::FlatCap);
    fill(target, stroker.createStroke(path).simplified(), brush);
}

std::unique_ptr<RenderTarget> makeTarget(int widthPx, int heightPx, float scale) {
    auto target = std::make_unique<RenderTarget>();
    if (widthPx > 0 && heightPx > 0)
        target->image = QImage(widthPx, heightPx, QImage::Format_ARGB32_Premultiplied);
    if (target->image.isNull()) return nullptr;
    target->image.fill(Qt::transparent);
    if (scale > 0.0f) target->scale = scale;
    return target;
}

BrushHolder makeBrush(const QBrush& brush) {
    auto made = std::make_unique<Brush>();
    made->brush = brush;
    return BrushHolder(made.release());
}

BitmapHolder makeBitmap(QImage image) {
    if (image.isNull()) return nullptr;
    auto made = std::make_unique<Bitmap>();
    made->image = std::move(image);
    return BitmapHolder(made.release());
}

void present(const RenderTarget& target) {
    QWidget& widget = *target.widget;
    if (!widget.testAttribute(Qt::WA_WState_InPaintEvent)) return widget.update();
    QPainter painter(&widget);
    // Pixel to pixel: the widget's own coordinates are coarser where the screen is scaled.
    const double pixel = 1.0 / widget.devicePixelRatio();
    painter.scale(pixel, pixel);
    painter.drawImage(0, 0, target.image);
}

}  // namespace

void releaseRenderTarget(RenderTarget* target) { std::default_delete<RenderTarget>()(target); }
void releaseBrush(Brush* brush) { std::default_delete<Brush>()(brush); }
void releaseTextFormat(TextFormat* format) { std::default_delete<TextFormat>()(format); }
void releaseBitmap(Bitmap* bitmap) { std::default_delete<Bitmap>()(bitmap); }

float windowScale(void* nativeWindow) {
    double scale = 0.0;
    if (const auto* widget = static_cast<QWidget*>(nativeWindow))
        scale = widget->devicePixelRatio() * widget->logicalDpiX() / kDipsPerInch;
    else if (const QScreen* screen = qGuiApp ? QGuiApplication::primaryScreen() : nullptr)
        scale = screen->devicePixelRatio() * screen->logicalDotsPerInchX() / kDipsPerInch;
    return scale > 0.0 ? static_cast<float>(scale) : 1.0f;
}

bool createWindowRenderTarget(RenderTargetHolder& holder, void* nativeWindow, float scale) {
    if (!qGuiApp) return false;
    holder.reset();
    auto* widget = static_cast<QWidget*>(nativeWindow);
    if (!widget) return false;
    const QSizeF pixels = QSizeF(widget->size()) * widget->devicePixelRatio();
    auto target = makeTarget(qRound(pixels.width()), qRound(pixels.height()), scale);
    if (!target) return false;
    target->widget = widget;
    target->ofWindow = true;
    holder.reset(target.release());
    return true;
}

RenderTargetHolder createImageRenderTarget(int widthPx, int heightPx, float scale) {
    return RenderTargetHolder(makeTarget(widthPx, heightPx, scale).release());
}

std::vector<std::uint8_t> imagePixels(RenderTarget* target) {
    if (!target || target->ofWindow) return {};
    const QImage straight = target->image.convertToFormat(QImage::Format_RGBA8888).rgbSwapped();
    return {straight.constBits(), straight.constBits() + straight.sizeInBytes()};
}

bool saveImage(RenderTarget* target, const std::wstring& path) {
    return target && !target->ofWindow && target->image.save(QString::fromStdWString(path), "PNG");
}

void beginDraw(RenderTarget* target) {
    if (!target || !target->painter.begin(&target->image)) return;
    target->painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                                   QPainter::SmoothPixmapTransform);
    target->painter.scale(target->scale, target->scale);
}

void clearTarget(RenderTarget* target, const Color& color) {
    if (isDrawing(target)) target->image.fill(toColor(color));
}

FrameResult endDraw(RenderTarget* target) {
    if (!isDrawing(target)) return FrameResult::failed;
    target->painter.end();
    if (std::exchange(target->isLost, false)) return FrameResult::targetLost;
    if (!target->ofWindow) return FrameResult::shown;
    if (!target->widget) return FrameResult::failed;
    present(*target);
    return FrameResult::shown;
}

void loseTarget(RenderTarget* target) {
    if (target) target->isLost = true;
}

BrushHolder createColorBrush(RenderTarget* target, const Color& color) {
    return target ? makeBrush(toColor(color)) : nullptr;
}

BrushHolder createLinearGradientBrush(RenderTarget* target, PointF start, PointF end, const Color& first,
                                      const Color& last) {
    if (!target) return nullptr;
    QLinearGradient gradient(toPoint(start), toPoint(end));
    gradient.setInterpolationMode(QGradient::ComponentInterpolation);
    gradient.setSpread(QGradient::PadSpread);
    gradient.setColorAt(0.0, toColor(first));
    gradient.setColorAt(1.0, toColor(last));
    return makeBrush(gradient);
}

void fillRectangle(RenderTarget* target, const RectF& rect, Brush* brush) {
    fill(target, rectangle(toRect(rect)), brush);
}

void strokeRectangle(RenderTarget* target, const RectF& rect, Brush* brush, float strokeWidth) {
    const double half = strokeWidth / 2.0;
    fill(target, band(rectangle(grown(toRect(rect), half)), rectangle(grown(toRect(rect), -half))), brush);
}

void fillRoundRect(RenderTarget* target, const RectF& rect, float radius, Brush* brush) {
    fill(target, roundRect(toRect(rect), radius), brush);
}

void strokeRoundRect(RenderTarget* target, const RectF& rect, float radius, Brush* brush, float strokeWidth) {
    const double half = strokeWidth / 2.0;
    const QRectF box = toRect(rect);
    const double fitting = std::min({double{radius}, box.width() / 2.0, box.height() / 2.0});
    fill(target,
         band(roundRect(grown(box, half), fitting + half), roundRect(grown(box, -half), fitting - half)),
         brush);
}

void drawLine(RenderTarget* target, PointF from, PointF to, Brush* brush, float strokeWidth) {
    const PointF ends[] = {from, to};
    strokeOpen(target, polyline(ends, 2), brush, strokeWidth);
}

void fillEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush) {
    fill(target, ellipse(centre, radiusX, radiusY), brush);
}

void strokeEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush,
                   float strokeWidth) {
    const double half = strokeWidth / 2.0;
    fill(target,
         band(ellipse(centre, radiusX + half, radiusY + half),
              ellipse(centre, radiusX - half, radiusY - half)),
         brush);
}

void strokePolyline(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush,
                    float strokeWidth) {
    strokeOpen(target, polyline(points, count), brush, strokeWidth);
}

void fillPolygon(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush) {
    fill(target, polyline(points, count), brush);
}

BitmapHolder createPreviewBitmap(RenderTarget* target, const std::uint8_t* pixels, int width, int height) {
    if (!target || !pixels || width < 1 || height < 1) return nullptr;
    // The conversion copies the pixels, and sets the byte that is ignored.
    return makeBitmap(QImage(pixels, width, height, qsizetype{4} * width, QImage::Format_RGB32)
                          .convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

BitmapHolder loadBannerBitmap(RenderTarget* target, int id) {
    const auto bytes = moduleResource(id);
    if (!target || bytes.empty()) return nullptr;
    return makeBitmap(QImage::fromData(bytes.data(), static_cast<int>(bytes.size()), "PNG")
                          .convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

SizeF bitmapSize(Bitmap* bitmap) {
    if (!bitmap) return {0.0f, 0.0f};
    return {static_cast<float>(bitmap->image.width()), static_cast<float>(bitmap->image.height())};
}

void drawBitmap(RenderTarget* target, Bitmap* bitmap, const RectF& rect) {
    if (isDrawing(target) && bitmap) target->painter.drawImage(toRect(rect), bitmap->image);
}

std::wstring widenAnsiText(const char* text) { return widenWindows1252(text); }

}  // namespace veil
