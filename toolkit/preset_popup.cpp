#include "toolkit/preset_popup.h"

#include <algorithm>

#include "toolkit/theme.h"
#include "toolkit/widgets.h"

namespace veil {

namespace {

constexpr float kFontSize = 13.0f;
constexpr int kFontWeight = 400;
constexpr float kFrame = 1.0f;
constexpr float kMarkerRight = 4.0f, kMarkerInset = 4.0f;
constexpr float kTextLeft = 15.0f, kTextRoom = 9.0f;

std::int32_t rowCount(const PresetPopupState& state) { return static_cast<std::int32_t>(state.items.size()); }

// One row high without any rows.
PixelSize clientSize(const PresetPopupState& state) {
    return {windowSizePx(state.width, state.scale),
            windowSizePx(std::max(rowCount(state), 1) * state.rowHeight, state.scale)};
}

bool isInside(const PresetPopupState& state, PixelPoint point) {
    const PixelSize size = clientSize(state);
    return contains({0, 0, size.width, size.height}, {point.x, point.y});
}

std::int32_t rowAt(const PresetPopupState& state, PixelPoint point) {
    const PointI dips = clientPointInDips(point.x, point.y, state.scale);
    const RectI rows{0, 0, state.width, rowCount(state) * state.rowHeight};
    return contains(rows, dips) ? dips.y / state.rowHeight : kNoRow;
}

// `done` comes before the window goes: the capture that is lost with it then finds nothing to do.
void finish(PresetPopupState& state, Window* popup, std::int32_t result) {
    state.result = result;
    state.done = true;
    closePopup(popup);
}

void dismiss(PresetPopupState& state, Window* popup) { finish(state, popup, kNoRow); }

void hover(PresetPopupState& state, Window* popup, PixelPoint point) {
    const std::int32_t row = rowAt(state, point);
    if (row == state.hoverRow) return;
    state.hoverRow = row;
    invalidate(popup);
}

// The first release may be that of the click on the preset box, which lies outside.
void release(PresetPopupState& state, Window* popup, PixelPoint point) {
    const bool isFirst = !state.releaseSeen;
    state.releaseSeen = true;
    if (isInside(state, point))
        finish(state, popup, std::max(state.hoverRow, kNoRow));
    else if (!isFirst)
        dismiss(state, popup);
}

void loseCapture(PresetPopupState& state, Window* popup, bool toItself) {
    if (state.done) return;
    state.result = kNoRow;
    state.done = true;
    if (!toItself) closePopup(popup);
}

void fill(RenderTarget* target, const RectF& rect, const Color& color) {
    fillRectangle(target, rect, createColorBrush(target, color).get());
}

void paintRow(const PresetPopupState& state, std::int32_t row) {
    RenderTarget* const target = state.target.get();
    const float right = float(state.width);
    const float top = float(row * state.rowHeight), bottom = float((row + 1) * state.rowHeight);
    if (row == state.hoverRow) fill(target, {kFrame, top, right - kFrame, bottom}, colorPopupHot);
    if (row == state.selectedRow)
        fill(target, {kFrame, top + kMarkerInset, kMarkerRight, bottom - kMarkerInset}, colorAccent);
    drawSingleLineText(target, state.items[static_cast<std::size_t>(row)].c_str(),
                       {kTextLeft, top, right - kTextRoom, bottom}, state.format.get(),
                       createColorBrush(target, colorText).get(), TextAlign::leading, ParagraphAlign::centre);
}

void paint(const PresetPopupState& state) {
    RenderTarget* const target = state.target.get();
    const float right = float(state.width), bottom = float(rowCount(state) * state.rowHeight);
    beginDraw(target);
    fill(target, {0.0f, 0.0f, right, bottom}, colorSurface);
    strokeRectangle(target, {0.5f, 0.5f, right - 0.5f, bottom - 0.5f},
                    createColorBrush(target, colorAccent).get(), kFrame);
    for (std::int32_t row = 0; row < rowCount(state); ++row) paintRow(state, row);
    endDraw(target);
}

bool handleMessage(void* context, Window* popup, const WindowMessage& message) {
    PresetPopupState& state = *static_cast<PresetPopupState*>(context);
    switch (message.kind) {
        case WindowMessage::Kind::paint:
            paint(state);
            return true;
        case WindowMessage::Kind::mouseMove:
            hover(state, popup, message.point);
            return true;
        case WindowMessage::Kind::buttonDown:
            if (!isInside(state, message.point)) dismiss(state, popup);
            return true;
        case WindowMessage::Kind::buttonUp:
            release(state, popup, message.point);
            return true;
        case WindowMessage::Kind::key:
            if (message.key == Key::escape) dismiss(state, popup);
            return true;
        case WindowMessage::Kind::captureLost:
            loseCapture(state, popup, message.captureIsOwn);
            return true;
        case WindowMessage::Kind::destroy:
            state.target.reset();
            return true;
        default:
            return false;
    }
}

}  // namespace

std::int32_t showPresetPopup(Window* owner, PixelPoint onScreen, int widthDips, int rowHeightDips,
                             const std::vector<std::wstring>& items, int selectedRow, float scale) {
    PresetPopupState state{.items = items,
                           .rowHeight = rowHeightDips,
                           .width = widthDips,
                           .scale = scale > 0.0f ? scale : 1.0f,
                           .hoverRow = selectedRow,
                           .selectedRow = selectedRow,
                           .result = selectedRow};
    PopupHolder popup(createPopup(nativeWindow(owner), onScreen, clientSize(state), handleMessage, &state));
    if (!popup) return selectedRow;
    state.format = createTextFormat(kFontFamily, kFontSize, kFontWeight);
    if (!createWindowRenderTarget(state.target, nativeWindow(popup.get()), state.scale)) return selectedRow;
    showPopup(popup.get());
    runPopup(popup.get(), state.done);
    popup.reset();  // If the loop ended otherwise, the loss of the capture dismisses the list here.
    return state.result;
}

}  // namespace veil
