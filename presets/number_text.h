#pragma once

// Numbers as the preset file holds them: with a point, whatever the locale of the host says.

#include <string>
#include <string_view>

namespace veil {

/// As printf's "%.4f" in the C locale: to nearest by the exact value, ties to the even digit.
std::string fourDecimals(float value);

/// As C's atof in the C locale: blanks, a sign, then as much as is a number (decimal, hexadecimal with "0x",
/// infinity or a NaN); 0 for none. Beyond the range of a double it is infinite or 0.
double leadingNumber(std::string_view text);

}  // namespace veil
