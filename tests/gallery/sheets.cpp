#include "tests/gallery/sheets.h"

#include "toolkit/theme.h"
#include "toolkit/widgets.h"

namespace gallery {

using namespace veil;

namespace {

constexpr int kBannerId = 3001, kColumns = 12, kStep = 100;

// One of each widget: at rest, half hovered, hovered, pressed, disabled, disabled and hovered, then all of
// these checked, primary or open.
void paintColumn(RenderTarget* target, int column, const wchar_t* label, TextFormat* bold,
                 TextFormat* plain) {
    const int state = column % 6, x = 20 + kStep * column, right = x + kStep - 10;
    const bool accented = column >= 6, pressed = state == 3, enabled = state < 4;
    const float hover = state == 0 || state == 4 ? 0.0f : state == 1 ? 0.5f : 1.0f;
    drawButton(target, bold, {1, x, 60, right, 92, label, accented, false, pressed, enabled}, hover);
    drawCheckBox(target, plain, {2, x, 110, right, 130, label, accented, false, pressed, enabled}, hover);
    drawComboBox(target, plain, {3, x, 150, right, 180, label, false, accented, pressed, enabled}, hover);
    drawSlider(target, {4, x, 200, right, 222, 0.0f, float(kColumns - 1), float(column)}, hover);
    drawSpinner(target, {{x, 240, x + 20, 251}, {x, 251, x + 20, 262}, state == 1, state == 2});
    drawSectionHeader(target, bold, {x, 280, right, 294, label});
}

}  // namespace

void paintSheet(RenderTarget* target, Language language) {
    const TextFormatHolder bold = createTextFormat(kFontFamily, 13.0f, 600),
                           plain = createTextFormat(kFontFamily, 13.0f, 400);
    const BitmapHolder banner = loadBannerBitmap(target, kBannerId);
    drawTitleBar(target, bold.get(), float(kSheetWidth), L"", true, false, banner.get());
    const wchar_t* const label = language == Language::english ? L"Save glow" : L"夕暮れのベール";
    for (int column = 0; column < kColumns; ++column)
        paintColumn(target, column, label, bold.get(), plain.get());
    drawWindowFrame(target, kSheetWidth, kSheetHeight);
}

}  // namespace gallery
