#include "platform/windows/drawing_records.h"

namespace veil {

namespace {

D2D1_ROUNDED_RECT rounded(const RectF& rect, float radius) { return {native(rect), radius, radius}; }

// One figure of straight lines through `points`; null if there are fewer than two.
ComHolder<ID2D1PathGeometry> figure(const PointF* points, std::size_t count, D2D1_FIGURE_BEGIN begin,
                                    D2D1_FIGURE_END end) {
    ID2D1Factory* const factory = sharedD2DFactory();
    if (!factory || !points || count < 2) return nullptr;
    auto path = makeCom<ID2D1PathGeometry>([&](auto out) { return factory->CreatePathGeometry(out); });
    if (!path) return nullptr;
    const auto sink = makeCom<ID2D1GeometrySink>([&](auto out) { return path->Open(out); });
    if (!sink) return nullptr;
    sink->BeginFigure(native(points[0]), begin);
    for (std::size_t i = 1; i < count; ++i) sink->AddLine(native(points[i]));
    sink->EndFigure(end);
    if (FAILED(sink->Close())) return nullptr;
    return path;
}

}  // namespace

void releaseBrush(Brush* brush) { const std::unique_ptr<Brush> owner(brush); }

BrushHolder createColorBrush(RenderTarget* target, const Color& color) {
    if (!target) return nullptr;
    return BrushHolder(recordOf<Brush>(makeCom<ID2D1SolidColorBrush>(
        [&](auto out) { return target->surface->CreateSolidColorBrush(native(color), out); })));
}

BrushHolder createLinearGradientBrush(RenderTarget* target, PointF start, PointF end, const Color& first,
                                      const Color& last) {
    if (!target) return nullptr;
    const D2D1_GRADIENT_STOP colors[] = {{0.0f, native(first)}, {1.0f, native(last)}};
    const auto stops = makeCom<ID2D1GradientStopCollection>([&](auto out) {
        return target->surface->CreateGradientStopCollection(colors, 2, D2D1_GAMMA_2_2,
                                                             D2D1_EXTEND_MODE_CLAMP, out);
    });
    if (!stops) return nullptr;
    return BrushHolder(recordOf<Brush>(makeCom<ID2D1LinearGradientBrush>([&](auto out) {
        return target->surface->CreateLinearGradientBrush({native(start), native(end)}, stops.get(), out);
    })));
}

void fillRectangle(RenderTarget* target, const RectF& rect, Brush* brush) {
    if (!target || !brush) return;
    target->surface->FillRectangle(native(rect), brush->brush.get());
}

void strokeRectangle(RenderTarget* target, const RectF& rect, Brush* brush, float strokeWidth) {
    if (!target || !brush) return;
    target->surface->DrawRectangle(native(rect), brush->brush.get(), strokeWidth, nullptr);
}

void fillRoundRect(RenderTarget* target, const RectF& rect, float radius, Brush* brush) {
    if (!target || !brush) return;
    target->surface->FillRoundedRectangle(rounded(rect, radius), brush->brush.get());
}

void strokeRoundRect(RenderTarget* target, const RectF& rect, float radius, Brush* brush, float strokeWidth) {
    if (!target || !brush) return;
    target->surface->DrawRoundedRectangle(rounded(rect, radius), brush->brush.get(), strokeWidth, nullptr);
}

void drawLine(RenderTarget* target, PointF from, PointF to, Brush* brush, float strokeWidth) {
    if (!target || !brush) return;
    target->surface->DrawLine(native(from), native(to), brush->brush.get(), strokeWidth, nullptr);
}

void fillEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush) {
    if (!target || !brush) return;
    target->surface->FillEllipse({native(centre), radiusX, radiusY}, brush->brush.get());
}

void strokeEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush,
                   float strokeWidth) {
    if (!target || !brush) return;
    target->surface->DrawEllipse({native(centre), radiusX, radiusY}, brush->brush.get(), strokeWidth,
                                 nullptr);
}

void strokePolyline(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush,
                    float strokeWidth) {
    if (!target || !brush) return;
    const auto path = figure(points, count, D2D1_FIGURE_BEGIN_HOLLOW, D2D1_FIGURE_END_OPEN);
    if (path) target->surface->DrawGeometry(path.get(), brush->brush.get(), strokeWidth, nullptr);
}

void fillPolygon(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush) {
    if (!target || !brush) return;
    const auto path = figure(points, count, D2D1_FIGURE_BEGIN_FILLED, D2D1_FIGURE_END_CLOSED);
    if (path) target->surface->FillGeometry(path.get(), brush->brush.get(), nullptr);
}

}  // namespace veil
