#include "dialog/input.h"

#include "dialog/layout.h"
#include "dialog/painting.h"
#include "dialog/preset_choice.h"
#include "dialog/value_edit.h"
#include "host/plugin_state.h"
#include "presets/builtin_presets.h"
#include "toolkit/preset_popup.h"

namespace veil {

namespace {

constexpr PointI kNowhere{-10000, -10000};
constexpr std::int32_t kPopupGap = 2, kPopupRowHeight = 26;

void finishDialog(Window* window, int code) {
    enableOwner(window);
    endModalDialog(window, code);
}

void confirm(MainDialogState& dialog) {
    *gParams = dialog.params;
    finishDialog(dialog.window, kConfirmed);
}

void cancel(MainDialogState& dialog) { finishDialog(dialog.window, kCancelled); }

// Set-up.

void setUpWindow(MainDialogState& dialog) {
    const float scale = dialog.dpiScale;
    resizeWindow(dialog.window, {windowSizePx(kDialogWidth, scale), windowSizePx(kDialogHeight, scale)});
    centreOnOwner(dialog.window);
    roundCorners(dialog.window);
    createWindowRenderTarget(dialog.surface, nativeWindow(dialog.window), scale);
}

void takeParams(MainDialogState& dialog) {
    dialog.params = *gParams;
    dialog.outputToggle.accented = dialog.params.outputGlowOnly != 0;
    dialog.advancedToggle.accented = dialog.params.advancedMode != 0;
    dialog.previewToggle.accented = dialog.previewGlowOnly = false;
    dialog.presetBox.label = widenAnsiText(presetName(dialog.params.presetId));
    syncSlidersFromParams(dialog);
}

void setUpPreview(MainDialogState& dialog) {
    PreviewState& preview = dialog.preview;
    preview.pool = std::make_unique<WorkerPool>(defaultWorkerCount());
    const RectI& area = dialog.previewRect;
    computePreviewScale(preview, childPlacePx(area.right - area.left, dialog.dpiScale),
                        childPlacePx(area.bottom - area.top, dialog.dpiScale));
    if (fetchPreviewSource(preview)) renderPreview(preview, dialog.params, dialog.previewGlowOnly);
}

void initialise(MainDialogState& dialog, Window* window) {
    dialog.window = window;
    dialog.dpiScale = windowScale(nativeWindow(window));
    setUpWindow(dialog);
    buildMainDialogLayout(dialog);
    createValueEdit(dialog);
    dialog.userPresets = loadUserPresets();
    takeParams(dialog);
    setUpPreview(dialog);
    showWindow(window);
    invalidate(window);
}

void tearDown(MainDialogState& dialog) {
    stopAnimationTimer(dialog);
    dialog.editRow = kNoSliderRow;
    dialog.valueEdit = nullptr;
    dialog.previewBitmap.reset();
    dialog.bannerBitmap.reset();
    dialog.preview.pool.reset();
    dialog.surface.reset();
}

void tick(MainDialogState& dialog, int timer) {
    if (timer != kAnimationTimer) return;
    const bool moving = stepAllAnimations(dialog.animations, kAnimationStepMs);
    invalidate(dialog.window);
    if (!moving) stopAnimationTimer(dialog);
}

// Hover.

bool setHover(MainDialogState& dialog, bool& hovered, bool isHovered, std::int32_t id) {
    if (hovered == isHovered) return false;
    hovered = isHovered;
    animateTo(animationEntry(dialog.animations, hoverKey(id)), isHovered ? 1.0f : 0.0f, kHoverMs);
    return true;
}

bool setFlag(bool& flag, bool value) {
    const bool changed = flag != value;
    flag = value;
    return changed;
}

void updateHover(MainDialogState& dialog, PointI point) {
    bool changed = setFlag(dialog.closeHovered, contains(closeButtonRect(kDialogWidth), point));
    for (ControlRecord* box : {&dialog.previewToggle, &dialog.outputToggle, &dialog.advancedToggle})
        changed |= setHover(dialog, box->hot, contains(rectOf(*box), point), box->id);
    ControlRecord& list = dialog.presetBox;
    changed |= setHover(dialog, list.accented, contains(rectOf(list), point), list.id);
    for (ControlRecord* button : {&dialog.saveButton, &dialog.okButton, &dialog.cancelButton})
        changed |=
            setHover(dialog, button->hot, button->enabled && contains(rectOf(*button), point), button->id);
    for (int row = 0; row < visibleRowCount(dialog); ++row) {
        const auto i = static_cast<std::size_t>(row);
        SliderRecord& slider = dialog.sliders[i];
        SpinnerRecord& spinner = dialog.spinButtons[i];
        const bool isHovered = contains(rectOf(slider), point) || row == dialog.dragRow;
        changed |= setHover(dialog, slider.hot, isHovered, slider.id);
        changed |= setFlag(spinner.upHot, contains(spinner.upRect, point));
        changed |= setFlag(spinner.downHot, contains(spinner.downRect, point));
    }
    if (!changed) return;
    startAnimationTimer(dialog);
    invalidate(dialog.window);
}

// Mouse.

// The slider of `row` goes to the pointer; whether that changed its value.
bool dragTo(MainDialogState& dialog, int row, std::int32_t x) {
    SliderRecord& slider = dialog.sliders[static_cast<std::size_t>(row)];
    const float before = slider.value;
    setSliderFromX(slider, x);
    if (slider.value == before) return false;
    sliderValueChanged(dialog, row);
    return true;
}

void mouseMove(MainDialogState& dialog, PointI point) {
    trackLeave(dialog.window);
    if (dialog.dragRow < 0)
        updateHover(dialog, point);
    else
        dragTo(dialog, dialog.dragRow, point.x);
}

void openPresetPopup(MainDialogState& dialog) {
    ControlRecord& box = dialog.presetBox;
    const PixelPoint corner{childPlacePx(box.left, dialog.dpiScale),
                            childPlacePx(box.bottom + kPopupGap, dialog.dpiScale)};
    // The list holds up everything else of this window, so that the open box must be painted before.
    box.hot = true;
    invalidate(dialog.window);
    repaintNow(dialog.window);
    const int marked = currentPresetIndex(dialog);
    const int chosen = showPresetPopup(dialog.window, toScreen(dialog.window, corner), box.right - box.left,
                                       kPopupRowHeight, presetListNames(dialog), marked, dialog.dpiScale);
    box.hot = false;
    if (chosen >= 0 && chosen != marked) applyPresetByIndex(dialog, chosen);
    invalidate(dialog.window);
}

bool pressArrow(MainDialogState& dialog, PointI point) {
    for (int row = 0; row < visibleRowCount(dialog); ++row) {
        const SpinnerRecord& spinner = dialog.spinButtons[static_cast<std::size_t>(row)];
        const bool up = contains(spinner.upRect, point);
        if (!up && !contains(spinner.downRect, point)) continue;
        dialog.focusRow = row;
        stepSlider(dialog, row, up ? 1 : -1);
        invalidate(dialog.window);
        return true;
    }
    return false;
}

bool pressValue(MainDialogState& dialog, PointI point) {
    for (int row = 0; row < visibleRowCount(dialog); ++row) {
        if (!contains(dialog.valueRects[static_cast<std::size_t>(row)], point)) continue;
        dialog.focusRow = row;
        beginValueEdit(dialog, row);
        return true;
    }
    return false;
}

bool pressSlider(MainDialogState& dialog, PointI point) {
    for (int row = 0; row < visibleRowCount(dialog); ++row) {
        if (!contains(rectOf(dialog.sliders[static_cast<std::size_t>(row)]), point)) continue;
        dialog.focusRow = dialog.dragRow = row;
        captureMouse(dialog.window);
        if (!dragTo(dialog, row, point.x)) invalidate(dialog.window);  // the row's band is new all the same
        return true;
    }
    return false;
}

bool pressButton(MainDialogState& dialog, PointI point) {
    for (ControlRecord* button : {&dialog.saveButton, &dialog.okButton, &dialog.cancelButton}) {
        if (!button->enabled || !contains(rectOf(*button), point)) continue;
        button->pressed = true;
        invalidate(dialog.window);
        return true;
    }
    return false;
}

void flip(ControlRecord& toggle) { toggle.accented = !toggle.accented; }

bool pressToggle(MainDialogState& dialog, PointI point) {
    if (contains(rectOf(dialog.previewToggle), point)) {
        flip(dialog.previewToggle);
        dialog.previewGlowOnly = !dialog.previewGlowOnly;
        refreshPreview(dialog);
    } else if (contains(rectOf(dialog.outputToggle), point)) {
        flip(dialog.outputToggle);
        dialog.params.outputGlowOnly = dialog.params.outputGlowOnly == 0;
        invalidate(dialog.window);
    } else if (contains(rectOf(dialog.advancedToggle), point)) {
        flip(dialog.advancedToggle);
        dialog.params.advancedMode = dialog.params.advancedMode == 0;
        invalidate(dialog.window);
        refreshPreview(dialog);
    } else {
        return false;
    }
    return true;
}

void buttonDown(MainDialogState& dialog, PointI point) {
    const bool leavesEdit =
        dialog.editRow >= 0 && !contains(dialog.valueRects[static_cast<std::size_t>(dialog.editRow)], point);
    if (leavesEdit) endValueEdit(dialog, EditEnd::commit);
    if (contains(closeButtonRect(kDialogWidth), point)) {
        dialog.closePressed = true;
        invalidate(dialog.window);
        return;
    }
    if (pressArrow(dialog, point) || pressValue(dialog, point) || pressSlider(dialog, point)) return;
    if (contains(rectOf(dialog.presetBox), point)) {
        openPresetPopup(dialog);
        return;
    }
    if (!pressButton(dialog, point)) pressToggle(dialog, point);
}

// Takes and clears the press of a button; whether it comes up over it.
bool releaseOver(ControlRecord& button, PointI point, bool& anyPressed) {
    const bool pressed = button.pressed;
    button.pressed = false;
    anyPressed |= pressed;
    return pressed && button.enabled && contains(rectOf(button), point);
}

void buttonUp(MainDialogState& dialog, PointI point) {
    if (dialog.dragRow >= 0) {
        dialog.dragRow = kNoSliderRow;
        releaseMouse(dialog.window);
        updateHover(dialog, point);
        return;
    }
    if (dialog.closePressed) {
        dialog.closePressed = false;
        invalidate(dialog.window);
        if (contains(closeButtonRect(kDialogWidth), point)) {
            cancel(dialog);
            return;
        }
    }
    bool anyPressed = false;
    const bool saves = releaseOver(dialog.saveButton, point, anyPressed);
    const bool confirms = releaseOver(dialog.okButton, point, anyPressed);
    const bool cancels = releaseOver(dialog.cancelButton, point, anyPressed);
    if (saves) {
        invalidate(dialog.window);
        repaintNow(dialog.window);
        saveCurrentAsUserPreset(dialog);
    } else if (confirms) {
        confirm(dialog);
    } else if (cancels) {
        cancel(dialog);
    } else if (anyPressed) {
        invalidate(dialog.window);
    }
}

void doubleClick(MainDialogState& dialog, PointI point) {
    for (int row = 0; row < visibleRowCount(dialog); ++row) {
        const LabelRecord& label = dialog.rowLabels[static_cast<std::size_t>(row)];
        if (label.id == 0 || !contains(label.rect, point)) continue;
        resetSliderToPreset(dialog, row);
        return;
    }
    buttonDown(dialog, point);
}

// Keyboard.

bool pressKey(MainDialogState& dialog, Key key) {
    if (dialog.focusRow < 0 || dialog.focusRow >= visibleRowCount(dialog)) return false;
    const bool up = key == Key::up || key == Key::right;
    if (!up && key != Key::down && key != Key::left) return false;
    stepSlider(dialog, dialog.focusRow, up ? 1 : -1);
    return true;
}

}  // namespace

bool handleMainDialogMessage(void* context, Window* window, const WindowMessage& message) {
    using Kind = WindowMessage::Kind;
    MainDialogState& dialog = *static_cast<MainDialogState*>(context);
    const PointI point = clientPointInDips(message.point.x, message.point.y, dialog.dpiScale);
    switch (message.kind) {
        case Kind::initialise:
            initialise(dialog, window);
            return true;
        case Kind::destroy:
            tearDown(dialog);
            return true;
        case Kind::paint:
            paintMainDialog(dialog);
            return true;
        case Kind::hitTest:
            return captionHitTest(point, kDialogWidth) == CaptionHit::caption;
        case Kind::timer:
            tick(dialog, message.timer);
            return true;
        case Kind::key:
            return pressKey(dialog, message.key);
        case Kind::command:
            message.command == Command::ok ? confirm(dialog) : cancel(dialog);
            return true;
        case Kind::mouseMove:
            mouseMove(dialog, point);
            return true;
        case Kind::buttonDown:
            buttonDown(dialog, point);
            return true;
        case Kind::buttonUp:
            buttonUp(dialog, point);
            return true;
        case Kind::doubleClick:
            doubleClick(dialog, point);
            return true;
        case Kind::mouseLeave:
            if (dialog.dragRow < 0) updateHover(dialog, kNowhere);
            return true;
        case Kind::editKey:
            return handleEditKey(dialog, message.key);
        case Kind::editCharacter:
            return handleEditCharacter(dialog, message.character);
        case Kind::editFocusLost:
            endValueEdit(dialog, EditEnd::commit);
            return true;
        default:
            return false;
    }
}

}  // namespace veil
