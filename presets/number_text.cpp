#include "presets/number_text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace veil {

namespace {

// The power of ten, or of two for hexadecimals, in front of which a number out of range stands decides which
// end of the range it left; `text` is one number without its sign.
bool isHuge(std::string_view text, const char* exponentLetters) {
    const std::size_t letter = std::min(text.find_first_of(exponentLetters), text.size());
    if (letter + 1 < text.size()) return text[letter + 1] != '-';
    const std::size_t point = std::min(text.find('.'), letter);
    return text.substr(0, point).find_first_not_of('0') != text.npos;
}

}  // namespace

std::string fourDecimals(float value) {
    char text[64];
    const auto [end, error] =
        std::to_chars(text, text + sizeof text, static_cast<double>(value), std::chars_format::fixed, 4);
    return {text, end};
}

double leadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    // What from_chars would take here, and C does not.
    if (text.starts_with('-')) return 0.0;
    if (hexadecimal && text.find_first_of(".0123456789abcdefABCDEF", 2) != 2) return 0.0;
    const char* const begin = text.data() + (hexadecimal ? 2 : 0);
    double number = 0.0;
    const auto [end, error] =
        std::from_chars(begin, text.data() + text.size(), number,
                        hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (error == std::errc::result_out_of_range) {
        const std::string_view digits(begin, static_cast<std::size_t>(end - begin));
        number = isHuge(digits, hexadecimal ? "pP" : "eE") ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return negative ? -number : number;
}

}  // namespace veil
