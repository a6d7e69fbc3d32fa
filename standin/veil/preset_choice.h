#pragma once

// The looks and the user's presets by their names.

#include <optional>
#include <string>

#include "host/parameter_block.h"

namespace standin {

/// Throws CommandError with ExitStatus::usage if a file is given that can't be read.
void checkPresetFile(const std::optional<std::string>& file);

/// The block of the preset with exactly that name, with advanced mode off: a built-in look, else the first of
/// the user's in `file`, or in their usual place if none is given. Nothing if there is none.
std::optional<veil::VeilParams> presetByName(const std::string& name, const std::optional<std::string>& file);

/// UTF-8 text with "?" for each control character.
std::string withoutControls(std::string text);

/// For standard output, one name a line, the built-in ones first. On a terminal without control characters.
std::string presetList(const std::optional<std::string>& file);

}  // namespace standin
