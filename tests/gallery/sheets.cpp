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

void write(const Canvas& canvas, const RectF& rect, const wchar_t* text, TextFormat* format,
           const Color& color, TextAlign align = TextAlign::leading) {
    const BrushHolder brush = createColorBrush(canvas.target, color);
    drawSingleLineText(canvas.target, text, rect, format, brush.get(), align, ParagraphAlign::centre);
}

void writeCaption(const Canvas& canvas, int x, int y, const wchar_t* text) {
    const TextFormatHolder small = font(11.0f, 400);
    const float left = static_cast<float>(x), top = static_cast<float>(y);
    write(canvas, {left, top, left + 200, top + 16}, text, small.get(), colorTextDim);
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
    struct Case {
        const wchar_t* name;
        int width;
        bool banner, closeHot, closePressed;
    };
    const Case cases[] = {{L"banner", 300, true, false, false},
                          {L"title, close hot", 300, false, true, false},
                          {L"title, close pressed", 300, false, true, true},
                          {L"narrow", 148, true, false, true}};
    const TextFormatHolder title = font(13.0f, 600);
    int x = 20;
    for (const Case& c : cases) {
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

void paintButtons(const Canvas& canvas, int y) {
    struct Case {
        const wchar_t* name;
        float hover;
        bool pressed, enabled;
    };
    const Case cases[] = {{L"normal", 0.0f, false, true},           {L"hover 0.5", 0.5f, false, true},
                          {L"hover 1", 1.0f, false, true},          {L"pressed", 1.0f, true, true},
                          {L"disabled", 0.0f, false, false},        {L"disabled, hover", 1.0f, false, false},
                          {L"disabled, pressed", 0.0f, true, false}};
    const TextFormatHolder format = font(13.0f, 600);
    int x = 20;
    for (const Case& c : cases) {
        writeCaption(canvas, x, y, c.name);
        for (const bool primary : {true, false}) {
            const int top = y + (primary ? 20 : 60);
            ControlRecord button{1, x, top, x + 92, top + 32, primary ? L"OK" : L"Cancel", primary};
            button.pressed = c.pressed;
            button.enabled = c.enabled;
            drawButton(canvas.target, format.get(), button, c.hover);
        }
        x += 112;
    }
    ControlRecord wide{1, x, y + 20, x + 180, y + 50, L"Save Preset..."};
    drawButton(canvas.target, format.get(), wide, 0.0f);
}

void paintCheckBoxes(const Canvas& canvas, int y) {
    struct Case {
        const wchar_t* name;
        float hover;
        bool checked;
        const wchar_t *english, *japanese;
    };
    const Case cases[] = {{L"unchecked", 0.0f, false, L"Toggle preview", L"表示を切り替え"},
                          {L"hover", 1.0f, false, L"Toggle preview", L"表示を切り替え"},
                          {L"checked", 0.0f, true, L"Save the selected layer as glow",
                           L"選択中のレイヤーをグローとして保存する"},
                          {L"checked, hover", 1.0f, true, L"Advanced mode (show Fog / Light Boost)",
                           L"高機能モード(Fog / Light Boostを表示)"}};
    const TextFormatHolder format = font(13.0f, 400);
    int x = 20;
    for (const Case& c : cases) {
        const int width = c.checked ? 300 : 150;
        writeCaption(canvas, x, y, c.name);
        const ControlRecord box{2,        x, y + 20, x + width, y + 40, canvas.text(c.english, c.japanese),
                                c.checked};
        drawCheckBox(canvas.target, format.get(), box, c.hover);
        x += width + 20;
    }
}

void paintComboBoxes(const Canvas& canvas, int y) {
    struct Case {
        const wchar_t* name;
        float hover;
        bool open;
        const wchar_t *english, *japanese;
    };
    const Case cases[] = {{L"closed", 0.0f, false, L"Dusky Veil", L"Dusky Veil"},
                          {L"hover", 1.0f, false, L"Anamorphic Flare", L"夕暮れのベール"},
                          {L"open", 0.0f, true, L"A name that is longer than its box",
                           L"箱に収まりきらないとても長いプリセットの名前"},
                          {L"open, hover", 1.0f, true, L"Pearl Veil", L"真珠"}};
    const TextFormatHolder format = font(13.0f, 400);
    int x = 20;
    for (const Case& c : cases) {
        writeCaption(canvas, x, y, c.name);
        ControlRecord box{3, x, y + 20, x + 220, y + 50, canvas.text(c.english, c.japanese)};
        box.hot = c.open;
        drawComboBox(canvas.target, format.get(), box, c.hover);
        x += 240;
    }
}

void paintSliders(const Canvas& canvas, int y) {
    struct Case {
        const wchar_t* name;
        float minimum, maximum, value, hover;
        bool upHot, downHot;
    };
    const Case cases[] = {
        {L"minimum", 0, 100, 0, 0, false, false},        {L"up hot", 0, 100, 50, 0, true, false},
        {L"down hot", 0, 100, 100, 0, false, true},      {L"middle, hover", 0, 100, 50, 1, false, false},
        {L"minimum, hover", 0, 100, 0, 1, false, false}, {L"no range", 5, 5, 5, 0, false, false}};
    const TextFormatHolder label = font(13.0f, 400), value = font(13.0f, 600);
    int i = 0;
    for (const Case& c : cases) {
        const int x = 20 + 480 * (i % 2), top = y + 44 * (i / 2);
        ++i;
        writeCaption(canvas, x, top, c.name);
        drawSlider(canvas.target, {4, x + 100, top, x + 350, top + 22, c.minimum, c.maximum, c.value},
                   c.hover);
        write(canvas,
              {static_cast<float>(x + 360), static_cast<float>(top), static_cast<float>(x + 420),
               static_cast<float>(top + 22)},
              (std::to_wstring(static_cast<int>(c.value)) + L"%").c_str(), value.get(), colorAccent,
              TextAlign::trailing);
        drawSpinner(
            canvas.target,
            {{x + 426, top, x + 446, top + 11}, {x + 426, top + 11, x + 446, top + 22}, c.upHot, c.downHot});
    }
}

void paintHeaders(const Canvas& canvas, int y) {
    const TextFormatHolder format = font(11.5f, 600);
    int x = 20;
    for (const wchar_t* text : {L"PRESET", L"OUTPUT", L"ADJUSTMENTS"}) {
        drawSectionHeader(canvas.target, format.get(), {x, y, x + 300, y + 14, text});
        x += 320;
    }
}

void paintWidgets(RenderTarget* target, float scale, Language language) {
    const Canvas canvas{target, scale, language};
    paintTitleBars(canvas, 16);
    paintButtons(canvas, 116);
    paintCheckBoxes(canvas, 224);
    paintComboBoxes(canvas, 280);
    paintHeaders(canvas, 352);
    paintSliders(canvas, 392);
    drawWindowFrame(target, 1160, 532);
}

struct TextRole {
    const wchar_t* name;
    float size;
    int weight;
    Color color;
    const wchar_t *english, *japanese;
};

const TextRole kRoles[] = {
    {L"title 13 / 600", 13.0f, 600, colorAccent, L"Lucent Veil — Dusky Veil",
     L"Lucent Veil — 夕暮れのベール"},
    {L"section 11.5 / 600", 11.5f, 600, colorAccent, L"ADJUSTMENTS", L"ADJUSTMENTS 調整"},
    {L"label 13 / 400", 13.0f, 400, colorText, L"Saturation, Light Boost, jgpqy ÅÉ",
     L"表示を切り替え Light Boost"},
    {L"hint 11 / 400", 11.0f, 400, colorTextDim,
     L"How far the bloom spreads (px, absolute against the actual image size).",
     L"にじみが広がる範囲(px、画像の実寸に対する絶対値)。"},
    {L"value 13 / 600", 13.0f, 600, mixColor(colorAccent, colorWhite, 0.7f), L"0.75  120px  100%",
     L"0.75  120px  100%"},
    {L"button 13 / 600", 13.0f, 600, colorText, L"Save Preset...", L"保存 Save Preset..."},
    {L"note 12 / 400", 12.0f, 400, colorTextDim, L"How to use: make sure a duplicated layer is selected",
     L"使い方: 複製したレイヤーを選択した状態か確認してください"},
};

// Each role in one line, leading, centred and trailing, in a box of the height of a row, then too narrow.
void paintLines(const Canvas& canvas, int y) {
    const BrushHolder border = createColorBrush(canvas.target, colorSurface);
    for (const TextRole& role : kRoles) {
        writeCaption(canvas, 20, y + 3, role.name);
        const TextFormatHolder format = font(role.size, role.weight);
        const wchar_t* text = canvas.text(role.english, role.japanese);
        const float top = static_cast<float>(y);
        const auto boxed = [&](float left, float right, TextAlign align) {
            strokeRectangle(canvas.target, {left + 0.5f, top + 0.5f, right - 0.5f, top + 21.5f}, border.get(),
                            1.0f);
            write(canvas, {left, top, right, top + 22}, text, format.get(), role.color, align);
        };
        boxed(140, 560, TextAlign::leading);
        boxed(580, 680, TextAlign::leading);
        boxed(700, 980, TextAlign::centre);
        boxed(1000, 1280, TextAlign::trailing);
        y += 28;
    }
}

// The texts that wrap, in the boxes that they have in their windows.
void paintWrapped(const Canvas& canvas, int y) {
    const TextFormatHolder format = font(12.0f, 400);
    const BrushHolder brush = createColorBrush(canvas.target, colorTextDim);
    const BrushHolder border = createColorBrush(canvas.target, colorSurface);
    const float top = static_cast<float>(y);
    const wchar_t* howTo = canvas.text(
        L"How to use: make sure a duplicated layer is selected, keep \"Save the selected layer as glow\" on, "
        L"apply, "
        L"then set that layer's blend mode to Screen.",
        L"使い方: "
        L"複製したレイヤーを選択した状態か確認してください「グローとして保存する」がONのまま、出力して、"
        L"レイヤーモードをスクリーンしてください。");
    const RectF boxes[] = {{20, top, 546, top + 40}, {580, top, 832, top + 50}};
    for (const RectF& box : boxes) {
        strokeRectangle(canvas.target, {box.left - 0.5f, box.top - 0.5f, box.right + 0.5f, box.bottom + 0.5f},
                        border.get(), 1.0f);
        drawWrappedText(canvas.target, howTo, box, format.get(), brush.get());
    }
}

void paintTexts(RenderTarget* target, float scale, Language language) {
    const Canvas canvas{target, scale, language};
    paintLines(canvas, 20);
    paintWrapped(canvas, 232);
}

}  // namespace

const std::vector<Sheet>& sheets() {
    static const std::vector<Sheet> all = {{L"widgets", 1160, 532, paintWidgets},
                                           {L"texts", 1300, 320, paintTexts}};
    return all;
}

RenderTargetHolder paintSheet(const Sheet& sheet, float scale, Language language) {
    RenderTargetHolder target = createImageRenderTarget(windowSizePx(sheet.widthDip, scale),
                                                        windowSizePx(sheet.heightDip, scale), scale);
    if (!target) return target;
    beginDraw(target.get());
    clearTarget(target.get(), colorWindow);
    sheet.paint(target.get(), scale, language);
    if (endDraw(target.get()) != FrameResult::shown) target.reset();
    return target;
}

}  // namespace gallery
