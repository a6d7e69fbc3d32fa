#include "standin/veil/run.h"

#include <chrono>
#include <cstdio>
#include <new>
#include <utility>

#include "standin/veil/output_target.h"
#include "standin/veil/picture_file.h"
#include "standin/veil/system.h"

namespace standin {
namespace {

/// Adds the time from its making to its end to a sum.
struct Stopwatch {
    explicit Stopwatch(double& ms) : sum(ms) {}
    ~Stopwatch() {
        sum += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;
    double& sum;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

PixelRect filteredArea(const Options& options, const Image& image) {
    if (!options.selection) return {0, 0, image.width, image.height};
    const PixelRect& area = *options.selection;
    if (area.right > image.width || area.bottom > image.height) {
        throw CommandError("--selection reaches beyond the picture, which is " + std::to_string(image.width) +
                           "x" + std::to_string(image.height));
    }
    return area;
}

HostOptions hostOptions(const Options& options, Console& console) {
    HostOptions host;
    host.tileWidth = options.tileWidth;
    host.tileHeight = options.tileHeight;
    host.movingBuffers = false;  // means of a test; here they would only cost time
    host.poisonsBuffers = false;
    if (options.selection) {
        host.filterRect = *options.selection;
        host.haveMask = true;
    }
    host.onProgress = [&console](int done, int total) { showTile(console, done, total); };
    host.onAbort = [] { return interrupted(); };
    return host;
}

/// What lasts from one file of a run to the next.
struct RunState {
    TakenOutputs taken;
    veil::VeilParams params;  ///< confirmed last
};

[[noreturn]] void throwFailure(const Options& options, std::int16_t result) {
    const bool cancelled = result == photoshop::userCanceledErr;
    if (cancelled && interrupted()) throw CommandError("interrupted", ExitStatus::interrupted);
    if (cancelled && options.dialog) throw CommandError("cancelled", ExitStatus::cancelled);
    throw CommandError("the plug-in failed with " + resultName(result));
}

/// The filter from the menu, with a dialog that starts from `params`: the plug-in lays down its defaults and
/// asks for the dialog, and what it laid down is then replaced.
RunReport askAndFilter(HostSession& session, const veil::VeilParams& params) {
    const std::int16_t result = session.call(photoshop::filterSelectorParameters);
    session.storeParameters(params);
    if (result == photoshop::noErr) return session.repeat();
    RunReport report;
    report.result = result;
    return report;
}

/// The filter as a repeat of the last one runs it, with stored values; or with the dialog. Only the filtered
/// area is brought to the host's scale, so that 16-bit samples outside of it keep their last bit.
void filterPicture(Picture& picture, const Options& options, const Plugin& plugin, Console& console,
                   RunState& state, FileReport& report) {
    const Stopwatch watch(report.filterMs);
    const PixelRect area = filteredArea(options, picture.image);
    const bool rescaled = picture.white == kWhiteFile;
    if (rescaled) rescaleColour(picture.image, area, kWhiteFile, kWhiteHost);
    HostSession session(plugin, std::move(picture.image), hostOptions(options, console));
    session.storeParameters(state.params);
    const RunReport run = options.dialog ? askAndFilter(session, state.params) : session.repeat();
    report.tiles = run.tiles;
    report.pluginResult = resultName(run.result);
    if (run.result != photoshop::noErr) throwFailure(options, run.result);
    state.params = session.storedParameters().value_or(state.params);
    picture.image = session.takeImage();
    if (rescaled) rescaleColour(picture.image, area, kWhiteHost, kWhiteFile);
}

void describe(Console& console, const Picture& picture, const FileReport& report) {
    std::string text = "  " + report.input.string() + ": " + formatName(picture.format) + ", " +
                       std::to_string(report.width) + "x" + std::to_string(report.height) + ", " +
                       (picture.grey ? "grey" : "RGB") +
                       (picture.image.planes == 4 ? " with transparency" : "") + ", filtered at " +
                       std::to_string(report.depth) + " bits";
    if (!picture.iccProfile.empty()) text += ", colour profile";
    if (picture.metadata) text += ", metadata";
    sayDetail(console, text);
}

void sayNotes(Console& console, const FileReport& report, const std::vector<std::string>& notes) {
    for (const std::string& note : notes) sayNote(console, report.input.string() + ": note: " + note);
}

Picture loadPicture(const Options& options, FileReport& report) {
    const Stopwatch watch(report.decodeMs);
    Picture picture = readPicture(report.input, interrupted);
    if (options.depth && *options.depth != picture.image.depth) {
        convertWhite(picture, *options.depth == 8 ? kWhite8 : kWhiteFile);
    }
    report.width = picture.image.width;
    report.height = picture.image.height;
    report.depth = picture.image.depth;
    return picture;
}

/// One file from its name to its result in place. Throws what goes wrong.
void runFile(const Options& options, const Plugin& plugin, bool folder, Console& console, RunState& run,
             FileReport& report) {
    report.output = outputPath(options, report.input, folder);
    const TargetState state = claimOutput(options, report.input, report.output, run.taken);
    if (state == TargetState::skipped) {
        report.outcome = Outcome::skipped;
        sayNote(console, report.input.string() + ": skipped, '" + report.output.string() + "' exists");
        return;
    }
    Picture picture = loadPicture(options, report);
    sayNotes(console, report, picture.notes);
    const FileFormat format = outputFormat(options, report.output, folder, picture.format);
    checkWritable(picture, format);
    PendingFile file(report.output);
    describe(console, picture, report);
    filterPicture(picture, options, plugin, console, run, report);
    const Stopwatch watch(report.encodeMs);
    sayNotes(console, report, writePicture(std::move(picture), file.temporary(), format, interrupted));
    if (interrupted()) throw CommandError("interrupted", ExitStatus::interrupted);
    file.commit(state);
    report.outcome = Outcome::done;
}

void tryFile(const Options& options, const Plugin& plugin, bool folder, Console& console, RunState& run,
             FileReport& report) {
    try {
        runFile(options, plugin, folder, console, run, report);
    } catch (const CommandError& error) {
        report.outcome = error.status == ExitStatus::interrupted ? Outcome::interrupted
                         : error.status == ExitStatus::cancelled ? Outcome::cancelled
                                                                 : Outcome::failed;
        report.message = error.what();
    } catch (const std::bad_alloc&) {
        report.message = "there is not enough memory for it";
    } catch (const std::exception& error) {
        report.message = error.what();
    }
}

void tell(const Options& options, Console& console, const FileReport& report) {
    endLine(console);
    const std::string input = report.input.string();
    switch (report.outcome) {
        case Outcome::failed:
            sayError(console, input + ": " + report.message);
            return;
        case Outcome::interrupted:
            sayError(console, input + ": interrupted, nothing was written");
            return;
        case Outcome::cancelled:
            sayNote(console, input + ": cancelled, nothing was written");
            return;
        case Outcome::skipped:
            return;
        case Outcome::done:
            break;
    }
    sayNote(console, countText(console) + input + " -> " + report.output.string());
    if (options.timing && !options.json) std::printf("%s\n", timingLine(report).c_str());
}

// The length of the UTF-8 character at `text[at]`, or 0 if there is none; file names can hold any bytes.
std::size_t characterLength(const std::string& text, std::size_t at) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xc2 && lead <= 0xdf ? 2
                               : lead >= 0xe0 && lead <= 0xef ? 3
                               : lead >= 0xf0 && lead <= 0xf4 ? 4
                                                              : 0;
    if (length == 0 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[at + i]) & 0xc0) != 0x80) return 0;
    }
    return length;
}

std::string jsonString(const std::string& text) {
    std::string quoted = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        const unsigned char c = static_cast<unsigned char>(text[at]);
        if (length == 0) {
            quoted += "\\ufffd";
        } else if (c < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            quoted += escape;
        } else {
            if (c == '"' || c == '\\') quoted += '\\';
            quoted += text.substr(at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return quoted + "\"";
}

std::string decimal(double ms) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", ms);
    return text;
}

const char* outcomeName(Outcome outcome) {
    switch (outcome) {
        case Outcome::done:
            return "done";
        case Outcome::skipped:
            return "skipped";
        case Outcome::failed:
            return "failed";
        case Outcome::cancelled:
            return "cancelled";
        case Outcome::interrupted:
            return "interrupted";
    }
    return "";
}

std::string jsonFile(const FileReport& report) {
    const auto orNull = [](const std::string& text) { return text.empty() ? "null" : jsonString(text); };
    return "{\"input\": " + jsonString(report.input.string()) +
           ", \"output\": " + orNull(report.output.string()) + ", \"outcome\": \"" +
           outcomeName(report.outcome) + "\", \"result\": " + orNull(report.pluginResult) +
           ", \"message\": " + orNull(report.message) + ", \"width\": " + std::to_string(report.width) +
           ", \"height\": " + std::to_string(report.height) + ", \"depth\": " + std::to_string(report.depth) +
           ", \"tiles\": " + std::to_string(report.tiles) +
           ", \"milliseconds\": {\"decode\": " + decimal(report.decodeMs) +
           ", \"filter\": " + decimal(report.filterMs) + ", \"encode\": " + decimal(report.encodeMs) + "}}";
}

}  // namespace

std::vector<FileReport> runFiles(const Options& options, const Plugin& plugin, bool folder,
                                 Console& console) {
    std::vector<FileReport> reports;
    RunState run{{}, options.params};
    for (const std::filesystem::path& input : options.inputs) {
        if (interrupted()) break;
        beginFile(console, input.filename().string());
        FileReport report;
        report.input = input;
        tryFile(options, plugin, folder, console, run, report);
        tell(options, console, report);
        reports.push_back(std::move(report));
        const Outcome outcome = reports.back().outcome;
        if (outcome == Outcome::interrupted || outcome == Outcome::cancelled) break;
        if (outcome == Outcome::failed && options.failFast) break;
    }
    return reports;
}

ExitStatus exitStatusOf(const std::vector<FileReport>& reports) {
    ExitStatus status = ExitStatus::done;
    for (const FileReport& report : reports) {
        if (report.outcome == Outcome::interrupted) return ExitStatus::interrupted;
        if (report.outcome == Outcome::cancelled) return ExitStatus::cancelled;  // always the last one
        if (report.outcome == Outcome::failed) status = ExitStatus::failed;
    }
    return interrupted() ? ExitStatus::interrupted : status;
}

std::string jsonDocument(const std::vector<FileReport>& reports, ExitStatus status) {
    std::string text =
        "{\"version\": \"" VEIL_VERSION "\", \"exitStatus\": " + std::to_string(static_cast<int>(status)) +
        ", \"files\": [";
    for (std::size_t i = 0; i < reports.size(); ++i)
        text += (i == 0 ? "\n  " : ",\n  ") + jsonFile(reports[i]);
    return text + "\n]}\n";
}

std::string timingLine(const FileReport& report) {
    return report.input.string() + ": decode " + decimal(report.decodeMs) + " ms, filter " +
           decimal(report.filterMs) + " ms, encode " + decimal(report.encodeMs) + " ms";
}

}  // namespace standin
