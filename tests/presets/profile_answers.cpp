// Writes what profile files and presets answer, and what becomes of the files, into the file that is named:
// for files that a hand wrote, for files thrown together from what a rule could trip over, and for saves.
// Both builds must write the same.

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <string_view>

#include "platform/profile_file.h"
#include "presets/user_presets.h"

using namespace veil;

namespace {

std::ofstream gOut;
std::uint32_t gSeed = 1;

int anyOf(std::size_t count) {
    gSeed = gSeed * 1664525u + 1013904223u;
    return static_cast<int>((gSeed >> 8) % count);
}

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool hasNamelessHeader(const std::string& bytes) {
    return std::regex_search(bytes,
                             std::regex("(^|[\r\n])[ \t\v\x1a]*\\[[ \t\v\x1a]*\\][^\\]\r\n]*([\r\n]|$)"));
}

void answer(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
    gOut << "== " << bytes << "\n";
    std::vector<std::string> sections = profileSections(path, 64);
    for (const char* name : {"", "a", " A ", "b c"}) sections.emplace_back(name);
    for (const std::string& name : sections) {
        gOut << "section '" << name << "'\n";
        for (const char* key : {"k", "L ", "\xe4", ";k", ""})
            gOut << "'" << profileText(path, name, key, "\"no\"  ", 20) << "' "
                 << profileInteger(path, name, key, 7) << "\n";
    }
    // Wine drops such a header at a save, so that its keys join the section above. We keep it.
    if (hasNamelessHeader(bytes)) return;
    const char* const texts[] = {"1", "2.5000", "  \"q\" ", ""};
    const char* const keys[] = {"k", "new", " K", "l"};
    const char* const names[] = {"a", " b c", "B C ", "\xe4", "  "};
    for (int i = 0; i < 3; ++i) {
        gOut << writeProfileText(path, names[anyOf(5)], keys[anyOf(4)], texts[anyOf(4)]) << "\n"
             << contents(path) << "\n";
    }
}

// Parts of lines, between bars.
constexpr std::string_view kParts =
    "|[|]|[a]|[ A ]x|[b c]|[\xe4]|[\xc4]|k|L|\xe4|=|==|=\n=\n|1|0x1F|-3|4294967297|\"|'|\"t\"|;|#|"
    " |\t|\v|\x1a|\xa0|\x80\xff|\r|\r\n|\n|\n|\n|\n\n\n|a long word is cut|";

std::string thrownTogether() {
    std::string bytes;
    for (int n = anyOf(60); n > 0; --n) {
        const std::size_t bar = kParts.find('|', static_cast<std::size_t>(anyOf(kParts.size() - 1)));
        bytes += kParts.substr(bar + 1, kParts.find('|', bar + 1) - bar - 1);
    }
    return bytes;
}

void answerPresets() {
    for (const char* name : {"One", "a[b]c", "\xc4\xd6 ; \"x\"", "one", " two  words ", "tab\there", "One"}) {
        const float value = 12.34567f + static_cast<float>(anyOf(1000)) / 512.0f;
        writeUserPreset({name, static_cast<std::int16_t>(anyOf(5)), value, -value, 0.03125f, 0.0f, 1e-5f,
                         3e38f, -0.0f, static_cast<std::int16_t>(anyOf(2))});
        gOut << "== " << name << "\n" << contents(presetFilePath()) << "\n";
    }
    for (const PresetEntry& e : loadUserPresets())
        gOut << "'" << e.name << "' " << e.presetId << std::hexfloat << e.threshold << e.glowSaturation
             << "\n";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    gOut.open(argv[2], std::ios::binary);
    const std::string variable = std::string("APPDATA=") + argv[1], path = std::string(argv[1]) + "/hand.ini";
#ifdef _WIN32
    _putenv(variable.c_str());
#else
    putenv(const_cast<char*>(variable.c_str()));
#endif
    const std::string unicode("\xff\xfe[\0a\0]\0\n\0k\0=\0\xe4\0\xac\x20\n\0", 20);
    const std::string marked = "\xef\xbb\xbf[a]\nk=\xc3\xa4\xe2\x82\xac\n[\xc3\xa4]\nl";
    const std::string nameless = "[a]\nk=1\n[]\nk=2\n[ ]x\nL=3", old = "[a]\rk=1\rl='\xe4'";
    for (const std::string& bytes : {std::string(), marked, nameless, old, unicode}) answer(path, bytes);
    for (int i = 0; i < 400; ++i) answer(path, thrownTogether());
    answerPresets();
    return gOut.flush() ? 0 : 1;
}
