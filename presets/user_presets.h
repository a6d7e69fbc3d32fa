#pragma once

// The user's own presets and the file that keeps them: one for each user, shared by all documents and hosts.

#include <cstdint>
#include <string>
#include <vector>

namespace veil {

/// A preset of the user. The values are those of a parameter block, unchecked.
struct PresetEntry {
    std::string name;           ///< in the system's 8-bit code page; the key of the entry
    std::int16_t presetId = 0;  ///< the built-in look that it was made from
    float threshold = 0.0f;
    float radius = 0.0f;
    float strength = 0.0f;
    float fog = 0.0f;
    float highlightBoost = 0.0f;
    float glowSaturation = 0.0f;
    float shadowProtect = 0.0f;
    std::int16_t outputGlowOnly = 0;  ///< nonzero: the glow alone
};

/// Where the presets are kept: in a folder of ours in that of the variable APPDATA, which is made if it is
/// missing; in the current folder if the variable is not set or has more than 259 bytes.
std::string presetFilePath();

/// All presets in the order of the file; none if there is no readable file. A missing number has a default, a
/// text that is no number is 0. Names beyond 4096 bytes, each with a terminator, are left out.
std::vector<PresetEntry> loadUserPresets();
/// The same from another file.
std::vector<PresetEntry> loadUserPresets(const std::string& path);

/// Writes one preset into the file, over the one whose name differs at most in the case of letters or in
/// blanks at its ends, since they share a section, or behind all others. In the file "_" stands for brackets
/// and control characters of the name. A failure goes unnoticed.
void writeUserPreset(const PresetEntry& entry);

}  // namespace veil
