#include "toolkit/measures.h"
#include "toolkit/theme.h"
#include "toolkit/widgets.h"

namespace veil {

namespace {

constexpr float kControlRadius = 6.0f;
constexpr float kSmallRadius = 3.0f;  // check box, spinner
constexpr float kHairline = 1.0f;
constexpr float kCheckSize = 16.0f;
constexpr float kTrackHalf = 1.5f;  // half the height of a slider's track, and the radius of its ends
constexpr float kBandHeight = float(kTitleBandHeight);
constexpr float kBandMargin = 18.0f;  // left of the banner or the title
constexpr float kCloseRoom = 60.0f;   // what they leave to the close button
constexpr float kBannerHeight = 22.0f;
constexpr float kCrossInset = 9.0f;

template <class Rect>
RectF floatRect(const Rect& r) {
    return {float(r.left), float(r.top), float(r.right), float(r.bottom)};
}

template <class Rect>
float middleX(const Rect& r) {
    return float(r.left + r.right) * 0.5f;
}

template <class Rect>
float middleY(const Rect& r) {
    return float(r.top + r.bottom) * 0.5f;
}

// The surface's draws by colour: the brush lives for the one draw.

void fillRoundRect(RenderTarget* target, const RectF& rect, float radius, const Color& color) {
    fillRoundRect(target, rect, radius, createColorBrush(target, color).get());
}

void strokeRoundRect(RenderTarget* target, const RectF& rect, float radius, const Color& color) {
    strokeRoundRect(target, rect, radius, createColorBrush(target, color).get(), kHairline);
}

void fillRectangle(RenderTarget* target, const RectF& rect, const Color& color) {
    fillRectangle(target, rect, createColorBrush(target, color).get());
}

void drawRule(RenderTarget* target, float left, float right, float y) {
    drawLine(target, {left, y}, {right, y}, createColorBrush(target, colorBorder).get(), kHairline);
}

template <std::size_t kCount>
void strokePolyline(RenderTarget* target, const PointF (&points)[kCount], const Color& color, float width) {
    strokePolyline(target, points, kCount, createColorBrush(target, color).get(), width);
}

void drawLabel(RenderTarget* target, TextFormat* format, const wchar_t* text, const RectF& rect,
               const Color& color, TextAlign align, ParagraphAlign paragraph = ParagraphAlign::centre) {
    if (!format || !text) return;
    drawSingleLineText(target, text, rect, format, createColorBrush(target, color).get(), align, paragraph);
}

Color primaryFill(const ControlRecord& button, float hover) {
    if (!button.enabled) return colorSurface;
    if (button.pressed) return mixColor(colorAccent, colorBlack, 0.18f);
    return hover > 0.0f ? mixColor(colorAccent, colorWhite, hover * 0.12f) : colorAccent;
}

void drawPrimaryBody(RenderTarget* target, const RectF& rect, const ControlRecord& button, float hover) {
    fillRoundRect(target, rect, kControlRadius, primaryFill(button, hover));
}

// A secondary button has no fill of its own, but a veil while it is held or under the mouse.
void drawSecondaryBody(RenderTarget* target, const RectF& rect, const ControlRecord& button, float hover) {
    if (button.pressed)
        fillRoundRect(target, rect, kControlRadius, colorPressOverlay);
    else if (hover > 0.0f)
        fillRoundRect(target, rect, kControlRadius, withAlpha(colorWhite, hover * 0.05f));
    strokeRoundRect(target, rect, kControlRadius, button.enabled ? colorBorder : colorSurface);
}

void drawCheckMark(RenderTarget* target, float x, float y) {
    strokePolyline(target, {{x + 3.0f, y + 8.5f}, {x + 6.5f, y + 12.0f}, {x + 13.0f, y + 4.0f}}, colorWindow,
                   2.0f);
}

void drawThumb(RenderTarget* target, PointF centre, float radius) {
    fillEllipse(target, centre, radius, radius, createColorBrush(target, colorAccent).get());
    strokeEllipse(target, centre, radius, radius, createColorBrush(target, colorWindow).get(), 1.5f);
}

// At its own proportions, as high as the band allows, and narrower still if the window is.
void drawBanner(RenderTarget* target, float width, Bitmap* banner) {
    const SizeF size = bitmapSize(banner);
    if (!(size.width > 0.0f && size.height > 0.0f)) return;
    float h = kBannerHeight;
    float w = kBannerHeight / size.height * size.width;
    const float room = width - kBandMargin - kCloseRoom;
    if (room > 0.0f && w > room) {
        h = room / w * kBannerHeight;
        w = room;
    }
    const float top = (kBandHeight - h) * 0.5f;
    drawBitmap(target, banner, {kBandMargin, top, kBandMargin + w, top + h});
}

void drawCloseButton(RenderTarget* target, float width, bool hot, bool pressed) {
    const RectF rect = floatRect(closeButtonRect(std::int32_t(width)));
    if (pressed || hot) fillRoundRect(target, rect, 5.0f, pressed ? colorClosePressed : colorCloseHot);
    const RectF cross{rect.left + kCrossInset, rect.top + kCrossInset, rect.right - kCrossInset,
                      rect.bottom - kCrossInset};
    const BrushHolder brush = createColorBrush(target, hot ? colorWhite : colorTextDim);
    drawLine(target, {cross.left, cross.top}, {cross.right, cross.bottom}, brush.get(), 1.6f);
    drawLine(target, {cross.right, cross.top}, {cross.left, cross.bottom}, brush.get(), 1.6f);
}

}  // namespace

void drawButton(RenderTarget* target, TextFormat* format, const ControlRecord& button, float hover) {
    const RectF rect = floatRect(button);
    (button.accented ? drawPrimaryBody : drawSecondaryBody)(target, rect, button, hover);
    const Color enabledText = button.accented ? colorWindow : colorText;
    drawLabel(target, format, button.label.c_str(), rect, button.enabled ? enabledText : colorTextDim,
              TextAlign::centre);
}

void drawCheckBox(RenderTarget* target, TextFormat* format, const ControlRecord& box, float hover) {
    const float x = float(box.left);
    const float y = middleY(box) - kCheckSize * 0.5f;
    const RectF square{x, y, x + kCheckSize, y + kCheckSize};
    const bool checked = box.accented;
    fillRoundRect(target, square, kSmallRadius, checked ? colorAccent : colorSurface);
    strokeRoundRect(target, square, kSmallRadius, checked ? colorAccent : colorBorder);
    if (checked)
        drawCheckMark(target, x, y);
    else if (hover > 0.0f)
        fillRoundRect(target, square, kSmallRadius, withAlpha(colorWhite, hover * 0.08f));
    if (box.label.empty()) return;
    drawLabel(target, format, box.label.c_str(),
              {x + kCheckSize + 10.0f, float(box.top), float(box.right), float(box.bottom)}, colorText,
              TextAlign::leading);
}

void drawComboBox(RenderTarget* target, TextFormat* format, const ControlRecord& box, float hover) {
    const RectF rect = floatRect(box);
    fillRoundRect(target, rect, kControlRadius,
                  hover > 0.0f ? mixColor(colorSurface, colorWhite, hover * 0.05f) : colorSurface);
    strokeRoundRect(target, rect, kControlRadius, box.hot ? colorAccent : colorBorder);
    drawLabel(target, format, box.label.c_str(),
              {rect.left + 12.0f, rect.top, rect.right - 28.0f, rect.bottom}, colorText, TextAlign::leading);
    const float x = rect.right - 16.0f;
    const float y = middleY(box);
    strokePolyline(target, {{x - 4.0f, y - 2.5f}, {x, y + 2.5f}, {x + 4.0f, y - 2.5f}}, colorTextDim, 1.5f);
}

void drawSectionHeader(RenderTarget* target, TextFormat* format, const SectionHeaderRecord& header) {
    const RectF rect = floatRect(header);
    drawLabel(target, format, header.label.c_str(), rect, colorAccent, TextAlign::leading,
              ParagraphAlign::top);
    drawRule(target, rect.left, rect.right, rect.bottom + 6.0f);
}

void drawSlider(RenderTarget* target, const SliderRecord& slider, float hover) {
    const float x0 = float(slider.left + kThumbRoom);
    const float x1 = float(slider.right - kThumbRoom);
    const float y = middleY(slider);
    const float range = slider.maximum - slider.minimum;
    const float t = slider.minimum < slider.maximum ? (slider.value - slider.minimum) / range : 0.0f;
    const float x = x0 + (x1 - x0) * t;
    fillRoundRect(target, {x0, y - kTrackHalf, x1, y + kTrackHalf}, kTrackHalf, colorSurface);
    if (x > x0) {
        const BrushHolder filled =
            createLinearGradientBrush(target, {x0, y}, {x, y}, colorAccentDeep, colorAccent);
        fillRoundRect(target, {x0, y - kTrackHalf, x, y + kTrackHalf}, kTrackHalf, filled.get());
    }
    drawThumb(target, {x, y}, 6.0f + 2.0f * hover);
}

void drawSpinner(RenderTarget* target, const SpinnerRecord& spinner) {
    const RectF up = floatRect(spinner.upRect);
    const RectF down = floatRect(spinner.downRect);
    const RectF box{up.left, up.top, up.right, down.bottom};
    fillRoundRect(target, box, kSmallRadius, colorSurface);
    if (spinner.upHot) fillRectangle(target, up, colorStepHot);
    if (spinner.downHot) fillRectangle(target, down, colorStepHot);
    strokeRoundRect(target, box, kSmallRadius, colorBorder);
    drawRule(target, up.left, up.right, up.bottom);
    const BrushHolder arrows = createColorBrush(target, colorTextDim);
    drawArrowTriangle(target, middleX(spinner.upRect), middleY(spinner.upRect), Pointing::up, arrows.get());
    drawArrowTriangle(target, middleX(spinner.downRect), middleY(spinner.downRect), Pointing::down,
                      arrows.get());
}

void drawArrowTriangle(RenderTarget* target, float centreX, float centreY, Pointing pointing, Brush* brush) {
    const float d = pointing == Pointing::up ? -1.5f : 1.5f;
    const PointF points[] = {
        {centreX - 3.0f, centreY - d}, {centreX + 3.0f, centreY - d}, {centreX, centreY + d}};
    fillPolygon(target, points, 3, brush);
}

void drawTitleBar(RenderTarget* target, TextFormat* format, float width, const wchar_t* title, bool closeHot,
                  bool closePressed, Bitmap* banner) {
    fillRectangle(target, {0.0f, 0.0f, width, kBandHeight}, colorTitleBand);
    drawRule(target, 0.0f, width, kBandHeight);
    if (banner)
        drawBanner(target, width, banner);
    else
        drawLabel(target, format, title, {kBandMargin, 0.0f, width - kCloseRoom, kBandHeight}, colorAccent,
                  TextAlign::leading);
    drawCloseButton(target, width, closeHot, closePressed);
}

void drawWindowFrame(RenderTarget* target, std::int32_t width, std::int32_t height) {
    strokeRectangle(target, {0.5f, 0.5f, float(width) - 0.5f, float(height) - 0.5f},
                    createColorBrush(target, colorFrame).get(), kHairline);
}

}  // namespace veil
