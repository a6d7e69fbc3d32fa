#pragma once

// The display language by the environment, for platforms whose system has no other word for it.

#include <cstdint>

namespace veil {

/// Japanese if the first of LC_ALL, LC_MESSAGES and LANG that is set says so, else English, as language ids.
std::uint16_t environmentLanguage();

}  // namespace veil
