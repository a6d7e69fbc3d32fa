#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "platform/windows_1252.h"
#include "standin/veil/system.h"

namespace fs = std::filesystem;

namespace standin {
namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void noteInterrupt(int) { gInterrupted = 1; }

[[noreturn]] void throwErrno(const fs::path& file) {
    throw fs::filesystem_error("", file, std::error_code(errno, std::generic_category()));
}

}  // namespace

fs::path programFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path(".") : program.parent_path();
}

const char* pluginFileName() { return "DuskyVeil.so"; }

std::string shownText(const std::string& text) { return veil::utf8FromWindows1252(text); }

bool errorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

bool outputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

long processNumber() { return static_cast<long>(getpid()); }

void watchForInterrupt() {
    struct sigaction action = {};
    action.sa_handler = noteInterrupt;
    action.sa_flags = SA_RESTART;  // reads and writes go on; the flag is looked at between tiles
    sigemptyset(&action.sa_mask);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        sigaction(number, nullptr, &before);
        // What the caller has told to be ignored, as a shell does for the background, stays ignored.
        if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
    }
    // A full quota and a reader that has gone are errors of a write, which cleans up, not ends of the
    // process.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

bool interrupted() { return gInterrupted != 0; }

void flushToDisk(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throwErrno(file);
    const int result = fsync(descriptor);
    const int reason = errno;
    close(descriptor);
    if (result == 0 || reason == EINVAL) return;  // EINVAL: a file system without the notion
    errno = reason;
    throwErrno(file);
}

void moveIntoPlace(const fs::path& from, const fs::path& to, IfThere ifThere) {
    if (ifThere == IfThere::replace) {
        fs::rename(from, to);
        return;
    }
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno != EINVAL && errno != ENOSYS) throwErrno(to);
    // The file system can't do both in one step, so a small gap between test and rename remains.
    if (fs::exists(fs::symlink_status(to))) {
        errno = EEXIST;
        throwErrno(to);
    }
    fs::rename(from, to);
}

}  // namespace standin
