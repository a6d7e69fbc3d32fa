#include <io.h>
#include <windows.h>

#include <atomic>
#include <cstdio>

#include "standin/veil/system.h"

namespace fs = std::filesystem;

namespace standin {
namespace {

std::atomic<bool> gInterrupted{false};

BOOL WINAPI noteInterrupt(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
    gInterrupted = true;
    return TRUE;
}

[[noreturn]] void throwLastError(const fs::path& file) {
    const int reason = static_cast<int>(GetLastError());
    throw fs::filesystem_error("", file, std::error_code(reason, std::system_category()));
}

}  // namespace

fs::path programFolder() {
    wchar_t name[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, name, MAX_PATH);
    return length == 0 || length == MAX_PATH ? fs::path(".") : fs::path(name).parent_path();
}

const char* pluginFileName() { return "DuskyVeil.8bf"; }

std::string shownText(const std::string& text) { return text; }

bool errorIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

bool outputIsTerminal() { return _isatty(_fileno(stdout)) != 0; }

long processNumber() { return static_cast<long>(GetCurrentProcessId()); }

void watchForInterrupt() { SetConsoleCtrlHandler(noteInterrupt, TRUE); }

bool interrupted() { return gInterrupted; }

void flushToDisk(const fs::path& file) {
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) throwLastError(file);
    const BOOL flushed = FlushFileBuffers(handle);
    CloseHandle(handle);
    if (!flushed) throwLastError(file);
}

void moveIntoPlace(const fs::path& from, const fs::path& to, IfThere ifThere) {
    const DWORD flags = ifThere == IfThere::replace ? MOVEFILE_REPLACE_EXISTING : 0;
    if (!MoveFileExW(from.c_str(), to.c_str(), flags)) throwLastError(to);
}

}  // namespace standin
