#pragma once

// The one exception of the command, and the exit statuses it leads to.

#include <stdexcept>
#include <string>

namespace standin {

enum class ExitStatus { done = 0, failed = 1, usage = 2, cancelled = 3, interrupted = 130 };

/// A failure that is told in one line; `status` is what it makes of the file or of the whole command.
struct CommandError : std::runtime_error {
    explicit CommandError(const std::string& message, ExitStatus s = ExitStatus::failed)
        : std::runtime_error(message), status(s) {}
    ExitStatus status;
};

}  // namespace standin
