#include <cstring>
#include <cwchar>

#include "platform/windows/drawing_records.h"

namespace veil {

namespace {

DWRITE_TEXT_ALIGNMENT native(TextAlign align) {
    switch (align) {
        case TextAlign::trailing:
            return DWRITE_TEXT_ALIGNMENT_TRAILING;
        case TextAlign::centre:
            return DWRITE_TEXT_ALIGNMENT_CENTER;
        default:
            return DWRITE_TEXT_ALIGNMENT_LEADING;
    }
}

DWRITE_PARAGRAPH_ALIGNMENT native(ParagraphAlign align) {
    return align == ParagraphAlign::centre ? DWRITE_PARAGRAPH_ALIGNMENT_CENTER
                                           : DWRITE_PARAGRAPH_ALIGNMENT_NEAR;
}

// The system keeps alignment and wrapping in the format, so each draw sets all three.
void drawAligned(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                 Brush* brush, DWRITE_TEXT_ALIGNMENT align, DWRITE_PARAGRAPH_ALIGNMENT paragraph,
                 DWRITE_WORD_WRAPPING wrapping, D2D1_DRAW_TEXT_OPTIONS options) {
    if (!target || !text || !format || !brush) return;
    IDWriteTextFormat* const textFormat = format->format.get();
    textFormat->SetTextAlignment(align);
    textFormat->SetParagraphAlignment(paragraph);
    textFormat->SetWordWrapping(wrapping);
    target->surface->DrawText(text, static_cast<UINT32>(std::wcslen(text)), textFormat, veil::native(rect),
                              brush->brush.get(), options, DWRITE_MEASURING_MODE_NATURAL);
}

}  // namespace

void releaseTextFormat(TextFormat* format) { const std::unique_ptr<TextFormat> owner(format); }

TextFormatHolder createTextFormat(const wchar_t* family, float sizeDip, int weight) {
    IDWriteFactory* const factory = sharedDWriteFactory();
    if (!factory) return nullptr;
    return TextFormatHolder(recordOf<TextFormat>(makeCom<IDWriteTextFormat>([&](auto out) {
        return factory->CreateTextFormat(family, nullptr, static_cast<DWRITE_FONT_WEIGHT>(weight),
                                         DWRITE_FONT_STYLE_NORMAL, DWRITE_FONT_STRETCH_NORMAL, sizeDip, L"",
                                         out);
    })));
}

void drawSingleLineText(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                        Brush* brush, TextAlign align, ParagraphAlign paragraph) {
    drawAligned(target, text, rect, format, brush, native(align), native(paragraph),
                DWRITE_WORD_WRAPPING_NO_WRAP, D2D1_DRAW_TEXT_OPTIONS_CLIP);
}

void drawWrappedText(RenderTarget* target, const wchar_t* text, const RectF& rect, TextFormat* format,
                     Brush* brush) {
    drawAligned(target, text, rect, format, brush, DWRITE_TEXT_ALIGNMENT_LEADING,
                DWRITE_PARAGRAPH_ALIGNMENT_NEAR, DWRITE_WORD_WRAPPING_WRAP, D2D1_DRAW_TEXT_OPTIONS_NONE);
}

std::wstring widenAnsiText(const char* text) {
    if (!text || !*text) return {};
    const int bytes = static_cast<int>(std::strlen(text));
    const int length = MultiByteToWideChar(CP_ACP, 0, text, bytes, nullptr, 0);
    if (length <= 0) return {};
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, bytes, wide.data(), length);
    return wide;
}

}  // namespace veil
