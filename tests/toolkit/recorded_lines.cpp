#include "tests/toolkit/recorded_lines.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

namespace veil {

namespace {

// Of the plane that all our texts lie in.
std::string utf8(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        const auto c = static_cast<unsigned>(unit);
        if (c >= 0x800) bytes += char(0xE0 | c >> 12);
        if (c >= 0x80) bytes += char(c >= 0x800 ? 0x80 | (c >> 6 & 0x3F) : 0xC0 | c >> 6);
        bytes += char(c >= 0x80 ? 0x80 | (c & 0x3F) : c);
    }
    return bytes;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, " %g", std::round(value * 1e4) / 1e4);
    return text;
}

// As hexadecimal bytes; a mixed colour, which lies between bytes, as " <r g b>" to a hundredth of a byte.
std::string hex(const Color& c) {
    char text[48];
    const auto byte = [](float channel) { return std::round(channel * 25500.0) / 100.0; };
    const double r = byte(c.r), g = byte(c.g), b = byte(c.b);
    if (r == int(r) && g == int(g) && b == int(b))
        std::snprintf(text, sizeof text, " #%02X%02X%02X", int(r), int(g), int(b));
    else
        std::snprintf(text, sizeof text, " <%.2f %.2f %.2f>", r, g, b);
    return c.a == 1.0f ? text : text + (" at" + number(c.a));
}

}  // namespace

InstalledRecorder::InstalledRecorder() {
    recorder.language = isJapaneseSystem() ? 0x0411 : 0x0409;
    installRecorder(&recorder);
}

InstalledRecorder::~InstalledRecorder() { installRecorder(nullptr); }

std::string InstalledRecorder::calls() { return joined(std::exchange(recorder.windowCalls, {})); }

std::string InstalledRecorder::painted(Window* window) {
    recorder.draws.clear();
    send(window, {.kind = WindowMessage::Kind::paint});
    CHECK(recorder.liveBrushes.empty());
    CHECK_FALSE(recorder.brushesOutOfOrder);
    return linesWithFonts(recorder.draws);
}

bool isJapaneseSystem() {
    const char* const locale = std::getenv("LC_ALL");
    return locale && std::string_view(locale).starts_with("ja");
}

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& l : lines) text += l + "\n";
    return text;
}

std::string line(const RecordedDraw& draw) {
    std::string text(draw.call);
    if (draw.call == "beginDraw" || draw.call == "endDraw") return text;
    for (const PointF& p : draw.points) text += number(p.x) + number(p.y);
    if (draw.radius.x != 0.0f) text += " r" + number(draw.radius.x);
    if (draw.radius.y != draw.radius.x) text += " by" + number(draw.radius.y);
    if (draw.strokeWidth != 0.0f) text += " w" + number(draw.strokeWidth);
    if (!draw.text.empty()) text += " '" + utf8(draw.text) + "'";
    if (draw.call == "drawSingleLineText") {
        const char* const aligns[] = {" leading", " trailing", " centre"};
        text += aligns[int(draw.align)];
        text += draw.paragraph == ParagraphAlign::centre ? " middle" : " top";
    }
    if (draw.bannerId != 0) return text + " banner " + std::to_string(draw.bannerId);
    if (draw.call == "drawBitmap")
        return text + " preview" + number(draw.bitmapSize.width) + number(draw.bitmapSize.height);
    const auto& [first, last, isGradient, start, end] = draw.paint;
    if (!isGradient) return text + hex(first);
    return text + hex(first) + " to" + hex(last) + number(start.x) + number(start.y) + number(end.x) +
           number(end.y);
}

std::string linesWithFonts(const std::vector<RecordedDraw>& draws) {
    std::string text;
    for (const RecordedDraw& draw : draws) {
        text += line(draw);
        if (!draw.text.empty())
            text += " in " + utf8(draw.font.family) + number(draw.font.size) + number(draw.font.weight);
        text += '\n';
    }
    return text;
}

void checkListing(const std::string& name, const std::string& seen) {
    std::ifstream file(VEIL_LISTINGS "/" + name);
    const std::string kept{std::istreambuf_iterator<char>(file), {}};
    CHECK(seen == kept);
    if (seen != kept) std::ofstream(name) << seen;
}

}  // namespace veil
