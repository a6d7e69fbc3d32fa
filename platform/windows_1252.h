#pragma once

// The 8-bit code page of a western system, for platforms whose own code page is another.

#include <cstddef>
#include <string>
#include <string_view>

namespace veil {

/// Windows-1252 text as wide text; empty for null. The five bytes that it leaves open become the control
/// characters of the same number, as on Windows.
std::wstring widenWindows1252(const char* text);

/// The same as UTF-8, and back; a character that the code page lacks becomes "?".
std::string utf8FromWindows1252(std::string_view text);
std::string windows1252FromUtf8(std::string_view text);

/// Adds a character to a UTF-8 text.
void appendUtf8(std::string& text, char32_t character);
/// The character at `at`, which moves behind it; U+FFFD for a byte that begins none.
char32_t nextUtf8(std::string_view text, std::size_t& at);

}  // namespace veil
