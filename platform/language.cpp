#include "platform/language.h"

namespace veil {

namespace {
constexpr std::uint16_t kPrimaryLanguageMask = 0x3FF;
constexpr std::uint16_t kJapanese = 0x11;
}  // namespace

bool isJapaneseUi() {
    static const bool japanese = (userDisplayLanguage() & kPrimaryLanguageMask) == kJapanese;
    return japanese;
}

const wchar_t* localized(const wchar_t* japanese, const wchar_t* english) {
    return isJapaneseUi() ? japanese : english;
}

}  // namespace veil
