// What a host and the system read from DuskyVeil.8bf before any code of it runs, read back from the built
// file.

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <set>

#include "tests/windows/pe_file.h"

namespace {

const pe::File& library() {
    static const pe::File file = pe::parse(pe::readBytes(VEIL_LIBRARY));
    return file;
}

const pe::Bytes& resource(const std::string& type, const std::string& name, int language) {
    static const pe::Bytes none;
    for (const pe::Resource& r : library().resources)
        if (r.type == type && r.name == name && r.language == language) return r.data;
    return none;
}

void append(pe::Bytes& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

// Codes and names as they are read, not as they lie in the file.
struct Property {
    const char* key;
    std::string data;
};

std::string little(std::uint32_t value) {
    std::string text;
    for (int i = 0; i < 4; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}

std::uint32_t code(const char* letters) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<std::uint8_t>(letters[i]);
    return value;
}

std::string padded(std::string text) {
    while (text.size() % 4) text += '\0';
    return text;
}

pe::Bytes expectedDescription() {
    std::string filterCases;
    for (int i = 0; i < 7; ++i) filterCases += std::string("\x04\x04\x06\x00", 4);
    const std::string enabled = "in (PSHOP_ImageMode, RGBMode, RGB48Mode)";
    const Property properties[] = {{"kind", little(code("8BFM"))},
                                   {"name", padded("\x0C"
                                                   "DuskyVeil...")},
                                   {"catg", "\x0BLucent Veil"},
                                   {"vers", little(0x00040000)},
                                   {"8664", padded("PluginMain")},
                                   {"mode", little(0x10)},
                                   {"enbl", enabled + std::string(4, '\0')},
                                   {"fici", filterCases}};
    pe::Bytes bytes;
    append(bytes, 1, 2);
    append(bytes, 0, 4);
    append(bytes, 8, 4);
    for (const Property& property : properties) {
        append(bytes, code("8BIM"), 4);
        append(bytes, code(property.key), 4);
        append(bytes, 0, 4);
        append(bytes, static_cast<std::uint32_t>(property.data.size()), 4);
        bytes.insert(bytes.end(), property.data.begin(), property.data.end());
    }
    return bytes;
}

// Whether the UTF-16 of `text` stands somewhere in `bytes`.
bool holdsWide(const pe::Bytes& bytes, const std::string& text) {
    pe::Bytes wide;
    for (const char c : text) append(wide, static_cast<std::uint8_t>(c), 2);
    append(wide, 0, 2);
    return std::search(bytes.begin(), bytes.end(), wide.begin(), wide.end()) != bytes.end();
}

}  // namespace

TEST_CASE("the library exports more than its entry, or needs other libraries than these of Windows") {
    CHECK(library().exports == std::vector<std::string>{"PluginMain"});
    CHECK(library().exportCount == 1);
    const std::set<std::string> system = {"comctl32.dll", "d2d1.dll",  "dwmapi.dll",   "dwrite.dll",
                                          "gdi32.dll",    "imm32.dll", "kernel32.dll", "msvcrt.dll",
                                          "ole32.dll",    "user32.dll"};
    std::set<std::string> imports;
    for (std::string name : library().imports) {
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        imports.insert(name);
    }
    CHECK(imports == system);
}

TEST_CASE("a host can't find the filter by its description") {
    const pe::Bytes& description = resource("PIPL", "#16000", 1033);
    REQUIRE(description.size() == 262);
    CHECK(description == expectedDescription());
}

TEST_CASE("the version block tells another version or another file") {
    const pe::Bytes& version = resource("#16", "#1", 1033);
    REQUIRE(version.size() > 92);
    pe::Bytes
        fixed;  // signature, structure version, file and product version 1.0.10.0, mask, flags, OS, library
    for (const std::uint32_t value : {0xFEEF04BDu, 0x00010000u, 0x00010000u, 0x000A0000u, 0x00010000u,
                                      0x000A0000u, 0x3Fu, 0u, 0x40004u, 2u})
        append(fixed, value, 4);
    CHECK(std::equal(fixed.begin(), fixed.end(), version.begin() + 40));
    for (const char* text :
         {"CompanyName", "Lucent Veil", "FileDescription", "DuskyVeil", "FileVersion", "1.0.10",
          "InternalName", "OriginalFilename", "ProductName", "Lucent Veil DuskyVeil", "ProductVersion"}) {
        INFO(text);
        CHECK(holdsWide(version, text));
    }
}

TEST_CASE("the manifest asks for more than the user's own rights") {
    const pe::Bytes& bytes = resource("#24", "#2", 1033);
    const std::string manifest(bytes.begin(), bytes.end());
    CHECK(manifest.find("level=\"asInvoker\"") != std::string::npos);
    CHECK(manifest.find("uiAccess=\"false\"") != std::string::npos);
    CHECK(bytes == pe::readBytes(VEIL_RESOURCES "/DuskyVeil.manifest"));
    for (const char* more : {"dependency", "application", "compatibility", "dpi"})
        CHECK(manifest.find(more) == std::string::npos);
}

TEST_CASE("the title band lacks its banner, or has another than the kept one") {
    const pe::Bytes& banner = resource("#10", "#3001", 1033);
    REQUIRE(banner.size() > 24);
    CHECK(banner == pe::readBytes(VEIL_RESOURCES "/banner.png"));
    // The size stands in the first chunk, big end first.
    CHECK(std::vector<int>(banner.begin() + 16, banner.begin() + 24) ==
          std::vector<int>{0, 0, 440 >> 8, 440 & 255, 0, 0, 0, 80});
}

TEST_CASE("a dialog's template has another style, font, measure or control") {
    struct Template {
        const char* name;
        std::uint32_t style;
        int width, height;
        std::string title;
        std::vector<std::string> texts;
        std::vector<std::array<std::uint32_t, 6>> controls;  // style, place and size, id
    };
    const std::uint32_t popup = 0x80000040u;  // a pop-up with a font of its own, no border, no system menu
    const std::uint32_t child = 0x50000000u;  // visible
    const Template templates[] = {
        {"#16010", popup, 372, 496, "", {}, {}},
        {"#16020", popup, 200, 130, "", {"EDIT"}, {{child | 0x00810080u, 10, 50, 180, 14, 2101}}},
        {"#16030",
         popup | 0x00C00080u,  // caption, modal frame
         260,
         76,
         "Lucent Veil - Applying...",
         {"MSCTLS_PROGRESS32", "Cancel"},
         {{child, 12, 12, 236, 12, 2201},
          {child | 0x00800000u, 12, 30, 236, 14, 2202},
          {child | 0x00010000u, 190, 50, 58, 16, 2}}}};
    for (const Template& expected : templates) {
        INFO(expected.name);
        const pe::Bytes& dialog = resource("#5", expected.name, 1033);
        pe::Bytes head;  // extended template, its signature, no help, no extended style
        for (const std::uint32_t value : {0xFFFF0001u, 0u, 0u, expected.style}) append(head, value, 4);
        for (const std::size_t value : {expected.controls.size(), std::size_t{0}, std::size_t{0}})
            append(head, static_cast<std::uint32_t>(value), 2);
        for (const int value : {expected.width, expected.height, 0, 0})  // no menu, the dialogs' own class
            append(head, static_cast<std::uint32_t>(value), 2);
        for (const char c : expected.title + '\0') append(head, static_cast<std::uint8_t>(c), 2);
        for (const std::uint32_t value : {9u, 400u, 0x0100u})
            append(head, value, 2);  // size, weight, charset
        for (const char c : {'S', 'e', 'g', 'o', 'e', ' ', 'U', 'I', '\0'})
            append(head, static_cast<std::uint8_t>(c), 2);
        REQUIRE(dialog.size() >= head.size());
        CHECK(std::equal(head.begin(), head.end(), dialog.begin()));
        // The resource compiler writes class names in capitals; the system ignores their case.
        for (const std::string& text : expected.texts) CHECK(holdsWide(dialog, text));
        for (const auto& control : expected.controls) {
            pe::Bytes record;
            append(record, control[0], 4);
            for (std::size_t i = 1; i < 5; ++i) append(record, control[i], 2);
            append(record, control[5], 4);
            INFO(control[5]);
            CHECK(std::search(dialog.begin(), dialog.end(), record.begin(), record.end()) != dialog.end());
        }
    }
}

TEST_CASE("the library carries the hour of its build, so that no two builds are alike") {
    CHECK(library().timeStamp == 0);
}
