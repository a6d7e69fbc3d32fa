#include "presets/builtin_presets.h"

namespace veil {

namespace {

constexpr const char* kNames[kBuiltinLookCount] = {"Dusky Veil", "Gilt Veil", "Pearl Veil",
                                                   "Anamorphic Flare"};

// The user values of each look, as a block would hold them. Advanced mode is off, as in a new block.
constexpr VeilParams kValues[kBuiltinLookCount] = {
    // id, reserved, threshold, radius, strength, fog, highlightBoost, glowSaturation, shadowProtect,
    // advanced, glow
    {0, 0, 0.0f, 180.0f, 0.7f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 0},
    {1, 0, 0.0f, 180.0f, 0.9f, 0.06f, 0.0f, 0.6f, 0.2f, 0, 0},
    {2, 0, 0.0f, 180.0f, 1.2f, 0.2f, 0.0f, 1.0f, 0.0f, 0, 0},
    {3, 0, 0.75f, 140.0f, 1.6f, 0.35f, 0.0f, 1.1f, 0.0f, 0, 0},
};

int rowOf(std::int16_t id) { return id >= 0 && id < kBuiltinLookCount ? id : 0; }

}  // namespace

const char* presetName(std::int16_t id) { return kNames[rowOf(id)]; }

VeilParams builtinPresetParams(std::int16_t id) { return kValues[rowOf(id)]; }

RenderSettings builtinPresetSettings(std::int16_t id) {
    VeilParams params = builtinPresetParams(id);
    params.advancedMode = 1;  // else the look's wide blur would be neutralised
    return makeRenderSettings(params);
}

}  // namespace veil
