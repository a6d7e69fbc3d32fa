#include <doctest/doctest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <thread>

#include "platform/profile_file.h"
#include "platform/windows_1252.h"
#include "presets/number_text.h"
#include "presets/user_presets.h"

using namespace veil;
namespace fs = std::filesystem;

namespace {

/// A folder that is the user's for as long as it lives.
struct UserFolder {
    UserFolder() {
        std::string name = (fs::temp_directory_path() / "veil_presets_XXXXXX").string();
        REQUIRE(mkdtemp(name.data()) != nullptr);
        path = name;
        setenv("APPDATA", name.c_str(), 1);
    }
    ~UserFolder() { fs::remove_all(path); }
    UserFolder(const UserFolder&) = delete;
    UserFolder& operator=(const UserFolder&) = delete;
    std::string file() const { return path / "LucentVeil/DuskyVeil_Presets.ini"; }
    fs::path path;
};

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void put(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::array<float, 7> valuesOf(const PresetEntry& e) {
    return {e.threshold, e.radius, e.strength, e.fog, e.highlightBoost, e.glowSaturation, e.shadowProtect};
}

}  // namespace

TEST_CASE("a hand-edited file is misread, or a save spoils it") {
    const struct {
        std::string before, section, key, text, after;
    } table[] = {
        {"", "a", "k", "1", "[a]\r\nk=1\r\n"},
        {"; mine\nodd\n\n[a]\n k = 1 \n\n[b]", "A", "K", "2", "; mine\r\nodd\r\n[a]\r\nk=2\r\n[b]\r\n"},
        {"[a]\rk=1\r\r[b]\rk=3", "a", "new", "2", "[a]\r\nk=1\r\nnew=2\r\n[b]\r\nk=3\r\n"},
        {"[a]\nk=1\n[a]\nl=1", "a", "l", "2", "[a]\r\nk=1\r\nl=2\r\n[a]\r\nl=1\r\n"},
        {"[ a ]x\nk=1", "b", "k", "2", "[a]\r\nk=1\r\n[b]\r\nk=2\r\n"},
        {"[a]\nk=1", "a", "k", "1", "[a]\nk=1"},
        {"[a]\n[ ]x\nk=2\n[b]", "a", "k", "1", "[a]\r\nk=1\r\n[]\r\nk=2\r\n[b]\r\n"},
    };
    const UserFolder folder;
    const std::string path = folder.path / "p.ini";
    for (const auto& c : table) {
        INFO(c.before);
        put(path, c.before);
        CHECK(writeProfileText(path, c.section, c.key.c_str(), c.text.c_str()));
        CHECK(contents(path) == c.after);
        CHECK(profileText(path, c.section, c.key.c_str(), "none", 64) == c.text);
    }
    put(path, "[a]\nquoted=\" x \"\nodd=\"x'\nlong=" + std::string(9000, 'x') + "\nempty=\nbare\n");
    const std::pair<const char*, std::string> answers[] = {
        {"quoted", " x "}, {"odd", "\"x'"}, {"long", std::string(63, 'x')}, {"empty", ""}, {"bare", "none"}};
    for (const auto& [key, text] : answers) CHECK(profileText(path, "a", key, "none", 64) == text);
    for (const auto& [text, number] :
         {std::pair{"12abc", 12}, {"-3", -3}, {"abc", 0}, {"0x10", 16}, {"4294967297", 1}, {"", 7}}) {
        put(path, std::string("[a]\nk=") + text);
        CHECK(profileInteger(path, "a", "k", 7) == number);
    }
}

TEST_CASE("a section's name is cut, or the last that fits is left out") {
    const UserFolder folder;
    put(folder.file(), "[abc]\n[]\n[defg]\n[h]");
    for (const auto& [size, count] :
         {std::pair{0, 0u}, {4, 0u}, {5, 1u}, {9, 1u}, {10, 2u}, {11, 2u}, {12, 3u}}) {
        INFO(size);
        CHECK(profileSections(folder.file(), size).size() == count);
    }
    std::string many;
    for (int i = 100; i < 400; ++i) many += "[" + std::string(60, 'n') + std::to_string(i) + "]\n";
    put(folder.file(), many);
    const std::vector<PresetEntry> entries = loadUserPresets();
    CHECK(entries.size() == 63);  // of 64 bytes each, and one more behind all
    CHECK(entries.back().name == std::string(60, 'n') + "162");
}

TEST_CASE("a preset comes back as another, or stands in the file in another form") {
    const UserFolder folder;
    writeUserPreset({"My \xc4 [1]\t", 3, 0.5f, 12.34567f, 1.25f, -0.0f, 16.0f, 1.1f, 0.03125f, 1});
    CHECK(contents(folder.file()) ==
          "[My \xc4 _1__]\r\npresetId=3\r\nthreshold=0.5000\r\nradius=12.3457\r\nstrength=1.2500\r\n"
          "fog=-0.0000\r\nhighlightBoost=16.0000\r\nglowSaturation=1.1000\r\nshadowProtect=0.0312\r\n"
          "outputGlowOnly=1\r\n");
    writeUserPreset({"Second", 1, 9.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 0});
    writeUserPreset({"mY \xc4 _1__", 2, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f, 0});
    const std::vector<PresetEntry> entries = loadUserPresets();
    REQUIRE(entries.size() == 2);
    CHECK((entries[0].name == "My \xc4 _1__" && entries[0].presetId == 2 && entries[0].outputGlowOnly == 0));
    CHECK(valuesOf(entries[0]) == std::array{1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f});
    CHECK((entries[1].name == "Second" && entries[1].presetId == 1));
    CHECK(valuesOf(entries[1]) == std::array{9.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f});
}

TEST_CASE("a missing number has another default than its own") {
    const UserFolder folder;
    const std::pair<int, std::pair<float, float>> looks[] = {
        {0, {1.0f, 0.2f}}, {1, {0.6f, 0.2f}},  {2, {1.0f, 0.0f}},    {3, {1.1f, 0.0f}},
        {9, {1.0f, 0.2f}}, {-1, {1.0f, 0.2f}}, {65539, {1.1f, 0.0f}}};  // the last one is cut to 3
    for (const auto& [id, defaults] : looks) {
        INFO(id);
        put(folder.file(), "[x]\npresetId=" + std::to_string(id));
        const PresetEntry e = loadUserPresets().at(0);
        CHECK(valuesOf(e) == std::array{0.85f, 40.0f, 1.0f, 0.18f, 16.0f, defaults.first, defaults.second});
        CHECK(e.presetId == static_cast<std::int16_t>(id));
        CHECK(e.outputGlowOnly == 0);
    }
    put(folder.file(),
        "[x]\npresetId=3\nglowSaturation=abc\nshadowProtect=\nfog=,5\nthreshold=9.0 or so\nradius");
    CHECK(valuesOf(loadUserPresets().at(0)) == std::array{9.0f, 40.0f, 1.0f, 0.0f, 16.0f, 0.0f, 0.0f});
}

TEST_CASE("a number's text is not C's, or is another number than C's") {
    std::istringstream texts(
        "1.5| \t\n+2.25x|-3e2|1e|1e+|.5|5.|.||+-1|--1|1,5|inf|-Infinity|1d3|0x1F|0x.8p3|0xg|0x-5|0xinf|-0|"
        "1e999|-1e999|1e-999|0x1p-9999|4.9e-324|0.1|1e23|\xa0 1|nan(1)x");
    for (std::string text; std::getline(texts, text, '|');) {
        INFO(text);
        const double expected = std::atof(text.c_str()), number = leadingNumber(text);  // the C locale's
        CHECK((number == expected || (std::isnan(number) && std::isnan(expected))));
        CHECK(std::signbit(number) == std::signbit(expected));
    }
    for (const float value : {0.03125f, 0.09375f, 12.34567f, -0.00001f, 1e-30f, 0.99995f, 16777216.0f,
                              std::numeric_limits<float>::max(), std::numeric_limits<float>::infinity()}) {
        char text[64];
        std::snprintf(text, sizeof text, "%.4f", static_cast<double>(value));
        CHECK(fourDecimals(value) == text);
    }
}

TEST_CASE("an unusable APPDATA is used, or a failed save loses the file") {
    const UserFolder folder;
    const std::string longest(259, 'x');
    setenv("APPDATA", longest.c_str(), 1);
    CHECK(presetFilePath() == longest + "/LucentVeil/DuskyVeil_Presets.ini");
    setenv("APPDATA", (longest + "x").c_str(), 1);
    CHECK(presetFilePath() == "./DuskyVeil_Presets.ini");
    unsetenv("APPDATA");
    CHECK(presetFilePath() == "./DuskyVeil_Presets.ini");

    setenv("APPDATA", folder.path.c_str(), 1);
    const std::string file = folder.file();
    put(folder.path / "LucentVeil", "a file in the folder's place");
    writeUserPreset({"lost", 0, 0, 0, 0, 0, 0, 0, 0, 0});
    CHECK(loadUserPresets().empty());
    fs::remove(folder.path / "LucentVeil");
    CHECK_FALSE(writeProfileText(folder.path / "no/p.ini", "a", "k", "1"));
    fs::create_directories(file);
    CHECK_FALSE(writeProfileText(file, "a", "k", "1"));  // a folder under its name
    fs::remove(file);

    const std::string old = "[a]\nk=" + std::string(5000, 'x') + "\n";
    put(file, old);
    REQUIRE(chmod(file.c_str(), 0640) == 0);
    fs::create_symlink(file, folder.path / "link");
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const bool written = writeProfileText(file, "a", "l", "1");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    CHECK_FALSE(written);
    CHECK(contents(file) == old);
    CHECK(writeProfileText(folder.path / "link", "a", "k", "1"));
    CHECK(fs::is_symlink(folder.path / "link"));
    CHECK(contents(file) == "[a]\r\nk=1\r\n");
    CHECK((fs::status(file).permissions() & fs::perms::all) == fs::perms(0640));
    CHECK(std::distance(fs::directory_iterator(folder.path / "LucentVeil"), {}) ==
          1);  // nothing is left over
}

TEST_CASE("an edit by another hand, which sets the file's time back, is missed") {
    const UserFolder folder;
    const fs::path path = folder.path / "p.ini", other = folder.path / "other.ini";
    put(path, "[a]\nk=1");
    for (int value = 1; value <= 4; ++value) {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));  // a younger file is read anew anyway
        CHECK(profileInteger(path, "a", "k", 0) == value);
        const fs::file_time_type before = fs::last_write_time(path);
        put(other, "[a]\nk=" + std::to_string(value + 1));
        if (value == 1) put(path, contents(other));
        if (value == 2) fs::rename(other, path);
        if (value == 3) CHECK(writeProfileText(path, "a", "k", "4"));
        fs::last_write_time(path, before);
    }
}

TEST_CASE("a character of the code page is another in UTF-8") {
    std::string all;
    for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
    CHECK(windows1252FromUtf8(utf8FromWindows1252(all)) == all);
    CHECK(utf8FromWindows1252("a\xe4\x80\x81") == "a\xc3\xa4\xe2\x82\xac\xc2\x81");
    CHECK(windows1252FromUtf8("\xc4\x81\xf0\x9f\x98\x80\xc3") == "????");
}
