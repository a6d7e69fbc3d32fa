#include <filesystem>
#include <stdexcept>
#include <string>

#include "standin/host.h"

#ifdef _WIN32
#include <windows.h>

#include <system_error>
#else
#include <dlfcn.h>
#endif

namespace standin {

namespace {

constexpr const char* kEntryName = "PluginMain";

#ifdef _WIN32

std::string lastFault() {
    const auto code = static_cast<int>(GetLastError());
    return std::system_category().message(code) + " (system error " + std::to_string(code) + ")";
}
void* openLibrary(const std::filesystem::path& path) { return LoadLibraryW(path.c_str()); }
void* findEntry(void* library) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), kEntryName));
}
void closeLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

#else

std::string lastFault() {
    const char* fault = dlerror();
    return fault ? fault : "unknown fault";
}
void* openLibrary(const std::filesystem::path& path) { return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }
void* findEntry(void* library) { return dlsym(library, kEntryName); }
void closeLibrary(void* library) { dlclose(library); }

#endif

}  // namespace

// The path is made absolute, since loaders search their own folders for a bare name.
Plugin::Plugin(const std::string& path) : library_(openLibrary(std::filesystem::absolute(path))) {
    if (!library_) throw std::runtime_error("can't load " + path + ": " + lastFault());
    main_ = reinterpret_cast<photoshop::PluginMainProc>(findEntry(library_));
    if (!main_) {
        const std::string fault = lastFault();
        closeLibrary(library_);
        throw std::runtime_error(path + " is no filter: " + fault);
    }
}

Plugin::Plugin(photoshop::PluginMainProc entry) : main_(entry) {}

Plugin::~Plugin() {
    if (library_) closeLibrary(library_);
}

}  // namespace standin
