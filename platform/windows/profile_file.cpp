#include "platform/profile_file.h"

#include <windows.h>

#include <algorithm>

namespace veil {

const char kPathSeparator = '\\';

std::vector<std::string> profileSections(const std::string& path, int bufferBytes) {
    // A list that was cut is told by two bytes less than the buffer has, and so are some that were not. Hence
    // the whole list is asked for.
    std::string list;
    DWORD length = 0, size = static_cast<DWORD>(std::max(bufferBytes, 2));
    do {
        list.assign(size, '\0');
        length = GetPrivateProfileSectionNamesA(list.data(), size, path.c_str());
        size *= 2;
    } while (length + 2 >= list.size());

    std::vector<std::string> names;
    int used = 1;
    for (const char* name = list.c_str(); *name; name += names.back().size() + 1) {
        names.emplace_back(name);
        used += static_cast<int>(names.back().size()) + 1;
        if (used > bufferBytes) {
            names.pop_back();
            break;
        }
    }
    return names;
}

int profileInteger(const std::string& path, const std::string& section, const char* key, int fallback) {
    return static_cast<int>(GetPrivateProfileIntA(section.c_str(), key, fallback, path.c_str()));
}

std::string profileText(const std::string& path, const std::string& section, const char* key,
                        const char* fallback, int bufferBytes) {
    std::string text(static_cast<std::size_t>(bufferBytes), '\0');
    text.resize(GetPrivateProfileStringA(section.c_str(), key, fallback, text.data(),
                                         static_cast<DWORD>(bufferBytes), path.c_str()));
    return text;
}

bool writeProfileText(const std::string& path, const std::string& section, const char* key,
                      const char* text) {
    return WritePrivateProfileStringA(section.c_str(), key, text, path.c_str()) != FALSE;
}

std::optional<std::string> environmentText(const char* name, int bufferBytes) {
    std::string text(static_cast<std::size_t>(bufferBytes), '\0');
    const DWORD length = GetEnvironmentVariableA(name, text.data(), static_cast<DWORD>(bufferBytes));
    if (length == 0 || length >= text.size()) return {};
    text.resize(length);
    return text;
}

void makeFolder(const std::string& path) { CreateDirectoryA(path.c_str(), nullptr); }

}  // namespace veil
