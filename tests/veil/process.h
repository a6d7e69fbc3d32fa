#pragma once

// Runs the built command in a folder of its own that vanishes with the test.

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

struct TempFolder {
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    std::filesystem::path operator/(const std::string& name) const { return path / name; }
    /// The names in the folder, sorted; a temporary file that is left over is among them.
    std::vector<std::string> names() const;
    std::filesystem::path path;
};

struct Ran {
    int status = -1;  // 128 + n if signal n ended it
    std::string out, err;
};

constexpr long kNoLimit = -1;

/// veil with `arguments` in the working folder `folder`; `fileLimit` is the largest file it may write, in
/// bytes.
Ran runVeil(const TempFolder& folder, const std::vector<std::string>& arguments, long fileLimit = kNoLimit);

/// The same in two steps, to do something in between.
pid_t startVeil(const TempFolder& folder, const std::vector<std::string>& arguments,
                long fileLimit = kNoLimit);
Ran finishVeil(pid_t process);

std::string readBytes(const std::filesystem::path& file);
void writeBytes(const std::filesystem::path& file, const std::string& bytes);
int lineCount(const std::string& text);
