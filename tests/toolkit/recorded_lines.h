#pragma once

// What the recording platform saw, as lines of text.

#include <string>
#include <vector>

#include "platform/recording/recorder.h"

namespace veil {

using Lines = std::vector<std::string>;

/// A recorder that is installed while this lives. Its language is that of the system.
struct InstalledRecorder {
    InstalledRecorder();
    ~InstalledRecorder();
    InstalledRecorder(const InstalledRecorder&) = delete;
    /// The window calls since the last look, one in a line.
    std::string calls();
    /// What a paint of the window draws, as by linesWithFonts; checks that no brush is left behind.
    std::string painted(Window* window);
    Recorder recorder;
};

/// By the environment: the language is settled once in a process, so a program runs once for each.
bool isJapaneseSystem();

std::string joined(const Lines& lines);

/// A draw as a line: its name, points, r and radius, w and width of the stroke, text, colours. A mixed
/// colour, which lies between bytes, is <r g b> to a hundredth of a byte.
std::string line(const RecordedDraw& draw);

/// One line for each; those of text end in the font's family, size and weight.
std::string linesWithFonts(const std::vector<RecordedDraw>& draws);

/// Checks `seen` against the listing `name`, whose folder VEIL_LISTINGS names. If they differ, what was seen
/// is left in the working folder under the same name.
void checkListing(const std::string& name, const std::string& seen);

}  // namespace veil
