#include "dialog/painting.h"

#include "dialog/layout.h"
#include "dialog/texts.h"
#include "toolkit/theme.h"

namespace veil {

namespace {

constexpr int kBannerResource = 3001;
constexpr float kHighlightRadius = 6.0f, kHighlightAlpha = 0.08f;
constexpr float kFlashShare = 0.7f;  // how far a changed value goes from the accent to white
constexpr float kPreviewFrame = 2.0f;

RectF toFloat(const RectI& r) { return {float(r.left), float(r.top), float(r.right), float(r.bottom)}; }

void drawHint(const MainDialogState& dialog, const TextBlock& block, const TextFormatHolder& format) {
    RenderTarget* const target = dialog.surface.get();
    drawSingleLineText(target, block.text.c_str(), toFloat(block.rect), format.get(),
                       createColorBrush(target, colorTextDim).get(), TextAlign::leading,
                       ParagraphAlign::centre);
}

void drawLabel(const MainDialogState& dialog, const wchar_t* text, const RectI& rect,
               TextAlign align = TextAlign::leading) {
    RenderTarget* const target = dialog.surface.get();
    drawSingleLineText(target, text, toFloat(rect), dialog.bodyFont.get(),
                       createColorBrush(target, colorText).get(), align, ParagraphAlign::centre);
}

float hoverOf(MainDialogState& dialog, std::int32_t id) {
    return animationEntry(dialog.animations, hoverKey(id)).value;
}

void paintTitle(MainDialogState& dialog) {
    RenderTarget* const target = dialog.surface.get();
    if (!dialog.bannerLoaded) {
        dialog.bannerBitmap = loadBannerBitmap(target, kBannerResource);
        dialog.bannerLoaded = true;
    }
    drawTitleBar(target, dialog.titleFont.get(), float(kDialogWidth), kTitleText, dialog.closeHovered,
                 dialog.closePressed, dialog.bannerBitmap.get());
}

void paintPreview(MainDialogState& dialog) {
    RenderTarget* const target = dialog.surface.get();
    const PreviewState& preview = dialog.preview;
    const RectI& area = dialog.previewRect;
    fillRectangle(target, toFloat(area), createColorBrush(target, colorPreviewBack).get());
    if (!preview.ready || preview.width < 1 || preview.height < 1) {
        drawLabel(dialog, localized(kNoPreviewText), area, TextAlign::centre);
        return;
    }
    if (!dialog.previewBitmap)
        dialog.previewBitmap =
            createPreviewBitmap(target, preview.displayPixels.data(), preview.width, preview.height);
    if (!dialog.previewBitmap) return;
    const FittedImage fitted =
        fitImageInto(area.right - area.left, area.bottom - area.top, preview.width, preview.height);
    const std::int32_t x = area.left + fitted.offsetX, y = area.top + fitted.offsetY;
    drawBitmap(target, dialog.previewBitmap.get(), toFloat({x, y, x + fitted.width, y + fitted.height}));
    const RectI frame{area.left + 1, area.top + 1, area.right - 1, area.bottom - 1};
    strokeRectangle(target, toFloat(frame), createColorBrush(target, colorAccent).get(), kPreviewFrame);
}

void paintUpperHalf(MainDialogState& dialog) {
    RenderTarget* const target = dialog.surface.get();
    drawWrappedText(target, dialog.howToText.text.c_str(), toFloat(dialog.howToText.rect),
                    dialog.howToFont.get(), createColorBrush(target, colorTextDim).get());
    paintPreview(dialog);
    for (const ControlRecord* box : {&dialog.previewToggle, &dialog.outputToggle, &dialog.advancedToggle})
        drawCheckBox(target, dialog.bodyFont.get(), *box, hoverOf(dialog, box->id));
    for (const SectionHeaderRecord* header :
         {&dialog.presetSection, &dialog.outputSection, &dialog.adjustSection})
        drawSectionHeader(target, dialog.sectionFont.get(), *header);
    drawLabel(dialog, kPresetLabelText, presetLabelRect(dialog));
    drawComboBox(target, dialog.bodyFont.get(), dialog.presetBox, hoverOf(dialog, dialog.presetBox.id));
    drawButton(target, dialog.buttonFont.get(), dialog.saveButton, hoverOf(dialog, dialog.saveButton.id));
    drawHint(dialog, dialog.presetHint, dialog.hintFont);
    drawHint(dialog, dialog.outputHint, dialog.hintFont);
}

void paintValue(MainDialogState& dialog, int row) {
    RenderTarget* const target = dialog.surface.get();
    const auto i = static_cast<std::size_t>(row);
    const SliderRecord& slider = dialog.sliders[i];
    const float flash = animationEntry(dialog.animations, flashKey(slider.id)).value;
    const Color color = mixColor(colorAccent, colorWhite, flash * kFlashShare);
    drawSingleLineText(target, formatSliderValue(row, slider.value).c_str(), toFloat(dialog.valueRects[i]),
                       dialog.valueFont.get(), createColorBrush(target, color).get(), TextAlign::trailing,
                       ParagraphAlign::centre);
}

void paintRow(MainDialogState& dialog, int row) {
    RenderTarget* const target = dialog.surface.get();
    const auto i = static_cast<std::size_t>(row);
    if (row == dialog.focusRow)
        fillRoundRect(target, toFloat(rowHighlightRect(dialog, row)), kHighlightRadius,
                      createColorBrush(target, withAlpha(colorAccent, kHighlightAlpha)).get());
    drawLabel(dialog, dialog.rowLabels[i].text.c_str(), dialog.rowLabels[i].rect);
    drawSlider(target, dialog.sliders[i], hoverOf(dialog, dialog.sliders[i].id));
    drawSpinner(target, dialog.spinButtons[i]);
    if (row != dialog.editRow) paintValue(dialog, row);
    drawHint(dialog, dialog.rowHints[i], dialog.hintFont);
}

void paintButtonRow(MainDialogState& dialog) {
    RenderTarget* const target = dialog.surface.get();
    for (const ControlRecord* button : {&dialog.okButton, &dialog.cancelButton})
        drawButton(target, dialog.buttonFont.get(), *button, hoverOf(dialog, button->id));
    drawHint(dialog, dialog.versionLabel, dialog.hintFont);
}

// Everything that belongs to the lost target goes with it; text formats stay.
void makeTargetAnew(MainDialogState& dialog) {
    dialog.previewBitmap.reset();
    dialog.bannerBitmap.reset();
    dialog.bannerLoaded = false;
    dialog.surface.reset();
    createWindowRenderTarget(dialog.surface, nativeWindow(dialog.window), dialog.dpiScale);
    invalidate(dialog.window);
}

}  // namespace

void paintMainDialog(MainDialogState& dialog) {
    RenderTarget* const target = dialog.surface.get();
    if (!target) return;
    beginDraw(target);
    clearTarget(target, colorWindow);
    paintTitle(dialog);
    paintUpperHalf(dialog);
    for (int row = 0; row < visibleRowCount(dialog); ++row) paintRow(dialog, row);
    paintButtonRow(dialog);
    drawWindowFrame(target, kDialogWidth, kDialogHeight);
    if (endDraw(target) == FrameResult::targetLost) makeTargetAnew(dialog);
}

}  // namespace veil
