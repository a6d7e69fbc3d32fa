#include "standin/veil/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "standin/veil/system.h"

namespace standin {
namespace {

constexpr std::chrono::seconds kPlainInterval(5);  // between two lines about one file, off a terminal
constexpr std::chrono::milliseconds kTerminalInterval(100);

std::string timeText(double ms) {
    const long seconds = std::lround(std::ceil(ms / 1000.0));
    if (seconds < 60) return std::to_string(seconds) + " s";
    char text[48];
    std::snprintf(text, sizeof text, "%ld min %02ld s", seconds / 60, seconds % 60);
    return text;
}

// One line, whatever a file's name holds.
void say(Console& console, std::string text) {
    endLine(console);
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
}

}  // namespace

Console openConsole(bool quiet, bool verbose, int fileCount) {
    Console console;
    console.terminal = errorIsTerminal();
    console.quiet = quiet;
    console.verbose = verbose;
    console.fileCount = fileCount;
    console.start = console.lastLine = std::chrono::steady_clock::now();
    return console;
}

void beginFile(Console& console, const std::string& name) {
    ++console.file;
    console.name = name;
    console.lastLine = std::chrono::steady_clock::now();
}

void showTile(Console& console, int done, int total) {
    if (console.quiet) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - console.lastLine < (console.terminal ? kTerminalInterval : kPlainInterval)) return;
    console.lastLine = now;
    const double elapsedMs = std::chrono::duration<double, std::milli>(now - console.start).count();
    const std::string text = progressText(console, done, total, elapsedMs);
    if (!console.terminal) return say(console, text);
    std::fprintf(stderr, "\r%s\x1b[K", text.c_str());
    std::fflush(stderr);
    console.lineShown = true;
}

void endLine(Console& console) {
    if (console.lineShown) std::fputs("\r\x1b[K", stderr);
    console.lineShown = false;
}

void sayError(Console& console, const std::string& text) { say(console, "veil: " + text); }

void sayNote(Console& console, const std::string& text) {
    if (!console.quiet) say(console, text);
}

void sayDetail(Console& console, const std::string& text) {
    if (console.verbose) say(console, text);
}

std::string countText(const Console& console) {
    std::string text = "[";
    text += std::to_string(console.file);
    text += "/";
    text += std::to_string(console.fileCount);
    return text + "] ";
}

std::string progressText(const Console& console, int done, int total, double elapsedMs) {
    const double share = (console.file - 1 + static_cast<double>(done) / total) / console.fileCount;
    const double leftMs = share > 0.0 ? elapsedMs * (1.0 - share) / share : 0.0;
    return countText(console) + console.name + ": tile " + std::to_string(done) + " of " +
           std::to_string(total) + ", " + timeText(leftMs) + " left";
}

}  // namespace standin
