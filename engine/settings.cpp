#include "engine/settings.h"

namespace veil {

namespace {
constexpr LookCharacter kLooks[kBuiltinLookCount] = {
    {1.0f, 0.94f, 0.88f, 2.4f, false},  // Dusky Veil
    {1.0f, 0.78f, 0.45f, 2.0f, false},  // Gilt Veil
    {1.0f, 1.0f, 1.0f, 2.2f, false},    // Pearl Veil
    {0.55f, 0.75f, 1.0f, 8.0f, true},   // Anamorphic Flare
};
}  // namespace

LookCharacter lookCharacter(std::int16_t presetId) {
    return kLooks[presetId >= 0 && presetId < kBuiltinLookCount ? presetId : 0];
}

RenderSettings makeRenderSettings(const VeilParams& params) {
    const LookCharacter look = lookCharacter(params.presetId);
    RenderSettings s;
    s.threshold = params.threshold;
    s.radius = params.radius;
    s.strength = params.strength;
    s.tintR = look.tintR;
    s.tintG = look.tintG;
    s.tintB = look.tintB;
    s.anamorphic = look.anamorphic;
    s.fog = params.fog;
    s.wideScale = look.wideScale;
    s.glowSaturation = params.glowSaturation;
    s.highlightBoost = params.highlightBoost;
    s.shadowProtect = params.shadowProtect;
    s.outputGlowOnly = params.outputGlowOnly != 0;
    if (!look.anamorphic && params.advancedMode == 0) {
        s.wideScale = 1.0f;
        s.highlightBoost = 0.0f;
    }
    return s;
}

}  // namespace veil
