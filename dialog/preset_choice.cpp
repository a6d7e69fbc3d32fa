#include "dialog/preset_choice.h"

#include <algorithm>

#include "presets/builtin_presets.h"
#include "toolkit/save_preset_dialog.h"

namespace veil {

namespace {

// The values that blocks and entries hold under the same names.
template <class From, class To>
void copyValues(const From& from, To& to) {
    to.presetId = from.presetId;
    to.threshold = from.threshold;
    to.radius = from.radius;
    to.strength = from.strength;
    to.fog = from.fog;
    to.highlightBoost = from.highlightBoost;
    to.glowSaturation = from.glowSaturation;
    to.shadowProtect = from.shadowProtect;
}

void takeUserPreset(MainDialogState& dialog, const PresetEntry& entry) {
    copyValues(entry, dialog.params);
    dialog.params.outputGlowOnly = entry.outputGlowOnly;
    dialog.outputToggle.accented = entry.outputGlowOnly != 0;
    dialog.presetBox.label = widenAnsiText(entry.name.c_str());
}

void takeBuiltinLook(MainDialogState& dialog, std::int16_t id) {
    copyValues(builtinPresetParams(id), dialog.params);
    dialog.presetBox.label = widenAnsiText(presetName(id));
}

}  // namespace

std::vector<std::wstring> presetListNames(const MainDialogState& dialog) {
    std::vector<std::wstring> names;
    for (int id = 0; id < kBuiltinLookCount; ++id)
        names.push_back(widenAnsiText(presetName(static_cast<std::int16_t>(id))));
    for (const PresetEntry& entry : dialog.userPresets) names.push_back(widenAnsiText(entry.name.c_str()));
    return names;
}

int currentPresetIndex(const MainDialogState& dialog) {
    const std::vector<std::wstring> names = presetListNames(dialog);
    const auto found = std::find(names.begin(), names.end(), dialog.presetBox.label);
    return found != names.end() ? static_cast<int>(found - names.begin()) : dialog.params.presetId;
}

void applyPresetByIndex(MainDialogState& dialog, int listIndex) {
    if (listIndex < 0) return;
    if (listIndex < kBuiltinLookCount) {
        takeBuiltinLook(dialog, static_cast<std::int16_t>(listIndex));
    } else {
        const auto place = static_cast<std::size_t>(listIndex - kBuiltinLookCount);
        if (place >= dialog.userPresets.size()) return;
        takeUserPreset(dialog, dialog.userPresets[place]);
    }
    syncSlidersFromParams(dialog);
    refreshPreview(dialog);
}

void saveCurrentAsUserPreset(MainDialogState& dialog) {
    PresetEntry entry{};
    if (!runSavePresetDialog(dialog.window, entry.name)) return;
    copyValues(dialog.params, entry);
    entry.outputGlowOnly = dialog.params.outputGlowOnly;
    writeUserPreset(entry);

    auto& presets = dialog.userPresets;
    const auto same = std::find_if(presets.begin(), presets.end(),
                                   [&](const PresetEntry& other) { return other.name == entry.name; });
    dialog.presetBox.label = widenAnsiText(entry.name.c_str());
    if (same != presets.end())
        *same = entry;
    else
        presets.push_back(entry);
    invalidate(dialog.window);
}

}  // namespace veil
