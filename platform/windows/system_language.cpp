#include <windows.h>

#include "platform/language.h"

namespace veil {

std::uint16_t userDisplayLanguage() { return GetUserDefaultUILanguage(); }

}  // namespace veil
