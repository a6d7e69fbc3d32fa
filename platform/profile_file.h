#pragma once

// Profile files: sections of keys and texts, as the system keeps them. Paths, names and texts are in its
// 8-bit code page; section and key names compare without regard to the case of the letters from A to Z, which
// is all that is portable: a system may do so with others too. Nothing here reports a failure but by its
// answer. [one thread]

#include <optional>
#include <string>
#include <vector>

namespace veil {

/// Between the folders of a path.
extern const char kPathSeparator;

/// The names of the sections in the order of the file, as far as they fit whole, each with a terminator, into
/// `bufferBytes` with one more terminator behind. Empty if the file can't be read.
std::vector<std::string> profileSections(const std::string& path, int bufferBytes);
/// The number at the start of the text of a key, 0 if there is none; `fallback` if the key is missing.
int profileInteger(const std::string& path, const std::string& section, const char* key, int fallback);
/// The text of a key without the blanks around it and without a pair of quotes around it, cut to
/// `bufferBytes` - 1; `fallback`, cut as well, if the key is missing.
std::string profileText(const std::string& path, const std::string& section, const char* key,
                        const char* fallback, int bufferBytes);
/// Replaces the text of a key in its place, or adds the key behind the last of its section, or the section at
/// the end of the file. False if the file can't be written; it then is as it was.
bool writeProfileText(const std::string& path, const std::string& section, const char* key, const char* text);

/// An environment variable; nothing if it is not set or if it does not fit into `bufferBytes` with its
/// terminator.
std::optional<std::string> environmentText(const char* name, int bufferBytes);
/// Makes a folder in an existing one; a failure or an existing folder goes unnoticed.
void makeFolder(const std::string& path);

}  // namespace veil
