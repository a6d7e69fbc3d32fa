#pragma once

// The command line of veil as a plain record.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/parameter_block.h"
#include "standin/image.h"

namespace standin {

struct Options {
    std::vector<std::filesystem::path> inputs;
    std::optional<std::filesystem::path> output;  ///< a file or a folder; see planOutputs
    std::optional<std::string> suffix;            ///< as given; the default counts only beside the input
    bool overwrite = false;
    bool skipExisting = false;
    veil::VeilParams params = {};        ///< what the filter gets, or what the first dialog starts with
    bool dialog = false;                 ///< the plug-in asks for the values of each picture
    std::optional<PixelRect> selection;  ///< not yet held against a picture
    std::optional<int> depth;            ///< 8 or 16
    std::int16_t tileWidth = 1024, tileHeight = 1024;
    std::optional<std::filesystem::path> plugin;  ///< default: beside the program
    bool failFast = false;
    bool quiet = false;
    bool verbose = false;
    bool timing = false;
    bool json = false;
};

/// What the command line asks for: a run with `options`, or a text for standard output and nothing else.
struct CommandLine {
    Options options;
    std::optional<std::string> answer;
};

/// Reads the user's presets where they are asked for. Throws CommandError with ExitStatus::usage and a
/// message that names the option.
CommandLine parseCommandLine(int argc, const char* const* argv);

/// "0.7" and "70%" are 0.7; nothing for anything but a finite number that a float can hold.
std::optional<float> parseValue(std::string_view text);

}  // namespace standin
