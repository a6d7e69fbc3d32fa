#pragma once

// What the user sees on standard error: notes, errors and the line that counts tiles.

#include <chrono>
#include <string>

namespace standin {

/// Standard error as the command uses it. On a terminal one line is rewritten; elsewhere lines are added, and
/// the tiles are counted only now and then.
struct Console {
    bool terminal = false;
    bool quiet = false;
    bool verbose = false;
    bool lineShown = false;       ///< a line without its end stands on the terminal
    int file = 0, fileCount = 0;  ///< from 1
    std::string name;             ///< of the current file
    std::chrono::steady_clock::time_point start = {}, lastLine = {};
};

Console openConsole(bool quiet, bool verbose, int fileCount);

/// Begins the next file.
void beginFile(Console& console, const std::string& name);
/// After each tile of the current file.
void showTile(Console& console, int done, int total);
/// Leaves the counting line, if one stands.
void endLine(Console& console);

/// "veil: <text>", whatever the options say.
void sayError(Console& console, const std::string& text);
/// Unless the console is quiet.
void sayNote(Console& console, const std::string& text);
/// Only if it is verbose.
void sayDetail(Console& console, const std::string& text);

/// "[2/5] ", the current file among those of the run.
std::string countText(const Console& console);
/// "[2/5] a.png: tile 3 of 12, 1 min 05 s left". `elapsedMs` is the time of the run; the files of a run count
/// alike.
std::string progressText(const Console& console, int done, int total, double elapsedMs);

}  // namespace standin
