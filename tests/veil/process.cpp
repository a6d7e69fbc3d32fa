#include "tests/veil/process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

std::string outputName(pid_t process, const char* stream) {
    return (fs::temp_directory_path() / ("veil_test_" + std::to_string(process) + stream)).string();
}

[[noreturn]] void becomeVeil(const fs::path& folder, const std::vector<std::string>& arguments,
                             long fileLimit) {
    const int flags = O_CREAT | O_TRUNC | O_WRONLY, mode = 0600;
    dup2(open(outputName(getpid(), ".out").c_str(), flags, mode), STDOUT_FILENO);
    dup2(open(outputName(getpid(), ".err").c_str(), flags, mode), STDERR_FILENO);
    std::vector<char*> argv{const_cast<char*>("veil")};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    if (fileLimit != kNoLimit) {
        const rlimit limit{static_cast<rlim_t>(fileLimit), static_cast<rlim_t>(fileLimit)};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (chdir(folder.c_str()) == 0) execv(VEIL_BIN_DIR "/veil", argv.data());
    _exit(127);
}

}  // namespace

TempFolder::TempFolder() {
    std::string name = (fs::temp_directory_path() / "veil_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path = name;
}

TempFolder::~TempFolder() {
    std::error_code error;
    fs::remove_all(path, error);
}

std::vector<std::string> TempFolder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

pid_t startVeil(const TempFolder& folder, const std::vector<std::string>& arguments, long fileLimit) {
    const pid_t process = fork();
    if (process == 0) becomeVeil(folder.path, arguments, fileLimit);
    return process;
}

Ran finishVeil(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    Ran ran;
    ran.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    ran.out = readBytes(outputName(process, ".out"));
    ran.err = readBytes(outputName(process, ".err"));
    fs::remove(outputName(process, ".out"));
    fs::remove(outputName(process, ".err"));
    return ran;
}

Ran runVeil(const TempFolder& folder, const std::vector<std::string>& arguments, long fileLimit) {
    return finishVeil(startVeil(folder, arguments, fileLimit));
}

std::string readBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeBytes(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

int lineCount(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}
