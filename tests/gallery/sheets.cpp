#include "tests/gallery/sheets.h"

#include <functional>
#include <string>

#include "toolkit/theme.h"
#include "toolkit/widgets.h"

namespace gallery {

using namespace veil;

namespace {

constexpr int kBannerId = 3001;

struct Canvas {
    RenderTarget* target;
    float scale;
    Language language;

    const wchar_t* text(const wchar_t* english, const wchar_t* japanese) const {
        return language == Language::japanese ? japanese : english;
    }
};

TextFormatHolder font(float size, int weight) { return createTextFormat(kFontFamily, size, weight); }

void writeCaption(const Canvas& canvas, int x, int y, const wchar_t* text) {
    const BrushHolder brush = createColorBrush(canvas.target, colorTextDim);
    const float left = static_cast<float>(x), top = static_cast<float>(y);
    drawSingleLineText(canvas.target, text, {left, top, left + 200, top + 16}, font(11.0f, 400).get(),
                       brush.get(), TextAlign::leading, ParagraphAlign::centre);
}

// Painters of whole windows start at the origin, so these get a target of their own, which is then laid into
// the sheet. Places are multiples of 4, so that at each scale a pixel of the pane meets a pixel of the sheet.
void drawPane(const Canvas& canvas, int x, int y, int width, int height,
              const std::function<void(RenderTarget*)>& paint) {
    const int widthPx = windowSizePx(width, canvas.scale), heightPx = windowSizePx(height, canvas.scale);
    const RenderTargetHolder pane = createImageRenderTarget(widthPx, heightPx, canvas.scale);
    if (!pane) return;
    beginDraw(pane.get());
    clearTarget(pane.get(), colorWindow);
    paint(pane.get());
    endDraw(pane.get());
    const BitmapHolder bitmap =
        createPreviewBitmap(canvas.target, imagePixels(pane.get()).data(), widthPx, heightPx);
    const float left = static_cast<float>(x), top = static_cast<float>(y);
    drawBitmap(canvas.target, bitmap.get(),
               {left, top, left + static_cast<float>(widthPx) / canvas.scale,
                top + static_cast<float>(heightPx) / canvas.scale});
}

void paintTitleBars(const Canvas& canvas, int y) {
    const struct {
        const wchar_t* name;
        int width;
        bool banner, closeHot, closePressed;
    } cases[] = {{L"banner", 300, true, false, false},
                 {L"title, close hot", 300, false, true, false},
                 {L"title, close pressed", 300, false, true, true},
                 {L"narrow", 148, true, false, true}};
    const TextFormatHolder title = font(13.0f, 600);
    int x = 20;
    for (const auto& c : cases) {
        writeCaption(canvas, x, y, c.name);
        drawPane(canvas, x, y + 20, c.width, 64, [&](RenderTarget* pane) {
            const BitmapHolder banner = c.banner ? loadBannerBitmap(pane, kBannerId) : nullptr;
            drawTitleBar(pane, title.get(), static_cast<float>(c.width), L"Lucent Veil — Dusky Veil",
                         c.closeHot, c.closePressed, banner.get());
            drawWindowFrame(pane, c.width, 64);
        });
        x += c.width + 20;
    }
}

// Flags: a accented, h hot, p pressed, d disabled.
struct State {
    const wchar_t* flags;
    float hover;
    const wchar_t *english, *japanese;
};

using DrawControl = void (*)(RenderTarget*, TextFormat*, const ControlRecord&, float hover);

// One kind of widget in a row, its flags and hover above each.
void paintStates(const Canvas& canvas, int y, DrawControl draw, int weight, SizeF size,
                 const std::vector<State>& states) {
    const TextFormatHolder format = font(13.0f, weight);
    int x = 20;
    for (const State& state : states) {
        const std::wstring flags = state.flags;
        const auto has = [&](wchar_t flag) { return flags.find(flag) != flags.npos; };
        const int right = x + static_cast<int>(size.width), bottom = y + 20 + static_cast<int>(size.height);
        writeCaption(canvas, x, y, (flags + (state.hover > 0 ? L" hover" : L"")).c_str());
        draw(canvas.target, format.get(),
             {1, x, y + 20, right, bottom, canvas.text(state.english, state.japanese), has(L'a'), has(L'h'),
              has(L'p'), !has(L'd')},
             state.hover);
        x = right + 20;
    }
}

const std::vector<State> kButtons = {{L"a", 0, L"OK", L"OK"},         {L"a", 0.5f, L"OK", L"OK"},
                                     {L"a", 1, L"OK", L"OK"},         {L"ap", 1, L"OK", L"OK"},
                                     {L"ad", 0, L"OK", L"OK"},        {L"", 0, L"Cancel", L"Cancel"},
                                     {L"", 1, L"Cancel", L"Cancel"},  {L"p", 1, L"Cancel", L"Cancel"},
                                     {L"d", 0, L"Cancel", L"Cancel"}, {L"d", 1, L"Cancel", L"Cancel"}};
const std::vector<State> kCheckBoxes = {
    {L"", 0, L"Toggle preview", L"表示を切り替え"},
    {L"", 1, L"Toggle preview", L"表示を切り替え"},
    {L"a", 0, L"Save the selected layer as glow", L"選択中のレイヤーをグローとして保存する"},
    {L"a", 1, L"Advanced mode (show Fog / Light Boost)", L"高機能モード(Fog / Light Boostを表示)"}};
const std::vector<State> kComboBoxes = {
    {L"", 0, L"Dusky Veil", L"Dusky Veil"},
    {L"", 1, L"Anamorphic Flare", L"夕暮れのベール"},
    {L"h", 0, L"A name that is longer than its box", L"箱に収まりきらないとても長いプリセットの名前"},
    {L"h", 1, L"Pearl Veil", L"真珠"}};

void paintSliders(const Canvas& canvas, int y) {
    const struct {
        const wchar_t* name;
        float minimum, maximum, value, hover;
        bool upHot, downHot;
    } cases[] = {
        {L"minimum", 0, 100, 0, 0, false, false},        {L"up hot", 0, 100, 50, 0, true, false},
        {L"down hot", 0, 100, 100, 0, false, true},      {L"middle, hover", 0, 100, 50, 1, false, false},
        {L"minimum, hover", 0, 100, 0, 1, false, false}, {L"no range", 5, 5, 5, 0, false, false}};
    int i = 0;
    for (const auto& c : cases) {
        const int x = 20 + 480 * (i % 2), top = y + 44 * (i / 2);
        ++i;
        writeCaption(canvas, x, top, c.name);
        drawSlider(canvas.target, {4, x + 100, top, x + 350, top + 22, c.minimum, c.maximum, c.value},
                   c.hover);
        drawSpinner(
            canvas.target,
            {{x + 426, top, x + 446, top + 11}, {x + 426, top + 11, x + 446, top + 22}, c.upHot, c.downHot});
    }
}

}  // namespace

void paintSheet(RenderTarget* target, float scale, Language language) {
    const Canvas canvas{target, scale, language};
    paintTitleBars(canvas, 16);
    paintStates(canvas, 116, drawButton, 600, {92, 32}, kButtons);
    paintStates(canvas, 192, drawCheckBox, 400, {285, 20}, kCheckBoxes);
    paintStates(canvas, 256, drawComboBox, 400, {220, 30}, kComboBoxes);
    const TextFormatHolder format = font(11.5f, 600);
    drawSectionHeader(target, format.get(), {20, 340, 320, 354, L"ADJUSTMENTS"});
    paintSliders(canvas, 392);
    drawWindowFrame(target, kSheetWidth, kSheetHeight);
}

}  // namespace gallery
