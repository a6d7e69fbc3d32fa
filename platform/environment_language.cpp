#include "platform/environment_language.h"

#include <cstdlib>
#include <string_view>

namespace veil {

namespace {
constexpr std::uint16_t kJapaneseJapan = 0x0411;
constexpr std::uint16_t kEnglishUnitedStates = 0x0409;
}  // namespace

std::uint16_t environmentLanguage() {
    // The order in which the C library itself looks for the language of messages.
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        const std::string_view language(value);
        const bool japanese = language == "ja" || language.starts_with("ja_") || language.starts_with("ja.");
        return japanese ? kJapaneseJapan : kEnglishUnitedStates;
    }
    return kEnglishUnitedStates;
}

}  // namespace veil
