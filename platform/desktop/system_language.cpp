#include "platform/environment_language.h"
#include "platform/language.h"

namespace veil {

std::uint16_t userDisplayLanguage() { return environmentLanguage(); }

}  // namespace veil
