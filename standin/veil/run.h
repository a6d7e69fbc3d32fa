#pragma once

// The run over all files of a command line.

#include <filesystem>
#include <string>
#include <vector>

#include "standin/host.h"
#include "standin/veil/errors.h"
#include "standin/veil/options.h"
#include "standin/veil/progress.h"

namespace standin {

enum class Outcome { done, skipped, failed, cancelled, interrupted };

/// How one file went.
struct FileReport {
    std::filesystem::path input, output;
    Outcome outcome = Outcome::failed;
    std::string message;       ///< why it failed
    std::string pluginResult;  ///< the published name of the plug-in's result; empty if it did not run
    int width = 0, height = 0;
    int depth = 0;  ///< at which the plug-in ran
    int tiles = 0;
    double decodeMs = 0.0, filterMs = 0.0, encodeMs = 0.0;
};

/// Filters every input and tells the user on `console`. The reports are those of the files that were begun.
/// With a dialog each starts from the values confirmed last, and one that is cancelled ends the run.
std::vector<FileReport> runFiles(const Options& options, const Plugin& plugin, bool folder, Console& console);

/// interrupted before cancelled before failed before done.
ExitStatus exitStatusOf(const std::vector<FileReport>& reports);

/// The whole run as one JSON document, in UTF-8.
std::string jsonDocument(const std::vector<FileReport>& reports, ExitStatus status);

/// The times of one file as text.
std::string timingLine(const FileReport& report);

}  // namespace standin
