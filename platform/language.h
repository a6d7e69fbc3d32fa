#pragma once

// The language of everything that the user reads: Japanese on a Japanese system, else English.

#include <cstdint>

namespace veil {

/// The language id of the user's display language in the published numbering (low 10 bits: primary language);
/// 0 if it can't be known. Defined by the platform.
std::uint16_t userDisplayLanguage();

/// Whether the display language is Japanese. Asked of the system once, then kept for the life of the process.
bool isJapaneseUi();

/// One of the two texts by isJapaneseUi().
const wchar_t* localized(const wchar_t* japanese, const wchar_t* english);

}  // namespace veil
