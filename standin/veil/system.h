#pragma once

// What the command needs of the system it runs on, and no more. One source file defines it for each system.

#include <filesystem>
#include <string>

namespace standin {

/// The folder of the running program; the current folder if the system does not tell.
std::filesystem::path programFolder();

/// The file name of the plug-in on this system.
const char* pluginFileName();

/// A text of the 8-bit code page that presets are kept in, as arguments and the terminal have it.
std::string shownText(const std::string& text);

/// Whether standard error is a terminal that a line can be rewritten on.
bool errorIsTerminal();

/// Whether standard output is a terminal, which obeys control characters.
bool outputIsTerminal();

/// A number that no other running program has.
long processNumber();

/// From now on a request to stop (Ctrl-C, or the system's request to end) sets a flag instead of ending the
/// program.
void watchForInterrupt();

/// Whether there was such a request. [any thread]
bool interrupted();

/// Brings a closed file's bytes to the disk. Throws std::filesystem::filesystem_error.
void flushToDisk(const std::filesystem::path& file);

enum class IfThere { replace, fail };

/// Renames within a folder. Throws std::filesystem::filesystem_error, with IfThere::fail also if `to` exists.
void moveIntoPlace(const std::filesystem::path& from, const std::filesystem::path& to, IfThere ifThere);

}  // namespace standin
