#include "platform/profile_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/windows_1252.h"

// The rules of the system's own profile files, for systems that have none. A file that is written loses its
// empty lines and the blanks around its lines, names and texts; comments and lines without "=" stay.

namespace veil {

const char kPathSeparator = '/';

namespace {

namespace fs = std::filesystem;

enum class Encoding { codePage, utf8, utf16Little, utf16Big };
constexpr std::string_view kMarks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"};  // by encoding

/// A key with its text, or a line that has none: a comment, or anything else that somebody wrote.
struct Line {
    std::string key;
    std::optional<std::string> text;
};

struct Section {
    std::string name;
    std::vector<Line> lines;
};

/// The texts are in the code page, or in UTF-8 if the file is in any Unicode. The first section is what
/// stands before all headers; it has no name, and hides others without one.
struct Profile {
    Encoding encoding = Encoding::codePage;
    std::vector<Section> sections{1};
};

constexpr std::string_view kBlanks = " \t\v\f\r\n\x1a";  // the last one ends texts of old

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// What counts of a name or a text: nothing behind a zero byte.
std::string kept(std::string_view text) {
    text = trimmed(text);
    return std::string(text.substr(0, text.find('\0')));
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; }

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lowered(a[i]) != lowered(b[i])) return false;
    }
    return true;
}

// Pairs of surrogates stay two units of three bytes each, which come back as they were.
std::string utf8FromUtf16(std::string_view bytes, bool bigEndian) {
    std::string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const unsigned first = static_cast<std::uint8_t>(bytes[i]);
        const unsigned second = static_cast<std::uint8_t>(bytes[i + 1]);
        appendUtf8(text, bigEndian ? first << 8 | second : second << 8 | first);
    }
    return text;
}

std::string utf16FromUtf8(std::string_view text, bool bigEndian) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t unit = nextUtf8(text, at);
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8 & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

std::string decoded(std::string bytes, Encoding& encoding) {
    for (const Encoding unicode : {Encoding::utf8, Encoding::utf16Little, Encoding::utf16Big}) {
        if (bytes.starts_with(kMarks[static_cast<int>(unicode)])) encoding = unicode;
    }
    bytes.erase(0, kMarks[static_cast<int>(encoding)].size());
    const bool wide = encoding == Encoding::utf16Little || encoding == Encoding::utf16Big;
    return wide ? utf8FromUtf16(bytes, encoding == Encoding::utf16Big) : bytes;
}

std::string encoded(const std::string& text, Encoding encoding) {
    const std::string mark(kMarks[static_cast<int>(encoding)]);
    const bool wide = encoding == Encoding::utf16Little || encoding == Encoding::utf16Big;
    return mark + (wide ? utf16FromUtf8(text, encoding == Encoding::utf16Big) : text);
}

std::string fromCaller(const Profile& profile, std::string_view text) {
    return profile.encoding == Encoding::codePage ? std::string(text) : utf8FromWindows1252(text);
}

std::string toCaller(const Profile& profile, std::string_view text) {
    return profile.encoding == Encoding::codePage ? std::string(text) : windows1252FromUtf8(text);
}

void addLine(Profile& profile, std::string_view line) {
    std::vector<Line>& lines = profile.sections.back().lines;
    const std::size_t bracket = line.front() == '[' ? line.rfind(']') : line.npos;
    if (bracket != line.npos) {
        profile.sections.push_back({kept(line.substr(1, bracket - 1)), {}});
        return;
    }
    const std::size_t equals = line.find('=');
    if (equals == line.npos) {
        lines.push_back({kept(line), {}});
        return;
    }
    const std::string_view key = trimmed(line.substr(0, equals));
    if (key.empty() && !lines.empty() && lines.back().key.empty()) return;  // the second one is dropped
    lines.push_back({kept(key), kept(line.substr(equals + 1))});
}

Profile parsed(std::string bytes) {
    Profile profile;
    const std::string text = decoded(std::move(bytes), profile.encoding);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
        const std::string_view line = trimmed(std::string_view(text).substr(at, end - at));
        if (!line.empty()) addLine(profile, line);
        at = end + 1;
    }
    return profile;
}

std::string printed(const Profile& profile) {
    std::string text;
    for (const Section& section : profile.sections) {
        // A header without a name is kept too, else its keys would join the section above.
        if (&section != &profile.sections.front()) text += "[" + section.name + "]\r\n";
        for (const Line& line : section.lines)
            text += line.key + (line.text ? "=" + *line.text : "") + "\r\n";
    }
    return encoded(text, profile.encoding);
}

/// Nothing if the file is there and can't be read; no bytes if it is missing.
std::optional<std::string> readFile(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) return "";
    if (!fs::is_regular_file(status)) return {};
    std::ifstream in(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(in), {}};
    if (!in.is_open() || in.bad()) return {};
    return bytes;
}

/// Device, number, size and times of a file; two contents of a file never have the same.
using Stamp = std::array<std::int64_t, 5>;

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Nothing if the file is missing, or was changed so lately that the next change might leave the same times.
std::optional<Stamp> stampOf(const std::string& path) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return {};
    // The time of the last change of any kind tells an edit even if the other one was set back.
    const std::int64_t written = nanoseconds(status.st_mtim), changed = nanoseconds(status.st_ctim);
    // File systems count times in steps: of one or two seconds, or well below a tenth of one.
    const std::int64_t step = status.st_ctim.tv_nsec == 0 ? 2'000'000'000 : 100'000'000;
    if (nanoseconds(now) - std::max(written, changed) <= step) return {};
    return Stamp{static_cast<std::int64_t>(status.st_dev), static_cast<std::int64_t>(status.st_ino),
                 static_cast<std::int64_t>(status.st_size), written, changed};
}

/// What was parsed last. Presets are read key by key, and a file may have thousands.
struct LastRead {
    std::string path;
    std::optional<Stamp> stamp;
    Profile profile;
} gLastRead;

/// Good until the next call or write.
Profile& load(const std::string& path) {
    const std::optional<Stamp> stamp = stampOf(path);  // before the file is read, so that it is never too new
    if (stamp && stamp == gLastRead.stamp && path == gLastRead.path) return gLastRead.profile;
    std::optional<std::string> bytes = readFile(path);
    gLastRead = {path, bytes ? stamp : std::nullopt, parsed(std::move(bytes).value_or(""))};
    return gLastRead.profile;
}

Section* findSection(Profile& profile, std::string_view name) {
    const std::string wanted = fromCaller(profile, trimmed(name));
    for (Section& section : profile.sections) {
        if (sameName(section.name, wanted)) return &section;
    }
    return nullptr;
}

Line* findLine(Section& section, std::string_view key) {
    for (Line& line : section.lines) {
        if (sameName(line.key, key)) return &line;
    }
    return nullptr;
}

/// The text of a key; nothing if it is missing or its line has none.
std::optional<std::string> lookUp(const std::string& path, const std::string& section, const char* key) {
    Profile& profile = load(path);
    Section* const found = findSection(profile, section);
    if (!found) return {};
    const Line* const line = findLine(*found, fromCaller(profile, trimmed(key)));
    if (!line || !line->text) return {};
    return toCaller(profile, *line->text);
}

std::string_view withoutQuotes(std::string_view text) {
    if (text.size() < 2 || text.front() != text.back()) return text;
    if (text.front() != '"' && text.front() != '\'') return text;
    return text.substr(1, text.size() - 2);
}

/// A file under a name of its own that vanishes unless it is given its real one.
struct NewFile {
    explicit NewFile(const fs::path& target) : name(target.string() + "." + std::to_string(getpid()) + "~") {
        unlink(name.c_str());  // of a process that died
        descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    }
    ~NewFile() {
        if (descriptor < 0) return;
        close(descriptor);
        unlink(name.c_str());  // fails once it is renamed
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    std::string name;
    int descriptor = -1;
};

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return fsync(descriptor) == 0;
}

/// Replaces a file by a whole new one, or leaves it alone. A link stays one.
bool replaceFile(const fs::path& path, const std::string& bytes) {
    std::error_code error;
    fs::path target = fs::canonical(path, error);
    if (error) target = path;
    const bool isNew = access(target.c_str(), F_OK) != 0;
    // A file that may not be written to is not to be replaced either, though the folder would allow it.
    if (!isNew && access(target.c_str(), W_OK) != 0) return false;
    const NewFile file(target);
    if (file.descriptor < 0 || !writeAll(file.descriptor, bytes)) return false;
    if (!isNew) fs::permissions(file.name, fs::status(target, error).permissions(), error);
    return rename(file.name.c_str(), target.c_str()) == 0;
}

}  // namespace

std::vector<std::string> profileSections(const std::string& path, int bufferBytes) {
    const Profile& profile = load(path);
    std::vector<std::string> names;
    int used = 1;
    for (const Section& section : profile.sections) {
        if (section.name.empty()) continue;
        std::string name = toCaller(profile, section.name);
        used += static_cast<int>(name.size()) + 1;
        if (used > bufferBytes) break;
        names.push_back(std::move(name));
    }
    return names;
}

int profileInteger(const std::string& path, const std::string& section, const char* key, int fallback) {
    constexpr std::size_t kReadBytes = 30;  // with the terminator; the system looks at no more
    const std::string text = profileText(path, section, key, "", kReadBytes);
    if (text.empty()) return fallback;
    std::size_t at = 0;
    while (at < text.size() && static_cast<std::uint8_t>(text[at]) <= ' ') ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (negative || (at < text.size() && text[at] == '+')) ++at;
    std::uint32_t base = 10;
    const std::string prefix = text.substr(at, 2);
    if (prefix == "0x") base = 16;
    if (prefix == "0o") base = 8;
    if (prefix == "0b") base = 2;
    if (base != 10) at += 2;
    std::uint32_t number = 0;  // more digits than it holds wrap round
    for (; at < text.size(); ++at) {
        const char c = lowered(text[at]);
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 16;
        if (static_cast<std::uint32_t>(digit) >= base) break;
        number = number * base + static_cast<std::uint32_t>(digit);
    }
    return static_cast<int>(negative ? 0 - number : number);
}

std::string profileText(const std::string& path, const std::string& section, const char* key,
                        const char* fallback, int bufferBytes) {
    std::string text = fallback;
    if (std::optional<std::string> found = lookUp(path, section, key)) {
        text = std::move(*found);
    } else {
        text.erase(text.find_last_not_of(' ') + 1);
    }
    const auto room = static_cast<std::size_t>(bufferBytes > 0 ? bufferBytes - 1 : 0);
    return std::string(withoutQuotes(text).substr(0, room));
}

bool writeProfileText(const std::string& path, const std::string& section, const char* key,
                      const char* text) {
    gLastRead = {};
    const std::optional<std::string> before = readFile(path);
    if (!before) return false;
    Profile profile = parsed(*before);
    Section* found = findSection(profile, section);
    if (!found) {
        const std::string name = fromCaller(profile, withoutLeadingBlanks(section));
        found = &profile.sections.emplace_back(Section{name, {}});
    }
    const std::string stored = fromCaller(profile, withoutLeadingBlanks(text));
    if (Line* const line = findLine(*found, fromCaller(profile, trimmed(key)))) {
        if (line->text == stored) return true;
        line->text = stored;
    } else {
        found->lines.push_back({fromCaller(profile, withoutLeadingBlanks(key)), stored});
    }
    return replaceFile(path, printed(profile));
}

std::optional<std::string> environmentText(const char* name, int bufferBytes) {
    const char* const value = std::getenv(name);
    if (!value || !*value) return {};
    std::string text = value;
    if (text.size() >= static_cast<std::size_t>(bufferBytes)) return {};
    return text;
}

void makeFolder(const std::string& path) {
    std::error_code ignored;
    fs::create_directory(path, ignored);
}

}  // namespace veil
