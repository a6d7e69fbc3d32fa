#include "platform/drawing.h"

#include <utility>

#include "platform/recording/recorder.h"
#include "platform/windows_1252.h"

namespace veil {

struct RenderTarget {
    bool ofWindow = false;
};
struct Bitmap {
    SizeF size;
    int bannerId = 0;  // 0: a preview
};

// Nothing can be made without a recorder; what outlives its recorder draws into the void.
Recorder& script() {
    static Recorder none{
        .refusesTargets = true, .refusesFormats = true, .refusesDialogs = true, .refusesPopups = true};
    return installedRecorder() ? *installedRecorder() : none;
}

namespace {

template <class Holder, class T = typename Holder::element_type>
Holder make(bool refused, const T& object) {
    return Holder(refused ? nullptr : std::make_unique<T>(object).release());
}

BrushHolder makeBrush(RenderTarget* target, const Brush& brush) {
    const bool refused = script().refusedBrush > 0 && --script().refusedBrush == 0;
    BrushHolder holder = make<BrushHolder>(refused || !target, brush);
    if (holder) script().liveBrushes.push_back(holder.get());
    return holder;
}

std::vector<PointF> corners(const RectF& r) { return {{r.left, r.top}, {r.right, r.bottom}}; }

void record(RenderTarget* target, RecordedDraw draw) {
    if (target) script().draws.push_back(std::move(draw));
}

void record(RenderTarget* target, const Brush* brush, RecordedDraw draw) {
    if (!brush) return;
    draw.paint = *brush;
    record(target, std::move(draw));
}

}  // namespace

void releaseRenderTarget(RenderTarget* target) {
    if (target->ofWindow) recordCall("releaseRenderTarget");
    std::default_delete<RenderTarget>()(target);
}
void releaseTextFormat(TextFormat* format) { std::default_delete<TextFormat>()(format); }
void releaseBitmap(Bitmap* bitmap) { std::default_delete<Bitmap>()(bitmap); }
void releaseBrush(Brush* brush) {
    auto& live = script().liveBrushes;
    script().brushesOutOfOrder |= !live.empty() && live.back() != brush;
    std::erase(live, brush);
    std::default_delete<Brush>()(brush);
}

float windowScale(void*) { return script().scale; }
bool createWindowRenderTarget(RenderTargetHolder& holder, void*, float scale) {
    if (!installedRecorder()) return false;
    recordCall("createWindowRenderTarget", {scale});
    holder.reset();
    holder = make<RenderTargetHolder>(script().refusesTargets, {.ofWindow = true});
    return holder != nullptr;
}
RenderTargetHolder createImageRenderTarget(int, int, float) {
    return make<RenderTargetHolder>(script().refusesTargets, {});
}

// Draws are listed, not rasterised.
std::vector<std::uint8_t> imagePixels(RenderTarget*) { return {}; }
bool saveImage(RenderTarget*, const std::wstring&) { return false; }

void beginDraw(RenderTarget* target) { record(target, {"beginDraw"}); }
void clearTarget(RenderTarget* target, const Color& color) {
    record(target, {.call = "clearTarget", .paint = {color}});
}
FrameResult endDraw(RenderTarget* target) {
    record(target, {"endDraw"});
    if (!target) return FrameResult::failed;
    return std::exchange(script().losesTarget, false) ? FrameResult::targetLost : FrameResult::shown;
}
void loseTarget(RenderTarget* target) { script().losesTarget |= target != nullptr; }

BrushHolder createColorBrush(RenderTarget* target, const Color& color) { return makeBrush(target, {color}); }
BrushHolder createLinearGradientBrush(RenderTarget* target, PointF start, PointF end, const Color& first,
                                      const Color& last) {
    if (script().refusesGradients) return nullptr;
    return makeBrush(target, {first, last, true, start, end});
}

void fillRectangle(RenderTarget* target, const RectF& r, Brush* brush) {
    record(target, brush, {"fillRectangle", corners(r)});
}
void strokeRectangle(RenderTarget* target, const RectF& r, Brush* brush, float width) {
    record(target, brush, {"strokeRectangle", corners(r), {}, width});
}
void fillRoundRect(RenderTarget* target, const RectF& r, float radius, Brush* brush) {
    record(target, brush, {"fillRoundRect", corners(r), {radius, radius}});
}
void strokeRoundRect(RenderTarget* target, const RectF& r, float radius, Brush* brush, float width) {
    record(target, brush, {"strokeRoundRect", corners(r), {radius, radius}, width});
}
void drawLine(RenderTarget* target, PointF from, PointF to, Brush* brush, float width) {
    record(target, brush, {"drawLine", {from, to}, {}, width});
}
void fillEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush) {
    record(target, brush, {"fillEllipse", {centre}, {radiusX, radiusY}});
}
void strokeEllipse(RenderTarget* target, PointF centre, float radiusX, float radiusY, Brush* brush,
                   float width) {
    record(target, brush, {"strokeEllipse", {centre}, {radiusX, radiusY}, width});
}
void strokePolyline(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush,
                    float width) {
    record(target, brush, {"strokePolyline", {points, points + count}, {}, width});
}
void fillPolygon(RenderTarget* target, const PointF* points, std::size_t count, Brush* brush) {
    record(target, brush, {"fillPolygon", {points, points + count}});
}

TextFormatHolder createTextFormat(const wchar_t* family, float sizeDip, int weight) {
    recordCall("createTextFormat", {sizeDip, double(weight)});
    return make<TextFormatHolder>(script().refusesFormats, {family ? family : L"", sizeDip, weight});
}
void drawSingleLineText(RenderTarget* target, const wchar_t* text, const RectF& r, TextFormat* format,
                        Brush* brush, TextAlign align, ParagraphAlign paragraph) {
    if (!format || !text) return;
    record(target, brush, {"drawSingleLineText", corners(r), {}, 0, text, *format, align, paragraph});
}
void drawWrappedText(RenderTarget* target, const wchar_t* text, const RectF& r, TextFormat* format,
                     Brush* brush) {
    if (format && text) record(target, brush, {"drawWrappedText", corners(r), {}, 0, text, *format});
}

BitmapHolder createPreviewBitmap(RenderTarget* target, const std::uint8_t* pixels, int width, int height) {
    const bool usable = target && pixels && width > 0 && height > 0;
    if (usable) script().previewPixels.assign(pixels, pixels + std::size_t(width) * height * 4);
    return make<BitmapHolder>(!usable, {{float(width), float(height)}});
}
BitmapHolder loadBannerBitmap(RenderTarget* target, int id) {
    const bool refused = !target || script().refusesBanners;
    return make<BitmapHolder>(refused, {script().bannerSize, id});
}
SizeF bitmapSize(Bitmap* bitmap) { return bitmap ? bitmap->size : SizeF{}; }
void drawBitmap(RenderTarget* target, Bitmap* bitmap, const RectF& r) {
    if (!bitmap) return;
    record(target, {.call = "drawBitmap",
                    .points = corners(r),
                    .bannerId = bitmap->bannerId,
                    .bitmapSize = bitmap->size});
}

std::wstring widenAnsiText(const char* text) { return widenWindows1252(text); }

}  // namespace veil
