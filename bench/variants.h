#pragma once

// The runs that the benchmarks of the whole filter measure.

#include <cstdint>
#include <stdexcept>
#include <string>

#include "presets/builtin_presets.h"
#include "standin/host.h"

namespace bench {

inline veil::VeilParams variant(std::int16_t presetId, bool advanced, float boost) {
    veil::VeilParams params = veil::builtinPresetParams(presetId);
    params.highlightBoost = boost;
    params.advancedMode = advanced ? 1 : 0;
    return params;
}

/// "default", "boost" or "streak"; throws std::invalid_argument for another name.
inline veil::VeilParams variantNamed(const std::string& name) {
    if (name == "default") return variant(0, false, 0.0f);
    if (name == "boost") return variant(0, true, 16.0f);
    if (name == "streak") return variant(3, false, 0.0f);
    throw std::invalid_argument("'" + name + "' is none of default, boost and streak");
}

/// A host that has its picture in memory and lends it as it lies there.
inline standin::HostOptions inMemory() {
    standin::HostOptions options;
    options.poisonsBuffers = false;
    options.movingBuffers = false;
    options.lendsPicture = true;
    return options;
}

}  // namespace bench
