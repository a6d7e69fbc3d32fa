#pragma once

// What the engine is asked to do: the settings record, and how the host's block turns into it.

#include <cstdint>

#include "host/parameter_block.h"

namespace veil {

/// The settings of one render. Only `radius` has a size in pixels; the rest are ratios of luma or colour.
struct RenderSettings {
    float threshold = 0.0f;  ///< luma above which the glow starts; the knee begins at 0.55 of it
    float radius = 0.0f;     ///< reach of the bloom in pixels of the image plane; limited to 2 to 600
    float strength = 0.0f;   ///< linear gain on the glow
    float tintR = 1.0f;      ///< colour by which the glow is multiplied
    float tintG = 1.0f;
    float tintB = 1.0f;
    bool anamorphic = false;      ///< blur horizontally only
    float fog = 0.0f;             ///< share of the thin haze in the glow, 0 to 1
    float wideScale = 1.0f;       ///< ratio of the wide blur's radius to `radius`; 1 is neutral
    float glowSaturation = 1.0f;  ///< 1 keeps the colour of the light, 0 is grey
    float highlightBoost = 0.0f;  ///< halo round blown-out lights; 0 is off
    float shadowProtect = 0.0f;   ///< 0 to 1: how far the glow is kept out of dark areas
    bool outputGlowOnly = false;  ///< write the glow alone, not the glow over the picture
};

/// The colour character of a built-in look; it stands in no block and no file, only behind the preset id.
struct LookCharacter {
    float tintR, tintG, tintB;
    float wideScale;
    bool anamorphic;
};

constexpr int kBuiltinLookCount = 4;

/// The character of look `presetId`; an unknown id gives that of look 0.
LookCharacter lookCharacter(std::int16_t presetId);

/// The settings of a block. With advanced mode off only the anamorphic look keeps its wide blur and its
/// boost.
RenderSettings makeRenderSettings(const VeilParams& params);

}  // namespace veil
