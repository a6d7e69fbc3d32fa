#include "standin/veil/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "presets/builtin_presets.h"
#include "standin/veil/errors.h"
#include "standin/veil/picture_file.h"
#include "standin/veil/preset_choice.h"

namespace standin {
namespace {

/// The text of an option as it stood on the command line, and the option's name for messages.
struct Given {
    const char* name;
    std::optional<std::string> text;
};

/// The seven values in the order of the block.
struct Values {
    Given threshold{"--threshold", {}}, radius{"--radius", {}}, strength{"--strength", {}}, fog{"--fog", {}},
        lightBoost{"--light-boost", {}}, saturation{"--saturation", {}}, shadow{"--shadow", {}};
};

struct Texts {
    Values values;
    Given selection{"--selection", {}}, depth{"--depth", {}}, hostTile{"--host-tile", {}};
    std::string preset = veil::presetName(0);
    bool advanced = false, glowOnly = false, composite = false, listPresets = false, version = false;
    std::vector<std::string> inputs;
    std::optional<std::string> output, plugin, presetFile;
};

[[noreturn]] void refuse(const Given& option, const char* wanted) {
    throw CommandError(std::string(option.name) + ": '" + *option.text + "' is not " + wanted,
                       ExitStatus::usage);
}

/// Whole numbers of `count` separated by `separator`, and nothing else.
template <std::size_t count>
std::optional<std::array<int, count>> parseNumbers(std::string_view text, char separator) {
    std::array<int, count> numbers;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && (at == end || *at++ != separator)) return {};
        const auto [next, error] = std::from_chars(at, end, numbers[i]);
        if (error != std::errc()) return {};
        at = next;
    }
    if (at != end) return {};
    return numbers;
}

void takeValue(const Given& option, float& value) {
    if (!option.text) return;
    const std::optional<float> number = parseValue(*option.text);
    if (!number) refuse(option, "a finite number such as 0.7 or 70%");
    value = *number;
}

veil::VeilParams makeParams(const Texts& texts) {
    const std::optional<veil::VeilParams> preset = presetByName(texts.preset, texts.presetFile);
    if (!preset) {
        throw CommandError("--preset: no preset is named '" + texts.preset + "' (see --list-presets)",
                           ExitStatus::usage);
    }
    veil::VeilParams params = *preset;
    params.advancedMode = texts.advanced ? 1 : 0;
    if (texts.glowOnly) params.outputGlowOnly = 1;
    if (texts.composite) params.outputGlowOnly = 0;
    takeValue(texts.values.threshold, params.threshold);
    takeValue(texts.values.radius, params.radius);
    takeValue(texts.values.strength, params.strength);
    takeValue(texts.values.fog, params.fog);
    takeValue(texts.values.lightBoost, params.highlightBoost);
    takeValue(texts.values.saturation, params.glowSaturation);
    takeValue(texts.values.shadow, params.shadowProtect);
    return params;
}

void takeSelection(const Given& option, Options& options) {
    if (!option.text) return;
    const auto sides = parseNumbers<4>(*option.text, ',');
    if (!sides) refuse(option, "four whole numbers LEFT,TOP,RIGHT,BOTTOM");
    const auto [left, top, right, bottom] = *sides;
    if (left < 0 || top < 0) refuse(option, "inside the picture");
    if (left >= right || top >= bottom)
        refuse(option, "a rectangle with pixels in it (right and bottom are exclusive)");
    options.selection = PixelRect{left, top, right, bottom};
}

void takeDepth(const Given& option, Options& options) {
    if (!option.text) return;
    if (*option.text != "8" && *option.text != "16") refuse(option, "8 or 16");
    options.depth = *option.text == "8" ? 8 : 16;
}

void takeHostTile(const Given& option, Options& options) {
    if (!option.text) return;
    const auto size = parseNumbers<2>(*option.text, 'x');
    const auto fits = [](int side) { return side >= 1 && side <= 32767; };
    if (!size || !fits((*size)[0]) || !fits((*size)[1])) refuse(option, "WIDTHxHEIGHT of 1 to 32767 each");
    options.tileWidth = static_cast<std::int16_t>((*size)[0]);
    options.tileHeight = static_cast<std::int16_t>((*size)[1]);
}

void declareOptions(CLI::App& app, Texts& texts, Options& options) {
    const auto value = [&app](Given& option, const char* meaning) {
        app.add_option(option.name, option.text, meaning)->type_name("VALUE")->group("Values");
    };
    app.add_option("INPUT", texts.inputs, "picture files: " + readableFormats())->type_name("");
    app.add_option("-o,--output", texts.output, "a file for one input, or a folder")->type_name("PATH");
    app.add_option("--suffix", options.suffix,
                   "added to the name of an output beside its input (default _veil)")
        ->type_name("TEXT");
    CLI::Option* overwrite = app.add_flag("--overwrite", options.overwrite, "replace outputs that exist");
    app.add_flag("--skip-existing", options.skipExisting, "leave out inputs whose output exists")
        ->excludes(overwrite);
    app.add_option("--preset", texts.preset,
                   "a built-in look or a preset of yours by its exact name (default \"Dusky Veil\")")
        ->type_name("NAME");
    app.add_option("--preset-file", texts.presetFile, "read your presets from this file instead of their own")
        ->type_name("PATH");
    app.add_flag("--list-presets", texts.listPresets, "print the names of the looks and of your presets");
    app.add_flag("--dialog", options.dialog,
                 "ask for the values of each picture in the plug-in's own dialog");
    value(texts.values.strength, "gain of the glow; 70% is 0.7, here and below");
    value(texts.values.threshold, "brightness above which light glows");
    value(texts.values.radius, "reach of the glow in pixels");
    value(texts.values.saturation, "colour of the glow; 1 keeps that of the light");
    value(texts.values.shadow, "how far dark areas stay clear of the glow");
    value(texts.values.fog, "share of the thin haze; shows with --advanced, Anamorphic Flare or a threshold");
    value(texts.values.lightBoost, "halo round blown-out lights; acts with --advanced or Anamorphic Flare");
    app.add_flag("--advanced", texts.advanced,
                 "advanced mode: wide glow and light boost act with every look");
    CLI::Option* glowOnly = app.add_flag("--glow-only", texts.glowOnly,
                                         "write the glow alone, as a preset of yours may do by itself");
    app.add_flag("--composite", texts.composite, "write the glow over the picture, whatever the preset says")
        ->excludes(glowOnly);
    app.add_option("--selection", texts.selection.text,
                   "filter this rectangle only; right and bottom exclusive")
        ->type_name("L,T,R,B");
    app.add_option("--depth", texts.depth.text, "bits a channel, 8 or 16 (default: the input's own)")
        ->type_name("BITS");
    app.add_option("--host-tile", texts.hostTile.text, "the largest tile the host serves (default 1024x1024)")
        ->type_name("WxH");
    app.add_option("--plugin", texts.plugin, "the filter library (default: the one beside this program)")
        ->type_name("PATH");
    app.add_flag("--fail-fast", options.failFast, "stop at the first file that fails");
    CLI::Option* quiet = app.add_flag("--quiet", options.quiet, "errors only");
    app.add_flag("-v,--verbose", options.verbose, "say more about each file")->excludes(quiet);
    app.add_flag("--timing", options.timing, "print the times of decoding, filtering and encoding");
    app.add_flag("--json", options.json, "print a JSON document about the run to standard output");
    app.add_flag("--version", texts.version, "print the version");
}

/// What is wrong with the command line, in one line.
std::string problemOf(const CLI::App& app, const CLI::ParseError& error) {
    for (const CLI::Option* option : app.get_options()) {
        const std::size_t count = option->count();
        if (option->get_multi_option_policy() == CLI::MultiOptionPolicy::Throw &&
            count > static_cast<std::size_t>(option->get_items_expected_max())) {
            return option->get_name() + ": may be given only once, not " + std::to_string(count) + " times";
        }
    }
    std::string line = error.what();
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

}  // namespace

std::optional<float> parseValue(std::string_view text) {
    const bool percent = !text.empty() && text.back() == '%';
    if (percent) text.remove_suffix(1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    double number = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    const float value = static_cast<float>(percent ? number / 100.0 : number);
    if (!std::isfinite(value)) return {};
    return value;
}

CommandLine parseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    Texts texts;
    CLI::App app("Gives photographs the look of a diffusion filter. " + supportNote(), "veil");
    declareOptions(app, texts, line.options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        line.answer = app.help();
        return line;
    } catch (const CLI::ParseError& error) {
        throw CommandError(problemOf(app, error) + " (veil --help lists the options)", ExitStatus::usage);
    }
    if (texts.version) {
        line.answer = "veil " VEIL_VERSION "\n" + supportNote() + "\n";
        return line;
    }
    checkPresetFile(texts.presetFile);
    if (texts.listPresets) {
        line.answer = presetList(texts.presetFile);
        return line;
    }
    line.options.params = makeParams(texts);
    takeSelection(texts.selection, line.options);
    takeDepth(texts.depth, line.options);
    takeHostTile(texts.hostTile, line.options);
    if (texts.inputs.empty()) {
        throw CommandError("INPUT: no picture file is given (veil --help lists the options)",
                           ExitStatus::usage);
    }
    line.options.inputs.assign(texts.inputs.begin(), texts.inputs.end());
    if (texts.output) line.options.output = *texts.output;
    if (texts.plugin) line.options.plugin = *texts.plugin;
    return line;
}

}  // namespace standin
