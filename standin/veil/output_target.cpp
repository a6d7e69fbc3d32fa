#include "standin/veil/output_target.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "standin/veil/errors.h"
#include "standin/veil/system.h"

namespace fs = std::filesystem;

namespace standin {
namespace {

constexpr const char* kDefaultSuffix = "_veil";

bool isTaken(const fs::path& path) {
    std::error_code error;  // of a folder that can't be looked into: making the file will tell
    return fs::exists(fs::symlink_status(path, error));
}

/// The same for all ways to write a path that lead to one file, which may not be there yet.
fs::path placeOf(const fs::path& output) {
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(output, error);
    return error ? fs::absolute(output, error).lexically_normal() : whole;
}

}  // namespace

bool prepareOutputFolder(const Options& options) {
    if (!options.output) return false;
    const fs::path& output = *options.output;
    std::error_code error;
    const bool wanted =
        options.inputs.size() > 1 || !output.has_filename() || fs::is_directory(output, error);
    if (!wanted) return false;
    if (isTaken(output) && !fs::is_directory(output, error)) {
        throw CommandError("-o: '" + output.string() + "' is not a folder", ExitStatus::usage);
    }
    fs::create_directories(output, error);
    if (error)
        throw CommandError("-o: the folder '" + output.string() + "' can't be made: " + error.message(),
                           ExitStatus::usage);
    return true;
}

fs::path outputPath(const Options& options, const fs::path& input, bool folder) {
    if (options.output && !folder) return *options.output;
    const std::string suffix = options.suffix.value_or(folder ? "" : kDefaultSuffix);
    fs::path name = input.stem();
    name += suffix;
    name += input.extension();
    return (folder ? *options.output : input.parent_path()) / name;
}

FileFormat outputFormat(const Options& options, const fs::path& output, bool folder, FileFormat own) {
    if (const std::optional<FileFormat> named = formatOfName(output)) return *named;
    if (options.output && !folder && output.has_extension()) {
        throw CommandError("-o: '" + output.extension().string() +
                           "' is no ending of a format that veil writes");
    }
    return own;
}

TargetState claimOutput(const Options& options, const fs::path& input, const fs::path& output,
                        TakenOutputs& taken) {
    const auto [earlier, isNew] = taken.emplace(placeOf(output), input);
    if (!isNew) {
        throw CommandError("its output '" + output.string() + "' is already that of '" +
                           earlier->second.string() + "'");
    }
    if (!isTaken(output)) return TargetState::free;
    if (options.skipExisting) return TargetState::skipped;
    std::error_code error;
    if (fs::is_directory(output, error))
        throw CommandError("its output '" + output.string() + "' is a folder");
    if (fs::exists(output, error) && !fs::is_regular_file(output, error))
        throw CommandError("its output '" + output.string() + "' is no regular file");
    if (options.overwrite) return TargetState::replaceable;
    const bool same = fs::equivalent(input, output, error) && !error;
    throw CommandError("its output '" + output.string() + (same ? "' is the input itself" : "' exists") +
                       " (--overwrite replaces it)");
}

PendingFile::PendingFile(const fs::path& target) : target_(target) {
    std::error_code error;
    if (const fs::path behind = fs::weakly_canonical(target, error); !error) target_ = behind;
    static int count = 0;
    temporary_ = target_;
    temporary_.replace_filename(".veil-" + std::to_string(processNumber()) + "-" + std::to_string(++count) +
                                ".tmp");
    if (std::ofstream(temporary_, std::ios::binary)) return;
    const std::string reason = std::strerror(errno);
    throw CommandError("its output '" + target.string() + "' can't be made: " + reason);
}

PendingFile::~PendingFile() {
    std::error_code error;
    if (!temporary_.empty()) fs::remove(temporary_, error);
}

void PendingFile::commit(TargetState state) {
    try {
        flushToDisk(temporary_);
        std::error_code ignored;  // a file system without permissions
        if (state == TargetState::replaceable && fs::exists(target_)) {
            fs::permissions(temporary_, fs::status(target_).permissions(), ignored);
        }
        moveIntoPlace(temporary_, target_,
                      state == TargetState::replaceable ? IfThere::replace : IfThere::fail);
    } catch (const fs::filesystem_error& error) {
        throw CommandError("its output '" + target_.string() +
                           "' can't be put into place: " + error.code().message());
    }
    temporary_.clear();
}

}  // namespace standin
