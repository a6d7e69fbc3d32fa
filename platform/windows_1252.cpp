#include "platform/windows_1252.h"

namespace veil {

namespace {

// Everywhere else the code page agrees with Unicode.
constexpr unsigned kFirst = 0x80, kCount = 32;
constexpr wchar_t kOwn[kCount] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

wchar_t widened(char c) {
    const unsigned byte = static_cast<unsigned char>(c);
    return byte - kFirst < kCount ? kOwn[byte - kFirst] : static_cast<wchar_t>(byte);
}

char narrowed(char32_t character) {
    if (character < kFirst || (character >= kFirst + kCount && character <= 0xFF))
        return static_cast<char>(character);
    for (unsigned i = 0; i < kCount; ++i) {
        if (static_cast<char32_t>(kOwn[i]) == character) return static_cast<char>(kFirst + i);
    }
    return '?';
}

}  // namespace

std::wstring widenWindows1252(const char* text) {
    std::wstring wide;
    for (; text && *text; ++text) wide.push_back(widened(*text));
    return wide;
}

std::string utf8FromWindows1252(std::string_view text) {
    std::string utf8;
    for (const char c : text) appendUtf8(utf8, static_cast<char32_t>(widened(c)));
    return utf8;
}

std::string windows1252FromUtf8(std::string_view text) {
    std::string narrow;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t character = nextUtf8(text, at);
        narrow += character > 0xFFFF ? "?" : "";  // the system counts two
        narrow += narrowed(character);
    }
    return narrow;
}

void appendUtf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;  // bytes behind the first
    const unsigned lead = 0xFF00u >> (more + 1) & 0xFFu;
    text += static_cast<char>(lead | character >> 6 * more);
    for (int i = more - 1; i >= 0; --i) text += static_cast<char>(0x80u | (character >> 6 * i & 0x3Fu));
}

char32_t nextUtf8(std::string_view text, std::size_t& at) {
    constexpr char32_t kUnknown = 0xFFFD;
    const unsigned lead = static_cast<unsigned char>(text[at++]);
    if (lead < 0x80) return lead;
    const unsigned more = lead >= 0xF0 && lead < 0xF8 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    if (more == 0 || lead >= 0xF8 || at + more > text.size()) return kUnknown;
    char32_t character = lead & 0x3Fu >> more;
    for (unsigned i = 0; i < more; ++i) {
        const unsigned byte = static_cast<unsigned char>(text[at + i]);
        if ((byte & 0xC0u) != 0x80u) return kUnknown;
        character = character << 6 | (byte & 0x3Fu);
    }
    at += more;
    return character;
}

}  // namespace veil
