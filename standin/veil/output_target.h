#pragma once

// Where a result goes, and how it gets there without a half-written file ever bearing its name.

#include <filesystem>
#include <map>

#include "standin/veil/options.h"
#include "standin/veil/picture_file.h"

namespace standin {

/// Whether the outputs go into a folder, which is made if it is missing. Throws CommandError with
/// ExitStatus::usage if there are several inputs for one file, ExitStatus::failed if the folder can't be
/// made.
bool prepareOutputFolder(const Options& options);

/// The output of one input: in the folder under the input's own name (with a suffix only if one is asked
/// for), or the file given, or beside the input with the suffix.
std::filesystem::path outputPath(const Options& options, const std::filesystem::path& input, bool folder);

/// The format by the output's ending, else the input's own. Throws CommandError if the user chose an unknown
/// ending.
FileFormat outputFormat(const Options& options, const std::filesystem::path& output, bool folder,
                        FileFormat own);

/// The outputs of a run so far, by their place whatever the way of writing it, each with its input.
using TakenOutputs = std::map<std::filesystem::path, std::filesystem::path>;

enum class TargetState { free, replaceable, skipped };

/// Reserves `output` for `input`. Throws CommandError if an earlier input has it, or if it exists and may not
/// be replaced; the message says whether it is the input itself.
TargetState claimOutput(const Options& options, const std::filesystem::path& input,
                        const std::filesystem::path& output, TakenOutputs& taken);

/// A file in the target's folder under a temporary name, which vanishes unless it is committed.
class PendingFile {
  public:
    /// A link is followed, so that the file behind it is replaced and not the link. Throws CommandError if
    /// the target's folder is missing or the file can't be made.
    explicit PendingFile(const std::filesystem::path& target);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const std::filesystem::path& temporary() const { return temporary_; }
    /// Brings the bytes to the disk and gives the file its name; a replaced file's permissions go on. Throws
    /// CommandError.
    void commit(TargetState state);

  private:
    std::filesystem::path target_, temporary_;
};

}  // namespace standin
