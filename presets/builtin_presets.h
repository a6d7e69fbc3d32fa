#pragma once

// The four built-in looks.

#include <cstdint>

#include "engine/settings.h"
#include "host/parameter_block.h"

namespace veil {

/// The fixed name of look `id`, the same in every language; an unknown id has the name of look 0.
const char* presetName(std::int16_t id);

/// The user values of look `id` as a block holds them, with advanced mode and glow alone off.
VeilParams builtinPresetParams(std::int16_t id);

/// The complete settings of look `id`, its user values among them; an unknown id gives look 0.
RenderSettings builtinPresetSettings(std::int16_t id);

}  // namespace veil
