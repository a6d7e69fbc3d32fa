#include "toolkit/save_preset_dialog.h"

#include <algorithm>
#include <utility>

#include "platform/language.h"
#include "toolkit/theme.h"

namespace veil {

namespace {

constexpr int kDialog = 16020, kEditControl = 2101;  // of the resource template
constexpr int kTimer = 501;
constexpr int kAccepted = 1, kCancelled = 2;
constexpr int kMaxNameUnits = 127;
constexpr int kFadeInMs = 200;
constexpr std::uint32_t kOkHover = 1, kCancelHover = 2;  // keys of the animations

constexpr std::int32_t kWidth = 300, kHeight = 214;
constexpr std::int32_t kEditLeft = 24, kEditTop = 76, kEditWidth = 252, kEditHeight = 24;
constexpr RectF kLabelRect{24.0f, 52.0f, 276.0f, 70.0f}, kNoteRect{24.0f, 106.0f, 276.0f, 156.0f};
constexpr float kEditMargin = 2.0f, kEditRadius = 4.0f, kEditBorder = 1.0f;

const wchar_t* labelText() { return localized(L"プリセット名:", L"Preset name:"); }

const wchar_t* noteText(bool rejected) {
    if (rejected)
        return localized(L"半角英数字のみ使用できます。日本語などの全角文字は入力できません。",
                         L"ASCII characters only. Japanese and other multi-byte characters cannot be used.");
    return localized(L"※ 半角英数字のみ使用できます(日本語などの全角文字は使えません)。",
                     L"Note: ASCII characters only (multi-byte characters such as Japanese are not "
                     L"supported).");
}

PointI dipsOf(const SavePresetDialogState& state, PixelPoint point) {
    return clientPointInDips(point.x, point.y, state.scale);
}

bool isUsableAt(const ControlRecord& button, PointI point) {
    return button.enabled && contains({button.left, button.top, button.right, button.bottom}, point);
}

bool isOnCloseButton(PointI point) { return contains(closeButtonRect(kWidth), point); }

// Set-up.

void placeWindow(const SavePresetDialogState& state, Window* dialog) {
    resizeWindow(dialog, {windowSizePx(kWidth, state.scale), windowSizePx(kHeight, state.scale)});
    centreOnOwner(dialog);
    roundCorners(dialog);
}

void setUpEditBox(SavePresetDialogState& state, Window* dialog) {
    const auto pixels = [&](std::int32_t dips) { return childPlacePx(dips, state.scale); };
    const std::int32_t left = pixels(kEditLeft), top = pixels(kEditTop);
    state.edit = templateEditBox(dialog, kEditControl, {colorText, colorSurface});
    placeEditBox(state.edit, {left, top, left + pixels(kEditWidth), top + pixels(kEditHeight)});
    disableInputMethod(state.edit);
}

void makeDrawingObjects(SavePresetDialogState& state, Window* dialog) {
    createWindowRenderTarget(state.target, nativeWindow(dialog), state.scale);
    state.titleFormat = createTextFormat(kFontFamily, 13.0f, 600);
    state.labelFormat = createTextFormat(kFontFamily, 13.0f, 400);
    state.noteFormat = createTextFormat(kFontFamily, 12.0f, 400);
    state.buttonFormat = createTextFormat(kFontFamily, 13.0f, 600);
}

void setUp(SavePresetDialogState& state, Window* dialog) {
    state.scale = windowScale(nativeWindow(dialog));
    placeWindow(state, dialog);
    setUpEditBox(state, dialog);
    makeDrawingObjects(state, dialog);
    state.ok = {.left = 96, .top = 168, .right = 180, .bottom = 198, .label = L"OK", .accented = true};
    state.cancel = {.left = 192, .top = 168, .right = 276, .bottom = 198, .label = L"Cancel"};
    focusEditBox(state.edit);
    fadeIn(dialog, kFadeInMs);
}

// Painting.

void paintEditFrame(const SavePresetDialogState& state) {
    const PixelRect box = editBoxRect(state.edit);
    const RectF r = childRectDips({box.left, box.top, box.right, box.bottom}, state.scale);
    strokeRoundRect(
        state.target.get(),
        {r.left - kEditMargin, r.top - kEditMargin, r.right + kEditMargin, r.bottom + kEditMargin},
        kEditRadius, createColorBrush(state.target.get(), colorBorder).get(), kEditBorder);
}

void paintTexts(const SavePresetDialogState& state) {
    RenderTarget* const target = state.target.get();
    drawSingleLineText(target, labelText(), kLabelRect, state.labelFormat.get(),
                       createColorBrush(target, colorTextDim).get(), TextAlign::leading,
                       ParagraphAlign::centre);
    const Color& noteColor = state.nameRejected ? colorAccent : colorTextDim;
    drawWrappedText(target, noteText(state.nameRejected), kNoteRect, state.noteFormat.get(),
                    createColorBrush(target, noteColor).get());
}

void paint(SavePresetDialogState& state) {
    RenderTarget* const target = state.target.get();
    TextFormat* const buttonFormat = state.buttonFormat.get();
    beginDraw(target);
    clearTarget(target, colorWindow);
    drawTitleBar(target, state.titleFormat.get(), float(kWidth), L"Lucent Veil — Save Preset",
                 state.closeHovered, state.closePressed, nullptr);
    paintTexts(state);
    paintEditFrame(state);
    drawButton(target, buttonFormat, state.ok, animationEntry(state.animations, kOkHover).value);
    drawButton(target, buttonFormat, state.cancel, animationEntry(state.animations, kCancelHover).value);
    drawWindowFrame(target, kWidth, kHeight);
    endDraw(target);
}

// Animation.

void startAnimationTimer(SavePresetDialogState& state, Window* dialog) {
    if (!std::exchange(state.animationTimerRunning, true)) startTimer(dialog, kTimer, kAnimationTickMs);
}

void tick(SavePresetDialogState& state, Window* dialog) {
    const bool moving = stepAllAnimations(state.animations, kAnimationStepMs);
    invalidate(dialog);
    if (moving) return;
    stopTimer(dialog, kTimer);
    state.animationTimerRunning = false;
}

// Mouse.

bool setHot(SavePresetDialogState& state, ControlRecord& button, std::uint32_t key, bool hot) {
    if (std::exchange(button.hot, hot) == hot) return false;
    animateTo(animationEntry(state.animations, key), hot ? 1.0f : 0.0f, kHoverMs);
    return true;
}

void hover(SavePresetDialogState& state, Window* dialog, PointI point) {
    const bool closeHot = isOnCloseButton(point);
    bool changed = setHot(state, state.ok, kOkHover, isUsableAt(state.ok, point));
    changed |= setHot(state, state.cancel, kCancelHover, isUsableAt(state.cancel, point));
    changed |= std::exchange(state.closeHovered, closeHot) != closeHot;
    if (!changed) return;
    startAnimationTimer(state, dialog);
    invalidate(dialog);
}

void press(SavePresetDialogState& state, Window* dialog, PointI point) {
    if (isOnCloseButton(point))
        state.closePressed = true;
    else if (isUsableAt(state.ok, point))
        state.ok.pressed = true;
    else if (isUsableAt(state.cancel, point))
        state.cancel.pressed = true;
    else
        return;
    invalidate(dialog);
}

// The owner is enabled first, so that the focus returns to it.
void end(Window* dialog, int result) {
    enableOwner(dialog);
    endModalDialog(dialog, result);
}

void release(SavePresetDialogState& state, Window* dialog, PointI point) {
    if (std::exchange(state.closePressed, false) && isOnCloseButton(point)) return end(dialog, kCancelled);
    const bool okPressed = std::exchange(state.ok.pressed, false);
    const bool cancelPressed = std::exchange(state.cancel.pressed, false);
    if (okPressed && isUsableAt(state.ok, point)) return acceptPresetName(state, dialog);
    if (cancelPressed && isUsableAt(state.cancel, point)) return end(dialog, kCancelled);
    invalidate(dialog);
}

// The rest.

void changeText(SavePresetDialogState& state, Window* dialog) {
    if (std::exchange(state.nameRejected, false)) invalidate(dialog);
}

void obey(SavePresetDialogState& state, Window* dialog, Command command) {
    command == Command::ok ? acceptPresetName(state, dialog) : end(dialog, kCancelled);
}

void tearDown(SavePresetDialogState& state, Window* dialog) {
    stopTimer(dialog, kTimer);
    state.target.reset();
}

// The answer to `initialise` leaves the focus where it was set.
bool handleMessage(void* context, Window* dialog, const WindowMessage& message) {
    SavePresetDialogState& state = *static_cast<SavePresetDialogState*>(context);
    const PointI point = dipsOf(state, message.point);
    switch (message.kind) {
        case WindowMessage::Kind::initialise:
            setUp(state, dialog);
            return false;
        case WindowMessage::Kind::destroy:
            tearDown(state, dialog);
            return true;
        case WindowMessage::Kind::paint:
            paint(state);
            return true;
        case WindowMessage::Kind::hitTest:
            return captionHitTest(point, kWidth) == CaptionHit::caption;
        case WindowMessage::Kind::mouseMove:
            hover(state, dialog, point);
            return true;
        case WindowMessage::Kind::buttonDown:
            press(state, dialog, point);
            return true;
        case WindowMessage::Kind::buttonUp:
            release(state, dialog, point);
            return true;
        case WindowMessage::Kind::command:
            obey(state, dialog, message.command);
            return true;
        case WindowMessage::Kind::editChanged:
            changeText(state, dialog);
            return true;
        case WindowMessage::Kind::timer:
            if (message.timer != kTimer) return false;
            tick(state, dialog);
            return true;
        default:
            return false;
    }
}

}  // namespace

void acceptPresetName(SavePresetDialogState& state, Window* dialog) {
    const std::wstring text = editText(state.edit, kMaxNameUnits);
    state.nameRejected =
        !std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= 32 && c <= 126; });
    if (state.nameRejected) {
        invalidate(dialog);
        focusEditBox(state.edit);
        return;
    }
    state.name.assign(text.begin(), text.end());
    end(dialog, kAccepted);
}

bool runSavePresetDialog(Window* owner, std::string& name) {
    SavePresetDialogState state;
    if (runModalDialog(kDialog, nativeWindow(owner), handleMessage, &state) != kAccepted) return false;
    name = state.name;
    return !name.empty();
}

}  // namespace veil
