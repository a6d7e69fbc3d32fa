#include "standin/veil/preset_choice.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "presets/builtin_presets.h"
#include "presets/user_presets.h"
#include "standin/veil/errors.h"
#include "standin/veil/system.h"

namespace fs = std::filesystem;

namespace standin {
namespace {

std::vector<veil::PresetEntry> userPresets(const std::optional<std::string>& file) {
    if (!file) return veil::loadUserPresets();
    // A system may look for a bare name in a folder of its own.
    return veil::loadUserPresets(fs::absolute(*file).string());
}

veil::VeilParams paramsOf(const veil::PresetEntry& entry) {
    veil::VeilParams params = {};
    params.presetId = entry.presetId;
    params.threshold = entry.threshold;
    params.radius = entry.radius;
    params.strength = entry.strength;
    params.fog = entry.fog;
    params.highlightBoost = entry.highlightBoost;
    params.glowSaturation = entry.glowSaturation;
    params.shadowProtect = entry.shadowProtect;
    params.outputGlowOnly = entry.outputGlowOnly;
    return params;
}

}  // namespace

void checkPresetFile(const std::optional<std::string>& file) {
    if (!file) return;
    std::error_code error;
    std::string reason;
    if (fs::exists(*file, error) && !fs::is_regular_file(*file, error)) {
        reason = "it is no regular file";
    } else if (!std::ifstream(*file, std::ios::binary)) {
        reason = std::strerror(errno);
    }
    if (!reason.empty()) {
        throw CommandError("--preset-file: '" + *file + "' can't be read: " + reason, ExitStatus::usage);
    }
}

std::optional<veil::VeilParams> presetByName(const std::string& name,
                                             const std::optional<std::string>& file) {
    for (std::int16_t id = 0; id < veil::kBuiltinLookCount; ++id) {
        if (name == veil::presetName(id)) return veil::builtinPresetParams(id);
    }
    for (const veil::PresetEntry& entry : userPresets(file)) {
        if (name == shownText(entry.name)) return paramsOf(entry);
    }
    return {};
}

std::string withoutControls(std::string text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == 0x7F) text[i] = '?';
        // U+0080 to U+009F, which some terminals obey as well, are two bytes.
        if (c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0)
            text.replace(i, 2, "?");
    }
    return text;
}

std::string presetList(const std::optional<std::string>& file) {
    std::string list;
    for (std::int16_t id = 0; id < veil::kBuiltinLookCount; ++id)
        list += std::string(veil::presetName(id)) + "\n";
    const bool isTerminal = outputIsTerminal();
    for (const veil::PresetEntry& entry : userPresets(file)) {
        const std::string name = shownText(entry.name);
        list += (isTerminal ? withoutControls(name) : name) + "\n";
    }
    return list;
}

}  // namespace standin
