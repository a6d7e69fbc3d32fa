#include <doctest/doctest.h>
#include <sys/stat.h>

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "tests/veil/process.h"

namespace fs = std::filesystem;

namespace {

/// A P6 file of 8 bits with light and dark in it.
std::string ppm(int width, int height) {
    std::string bytes = "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int light = (x / 7 + y / 5) % 6 == 0 ? 255 : (x * 31 + y * 17) % 90;
            for (const int value : {light, light * 3 / 4, light / 2 + x % 3})
                bytes += static_cast<char>(value);
        }
    }
    return bytes;
}

/// A PAM file of host values with every kind of transparency.
std::string hostValuesPam(int width, int height) {
    std::string bytes = "P7\nWIDTH " + std::to_string(width) + "\nHEIGHT " + std::to_string(height) +
                        "\nDEPTH 4\nMAXVAL 32768\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    for (unsigned i = 0; i < static_cast<unsigned>(width * height * 4); ++i) {
        const unsigned value = i * 2654435761u % 32769u;
        bytes += {static_cast<char>(value >> 8), static_cast<char>(value & 255u)};
    }
    return bytes;
}

using Names = std::vector<std::string>;

}  // namespace

TEST_CASE("a bad option is accepted, or refused without its name") {
    const TempFolder folder;
    writeBytes(folder / "a.ppm", ppm(20, 10));
    writeBytes(folder / "b.ppm", ppm(20, 10));
    const std::vector<std::pair<std::string, Names>> cases{
        {"--strength", {"--strength", "nan"}},
        {"--radius", {"--radius", "12px"}},
        {"--preset", {"--preset", "dusky veil"}},
        {"--depth", {"--depth", "12"}},
        {"--host-tile", {"--host-tile", "0x5"}},
        {"--host-tile", {"--host-tile", "32768x1"}},
        {"--selection", {"--selection", "1,2,3"}},
        {"--selection", {"--selection", "5,5,5,9"}},
        {"--nonsense", {"--nonsense"}},
        {"--overwrite", {"--overwrite", "--skip-existing"}},
        {"--plugin", {"--plugin", "missing.so"}},
        {"--plugin", {"--plugin", "a.ppm"}},
        {"-o", {"-o", "a.ppm", "b.ppm"}},
        {"--strength: may be given only once", {"--strength", "1", "--strength", "2"}},
        {"--output: may be given only once", {"-o", "x", "--output=y", "--quiet", "--quiet"}}};
    for (auto [name, arguments] : cases) {
        arguments.insert(arguments.begin(), "a.ppm");
        const Ran ran = runVeil(folder, arguments);
        INFO(arguments.back(), ": ", ran.err);
        CHECK(ran.status == 2);
        CHECK(ran.err.find(name) != std::string::npos);
        CHECK(lineCount(ran.err) == 1);
    }
    CHECK(runVeil(folder, {}).status == 2);
    CHECK(folder.names() == Names{"a.ppm", "b.ppm"});
    const Ran beyond = runVeil(folder, {"a.ppm", "--selection", "0,0,21,10"});
    CHECK(beyond.status == 1);
    CHECK(beyond.err.find("--selection") != std::string::npos);
}

TEST_CASE("an answer without a run is wrong") {
    const TempFolder folder;
    CHECK(runVeil(folder, {"--list-presets"}).out == "Dusky Veil\nGilt Veil\nPearl Veil\nAnamorphic Flare\n");
    CHECK(runVeil(folder, {"--version"}).out.starts_with("veil 1.0.10\n"));
}

TEST_CASE("a preset of the user's is not found, hides a look, or does not do what it says") {
    const TempFolder folder;
    unsetenv("APPDATA");
    for (const char* screen : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) unsetenv(screen);
    const std::string looks = "Dusky Veil\nGilt Veil\nPearl Veil\nAnamorphic Flare\n", umlaut = "N\u00e4he";
    const std::string values = "]\npresetId=1\nthreshold=0.2\nradius=9\nstrength=2\n";
    writeBytes(folder / "a.ppm", ppm(40, 30));
    writeBytes(folder / "DuskyVeil_Presets.ini", "[plain" + values + "[Pearl Veil]\nstrength=9\n");
    writeBytes(folder / "other.ini", "[N\xe4he" + values + "outputGlowOnly=1\n");
    CHECK(runVeil(folder, {"--list-presets"}).out == looks + "plain\nPearl Veil\n");
    CHECK(runVeil(folder, {"--list-presets", "--preset-file", "other.ini"}).out == looks + umlaut + "\n");

    const auto filtered = [&](Names arguments, const Names& more = {}) {
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments.insert(arguments.end(), {"a.ppm", "-o", "out.ppm", "--overwrite", "--quiet"});
        const Ran ran = runVeil(folder, arguments);
        INFO(ran.err);
        CHECK(ran.status == 0);
        return readBytes(folder / "out.ppm");
    };
    const Names mine{"--preset-file", "other.ini", "--preset", umlaut}, plain{"--preset", "plain"},
        look{"--preset", "Gilt Veil", "--threshold", "0.2", "--radius", "9", "--fog", "0.18", "--strength"};
    const std::string two = filtered(look, {"2"}), less = filtered(look, {"0.3"});
    CHECK(two != less);
    CHECK(filtered(plain) == two);
    CHECK(filtered(plain, {"--strength", "0.3"}) == less);
    CHECK(filtered(mine) == filtered(look, {"2", "--glow-only"}));
    CHECK(filtered(mine, {"--composite"}) == two);
    const Names pearl{"--preset", "Pearl Veil"};
    CHECK(filtered(pearl) == filtered(pearl, {"--preset-file", "other.ini"}));

    const std::pair<std::string, Names> refused[] = {
        {"--preset-file: 'no.ini'", {"--preset-file", "no.ini", "--list-presets"}},
        {"--preset-file: '.'", {"--preset-file", "."}},
        {"--preset:", {"--preset", "Plain"}},
        {"--dialog: no screen", {"--dialog"}}};
    for (auto [message, arguments] : refused) {
        arguments.push_back("a.ppm");
        const Ran ran = runVeil(folder, arguments);
        INFO(message, ran.err);
        CHECK(ran.status == 2);
        CHECK(ran.err.find(message) != std::string::npos);
        CHECK(lineCount(ran.err) == 1);
    }
}

TEST_CASE("a bad file stops the run without --fail-fast, goes on with it, or leaves something behind") {
    const TempFolder folder;
    const std::string good = ppm(40, 30);
    writeBytes(folder / "1.ppm", good);
    writeBytes(folder / "2-empty.ppm", "");
    writeBytes(folder / "3-cut.ppm", good.substr(0, 999));
    writeBytes(folder / "4-text.jpg", "no picture at all");
    fs::create_directory(folder / "5-folder.ppm");
    writeBytes(folder / "7.ppm", good);
    REQUIRE(mkfifo((folder / "0-pipe.ppm").c_str(), 0600) == 0);
    const Names inputs{"1.ppm",        "2-empty.ppm",   "3-cut.ppm",  "4-text.jpg",
                       "5-folder.ppm", "6-missing.ppm", "0-pipe.ppm", "7.ppm"};
    Names arguments = inputs;
    arguments.insert(arguments.end(), {"-o", "out", "--quiet"});
    const Ran ran = runVeil(folder, arguments);
    CHECK(ran.status == 1);
    CHECK(lineCount(ran.err) == 6);
    for (int i = 1; i <= 6; ++i)
        CHECK(ran.err.find("veil: " + inputs[static_cast<std::size_t>(i)] + ": ") != std::string::npos);
    Names written;
    for (const auto& entry : fs::directory_iterator(folder / "out"))
        written.push_back(entry.path().filename().string());
    std::sort(written.begin(), written.end());
    CHECK(written == Names{"1.ppm", "7.ppm"});
    CHECK(readBytes(folder / "out/1.ppm") == readBytes(folder / "out/7.ppm"));

    arguments.insert(arguments.end(), {"--fail-fast", "--suffix", "-ff"});
    const Ran fast = runVeil(folder, arguments);
    CHECK(fast.status == 1);
    CHECK(lineCount(fast.err) == 1);
    CHECK(fs::exists(folder / "out/1-ff.ppm"));
    CHECK_FALSE(fs::exists(folder / "out/7-ff.ppm"));
}

TEST_CASE("a file is overwritten that should not be, or half of one is left") {
    const TempFolder folder;
    const std::string bytes = ppm(64, 48);
    writeBytes(folder / "a.ppm", bytes);
    writeBytes(folder / "there.ppm", "old");
    fs::create_symlink("a.ppm", folder / "link.ppm");
    fs::create_hard_link(folder / "a.ppm", folder / "twin.ppm");
    fs::create_directory(folder / "sub");
    writeBytes(folder / "sub/a.ppm", bytes);
    const Names before = folder.names();
    constexpr long kTooSmall = 5000;  // the output has more than 9000 bytes
    const std::vector<std::pair<Names, long>> cases{{{"-o", "there.ppm"}, kNoLimit},
                                                    {{"-o", "a.ppm"}, kNoLimit},
                                                    {{"-o", "./sub/../a.ppm"}, kNoLimit},
                                                    {{"-o", "link.ppm"}, kNoLimit},
                                                    {{"-o", "twin.ppm"}, kNoLimit},
                                                    {{"-o", "."}, kNoLimit},
                                                    {{"--suffix", ""}, kNoLimit},
                                                    {{"-o", "missing/x.ppm"}, kNoLimit},
                                                    {{"-o", "there.ppm/x.ppm"}, kNoLimit},
                                                    {{"-o", "x.gif"}, kNoLimit},
                                                    {{"-o", "full.ppm"}, kTooSmall},
                                                    {{"-o", "there.ppm", "--overwrite"}, kTooSmall},
                                                    {{"-o", "a.ppm", "--overwrite"}, kTooSmall}};
    for (auto [arguments, limit] : cases) {
        arguments.insert(arguments.begin(), "a.ppm");
        const Ran ran = runVeil(folder, arguments, limit);
        INFO(arguments[2], " ", ran.err);
        CHECK(ran.status == 1);
        CHECK(ran.err.starts_with("veil: a.ppm: "));
        CHECK(lineCount(ran.err) == 1);
        CHECK(folder.names() == before);
        CHECK(readBytes(folder / "a.ppm") == bytes);
        CHECK(readBytes(folder / "there.ppm") == "old");
    }
    const Ran twice = runVeil(folder, {"a.ppm", "sub/a.ppm", "-o", "out", "--overwrite", "--quiet"});
    CHECK(twice.status == 1);
    CHECK(twice.err.find("already") != std::string::npos);

    CHECK(runVeil(folder, {"a.ppm", "-o", "there.ppm", "--skip-existing"}).status == 0);
    CHECK(readBytes(folder / "there.ppm") == "old");
    fs::permissions(folder / "a.ppm", fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    const fs::perms permissions = fs::status(folder / "a.ppm").permissions();
    CHECK(runVeil(folder, {"a.ppm", "-o", "link.ppm", "--overwrite"}).status == 0);
    CHECK(fs::is_symlink(folder / "link.ppm"));  // the file behind it is replaced
    CHECK(readBytes(folder / "a.ppm") == readBytes(folder / "out/a.ppm"));
    CHECK(fs::status(folder / "a.ppm").permissions() == permissions);
}

TEST_CASE("Ctrl-C leaves a file, goes on with the next, or looks like another failure") {
    const TempFolder folder;
    writeBytes(folder / "a.ppm", ppm(1500, 1200));
    writeBytes(folder / "b.ppm", ppm(20, 10));
    // Tiny tiles with a wide margin take minutes; the temporary file tells that the filter is about to start.
    const pid_t process = startVeil(folder, {"a.ppm", "b.ppm", "--host-tile", "8x8", "--json"});
    for (int i = 0; i < 3000 && folder.names().size() == 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    CHECK(folder.names().size() == 3);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    kill(process, SIGINT);
    const Ran ran = finishVeil(process);
    CHECK(ran.status == 130);
    CHECK(folder.names() == Names{"a.ppm", "b.ppm"});
    CHECK(ran.err.find("interrupted") != std::string::npos);
    CHECK(ran.out.find("\"outcome\": \"interrupted\", \"result\": \"userCanceledErr\"") != std::string::npos);
    CHECK(ran.out.find("b.ppm") == std::string::npos);
}

TEST_CASE("a picture without glow comes back changed") {
    const TempFolder folder;
    writeBytes(folder / "a.ppm", ppm(37, 23));
    writeBytes(folder / "b.pam", hostValuesPam(61, 33));
    CHECK(runVeil(folder, {"a.ppm", "b.pam", "--strength", "0"}).status == 0);
    CHECK(readBytes(folder / "a_veil.ppm") == readBytes(folder / "a.ppm"));
    CHECK(readBytes(folder / "b_veil.pam") == readBytes(folder / "b.pam"));
    CHECK(runVeil(folder, {"a.ppm", "--strength", "0", "--depth", "16", "-o", "deep.ppm"}).status == 0);
    CHECK(readBytes(folder / "deep.ppm").starts_with("P6\n37 23\n65535\n"));
    CHECK(runVeil(folder, {"deep.ppm", "--strength", "0%", "--depth", "8", "-o", "back.ppm"}).status == 0);
    CHECK(readBytes(folder / "back.ppm") == readBytes(folder / "a.ppm"));
}

TEST_CASE("a selection leaks, or what lies in it stays as it is") {
    constexpr int kWidth = 90, kHeight = 70;
    const TempFolder folder;
    writeBytes(folder / "a.ppm", ppm(kWidth, kHeight));
    CHECK(runVeil(folder, {"a.ppm", "--strength", "0", "--glow-only", "--selection", "20,10,60,50",
                           "--host-tile", "16x8"})
              .status == 0);
    std::string expected = readBytes(folder / "a.ppm");  // without strength there is no glow
    const std::size_t header = expected.size() - kWidth * kHeight * 3;
    for (std::size_t y = 10; y < 50; ++y) expected.replace(header + (y * kWidth + 20) * 3, 120, 120, '\0');
    CHECK(readBytes(folder / "a_veil.ppm") == expected);
}

TEST_CASE("what the run tells is wrong, or told when nobody asked") {
    const TempFolder folder;
    writeBytes(folder / "a.ppm", ppm(40, 30));
    const Ran json =
        runVeil(folder, {"a.ppm", "--json", "--quiet", "--timing", "--host-tile", "16x16", "--glow-only"});
    CHECK(json.err.empty());
    const std::string head =
        "{\"version\": \"1.0.10\", \"exitStatus\": 0, \"files\": [\n  {\"input\": \"a.ppm\", \"output\": "
        "\"a_veil.ppm\", \"outcome\": \"done\", \"result\": \"noErr\", \"message\": null, \"width\": 40, "
        "\"height\": 30, \"depth\": 8, \"tiles\": 6, \"milliseconds\": {\"decode\": ";
    CHECK(json.out.substr(0, head.size()) == head);
    CHECK(json.out.ends_with("}}\n]}\n"));
    const Ran timing = runVeil(folder, {"a.ppm", "--timing", "--overwrite", "-v"});
    CHECK(lineCount(timing.out) == 1);
    for (const char* word : {"decode", "filter", "encode"}) CHECK(timing.out.find(word) != std::string::npos);
    CHECK(timing.err.find("40x30") != std::string::npos);
    CHECK(timing.err.find('\r') == std::string::npos);  // not a terminal
}
