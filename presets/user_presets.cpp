#include "presets/user_presets.h"

#include "platform/profile_file.h"
#include "presets/builtin_presets.h"
#include "presets/number_text.h"

namespace veil {

namespace {

constexpr const char* kFolder = "LucentVeil";
constexpr const char* kFile = "DuskyVeil_Presets.ini";
constexpr int kPathBytes = 260;  // the system's longest path, with its terminator
constexpr int kNamesBytes = 4096;
constexpr int kTextBytes = 64;  // of a number, with its terminator

constexpr const char* kPresetId = "presetId";
constexpr const char* kOutputGlowOnly = "outputGlowOnly";

/// A value and the text that stands for a missing one; null: that of the built-in look.
struct ValueKey {
    const char* key;
    float PresetEntry::*value;
    const char* fallback;
};

// In the order in which they are written.
constexpr ValueKey kValues[] = {
    {"threshold", &PresetEntry::threshold, "0.85"},
    {"radius", &PresetEntry::radius, "40.0"},
    {"strength", &PresetEntry::strength, "1.0"},
    {"fog", &PresetEntry::fog, "0.18"},
    {"highlightBoost", &PresetEntry::highlightBoost, "16.0"},
    {"glowSaturation", &PresetEntry::glowSaturation, nullptr},
    {"shadowProtect", &PresetEntry::shadowProtect, nullptr},
};

// No hand writes this, so a text that equals it was not read from the file.
constexpr const char* kMissing = "\x01missing";

PresetEntry loadEntry(const std::string& path, const std::string& name) {
    PresetEntry entry;
    entry.name = name;
    entry.presetId = static_cast<std::int16_t>(profileInteger(path, name, kPresetId, 0));
    entry.outputGlowOnly = static_cast<std::int16_t>(profileInteger(path, name, kOutputGlowOnly, 0));
    const VeilParams look = builtinPresetParams(entry.presetId);
    entry.glowSaturation = look.glowSaturation;
    entry.shadowProtect = look.shadowProtect;
    for (const ValueKey& value : kValues) {
        const char* const fallback = value.fallback ? value.fallback : kMissing;
        const std::string text = profileText(path, name, value.key, fallback, kTextBytes);
        if (text != kMissing) entry.*value.value = static_cast<float>(leadingNumber(text));
    }
    return entry;
}

// A header ends at its line and at its bracket.
std::string sectionName(std::string name) {
    for (char& c : name) {
        if (static_cast<unsigned char>(c) < 0x20 || c == '[' || c == ']') c = '_';
    }
    return name;
}

}  // namespace

std::string presetFilePath() {
    std::string folder = ".";
    if (const std::optional<std::string> data = environmentText("APPDATA", kPathBytes))
        folder = *data + kPathSeparator + kFolder;
    makeFolder(folder);
    return folder + kPathSeparator + kFile;
}

std::vector<PresetEntry> loadUserPresets() { return loadUserPresets(presetFilePath()); }

std::vector<PresetEntry> loadUserPresets(const std::string& path) {
    std::vector<PresetEntry> entries;
    for (const std::string& name : profileSections(path, kNamesBytes))
        entries.push_back(loadEntry(path, name));
    return entries;
}

void writeUserPreset(const PresetEntry& entry) {
    const std::string path = presetFilePath(), section = sectionName(entry.name);
    const auto write = [&](const char* key, const std::string& text) {
        writeProfileText(path, section, key, text.c_str());
    };
    write(kPresetId, std::to_string(entry.presetId));
    for (const ValueKey& value : kValues) write(value.key, fourDecimals(entry.*value.value));
    write(kOutputGlowOnly, std::to_string(entry.outputGlowOnly));
}

}  // namespace veil
