#include <doctest/doctest.h>

#include <array>
#include <cmath>
#include <sstream>

#include "standin/veil/errors.h"
#include "standin/veil/options.h"
#include "standin/veil/output_target.h"
#include "standin/veil/picture_file.h"
#include "standin/veil/preset_choice.h"
#include "standin/veil/progress.h"
#include "standin/veil/run.h"
#include "tests/veil/process.h"

using namespace standin;

namespace {

CommandLine parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "veil");
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

Picture pnmFromBytes(const std::string& bytes) {
    std::istringstream in(bytes);
    return readPnm(in);
}

bool isRefused(const std::string& bytes) {
    try {
        pnmFromBytes(bytes);
        return false;
    } catch (const CommandError&) {
        return true;
    }
}

std::string pnmToBytes(const Picture& picture) {
    std::ostringstream out;
    writePnm(out, picture, picture.format, picture.grey);
    return out.str();
}

std::string pam(const char* type, int depth, int white, const std::string& samples) {
    return "P7\nWIDTH 2\nHEIGHT 1\nDEPTH " + std::to_string(depth) + "\nMAXVAL " + std::to_string(white) +
           "\nTUPLTYPE " + type + "\nENDHDR\n" + samples;
}

// A plug-in with nothing but a dialog: it makes the strength one greater, and is cancelled at the third
// picture.
struct Asked {
    std::vector<float> strengths;
    bool fromMenu = false;
} gAsked;

void dialogAlone(std::int16_t selector, void* record, std::intptr_t*, std::int16_t* result) {
    const auto& r = *static_cast<photoshop::FilterRecord*>(record);
    if (selector == photoshop::filterSelectorParameters) gAsked.fromMenu = true;
    if (selector != photoshop::filterSelectorStart) return;
    auto* block = reinterpret_cast<veil::VeilParams*>(r.handleProcs->lockProc(r.parameters, 0));
    gAsked.strengths.push_back(block->strength);
    block->strength += 1.0f;
    r.handleProcs->unlockProc(r.parameters);
    r.bigDocumentData->PluginUsing32BitCoordinates = 1;
    if (gAsked.strengths.size() == 3) *result = photoshop::userCanceledErr;
}

}  // namespace

TEST_CASE("a dialog forgets what was confirmed last, or a cancel writes or goes on") {
    const TempFolder folder;
    Options options;
    options.dialog = options.quiet = true;
    options.output = folder / "out";
    options.params.strength = 5.0f;
    for (const char* name : {"1.ppm", "2.ppm", "3.ppm", "4.ppm"}) {
        writeBytes(folder / name, "P6\n1 1\n255\nabc");
        options.inputs.push_back(folder / name);
    }
    CHECK(prepareOutputFolder(options));
    Console console = openConsole(true, false, 4);
    const std::vector<FileReport> reports = runFiles(options, Plugin(dialogAlone), true, console);
    CHECK(gAsked.fromMenu);
    CHECK(gAsked.strengths == std::vector{5.0f, 6.0f, 7.0f});
    CHECK(reports.size() == 3);
    CHECK(reports.back().outcome == Outcome::cancelled);
    CHECK(exitStatusOf(reports) == ExitStatus::cancelled);
    CHECK(std::filesystem::exists(folder / "out/2.ppm"));
    CHECK(std::distance(std::filesystem::directory_iterator(folder / "out"), {}) == 2);
    CHECK(
        jsonDocument(reports, exitStatusOf(reports)).find("\"cancelled\", \"result\": \"userCanceledErr\"") !=
        std::string::npos);
}

TEST_CASE("a value that is no finite number is taken for one") {
    const std::vector<std::pair<const char*, float>> good{{"0.7", 0.7f}, {"70%", 0.7f},    {"-3", -3.0f},
                                                          {"+2", 2.0f},  {"1e3", 1000.0f}, {"0", 0.0f},
                                                          {"150%", 1.5f}};
    for (const auto& [text, value] : good) CHECK(parseValue(text) == value);
    for (const char* text :
         {"", "%", "nan", "-inf", "0.7x", "0.7 ", " 0.7", "0,7", "1e39", "70%%", "+-1", "0x10", "--1"}) {
        INFO("'", text, "'");
        CHECK_FALSE(parseValue(text).has_value());
    }
}

TEST_CASE("a look's values or an override get lost on the way to the block") {
    const veil::VeilParams plain = parse({"a.png"}).options.params;
    CHECK((plain.presetId == 0 && plain.strength == 0.7f && !plain.outputGlowOnly && !plain.advancedMode));
    const veil::VeilParams p = parse({"a.png", "--preset", "Anamorphic Flare", "--strength", "-0.5",
                                      "--threshold=20%", "--radius", "33", "--saturation", "2", "--shadow",
                                      "0.4", "--light-boost", "3", "--advanced", "--glow-only"})
                                   .options.params;
    CHECK((p.presetId == 3 && p.advancedMode == 1 && p.outputGlowOnly == 1));
    CHECK(p.fog == 0.35f);  // of the look, not overridden
    CHECK(std::array{p.strength, p.threshold, p.radius, p.glowSaturation, p.shadowProtect,
                     p.highlightBoost} == std::array{-0.5f, 0.2f, 33.0f, 2.0f, 0.4f, 3.0f});
    const Options o =
        parse({"a", "b", "--selection", "1,2,30,40", "--host-tile", "32767x1", "--depth", "16"}).options;
    CHECK(o.selection == PixelRect{1, 2, 30, 40});
    CHECK((o.inputs.size() == 2 && o.tileWidth == 32767 && o.tileHeight == 1 && o.depth == 16));
}

TEST_CASE("a preset's name moves the terminal's cursor, or loses a letter") {
    CHECK(withoutControls("a\x1b[2J\tb\x7f\xc2\x9d \xc3\x84\xc2\xa0\xe2\x80\x9a\xc2") ==
          "a?[2J?b?? \xc3\x84\xc2\xa0\xe2\x80\x9a\xc2");
}

TEST_CASE("a truncated or prolonged PNM file is read all the same") {
    const std::string p6 = std::string("P6 # c\n2 1\n65535\n") + "abcdefghijkl";
    const std::string withAlpha = pam("RGB_ALPHA", 4, 255, "abcdefgh");
    for (const std::string& whole :
         {p6, withAlpha, pam("GRAYSCALE", 1, 32768, std::string("\x80\0\0\1", 4))}) {
        CHECK_NOTHROW(pnmFromBytes(whole));
        for (std::size_t length = 0; length < whole.size(); ++length) {
            INFO("cut to ", length);
            CHECK(isRefused(whole.substr(0, length)));
        }
        CHECK(isRefused(whole + "x"));
    }
}

TEST_CASE("an absurd PNM header is believed") {
    const std::string samples(12, 'a');
    for (const std::string& bytes :
         {"P6\n0 1\n255\n" + samples,
          "P6\n-2 1\n255\n" + samples,
          "P6\n2147483648 1\n255\n" + samples,
          "P6\n99999999999999999999 1\n255\n" + samples,
          "P6\n300000 300000\n65535\n" + samples,
          "P6\n300001 1\n255\n" + samples,
          "P6\n2 1\n0\n" + samples,
          "P6\n2 1\n256\n" + samples,
          "P6\n2 1\n65536\n" + samples,
          "P6\n2x 1\n255\n" + samples,
          "P6\n2 1 255x" + samples,
          "P5\n2 1\n255\n" + samples,
          "P3\n2 1\n255\n" + samples,
          std::string("P6"),
          pam("RGB", 4, 255, "abcdefgh"),
          pam("BLACKANDWHITE", 1, 255, "ab"),
          std::string("P7\nWIDTH 2\nHEIGHT 1\nDEPTH 3\nTUPLTYPE RGB\nENDHDR\nabcdef"),
          std::string("P7\nWIDTH 2\nNONSENSE 1\nENDHDR\n"),
          "P7\n" + std::string(5000, 'W'),
          pam("GRAYSCALE", 1, 32768, std::string("\x80\1\0\0", 4))}) {  // 32769 is above its maxval
        INFO(bytes.substr(0, 40));
        CHECK(isRefused(bytes));
    }
}

TEST_CASE("a PNM sample lands in the wrong plane, or comes back changed") {
    const Picture rgb =
        pnmFromBytes(std::string("P6\n2 1\n65535\n") + std::string("\0\1\0\2\0\3\xff\xff\x80\0\0\0", 12));
    CHECK((rgb.image.depth == 16 && rgb.image.at(0, 0, 2) == 3 && rgb.image.at(1, 0, 0) == 65535));
    const Picture grey = pnmFromBytes(pam("GRAYSCALE_ALPHA", 2, 255, "\x10\x20\x30\x40"));
    CHECK((grey.grey && grey.image.at(1, 0, 2) == 0x30 && grey.image.at(1, 0, 3) == 0x40));
    for (const auto& [type, channels] :
         {std::pair{"GRAYSCALE", 1}, {"GRAYSCALE_ALPHA", 2}, {"RGB", 3}, {"RGB_ALPHA", 4}})
        for (const int white : {255, 32768, 65535}) {
            std::string samples(static_cast<std::size_t>(2 * channels * (white > 255 ? 2 : 1)), '\0');
            for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<char>(17 * i % 128);
            const std::string bytes = pam(type, channels, white, samples);
            INFO(type, " ", white);
            CHECK(pnmToBytes(pnmFromBytes(bytes)) == bytes);
        }
}

TEST_CASE("a 16-bit sample is not mapped to the nearest") {
    int kept = 0;
    for (unsigned v = 0; v <= 65535; ++v) {
        const unsigned host = rescale(v, kWhiteFile, kWhiteHost);
        if (host != static_cast<unsigned>(std::lround(v * 32768.0 / 65535.0))) FAIL("file value ", v);
        kept += rescale(host, kWhiteHost, kWhiteFile) == v ? 1 : 0;
    }
    CHECK(kept == 32769);  // as many as the host has values
    for (unsigned h = 0; h <= 32768; ++h) {
        const unsigned file = rescale(h, kWhiteHost, kWhiteFile);
        if (file != static_cast<unsigned>(std::lround(h * 65535.0 / 32768.0))) FAIL("host value ", h);
        if (rescale(file, kWhiteFile, kWhiteHost) != h) FAIL("host value ", h, " is not kept");
    }
    Picture picture = pnmFromBytes(pam("RGB_ALPHA", 4, 255, "\x02\x01\x7f\x80\xfe\xff\x10\x20"));
    const Image before = picture.image;
    convertWhite(picture, kWhiteFile);
    CHECK(picture.image.at(0, 0, 3) == 128 * 257);
    convertWhite(picture, kWhite8);
    CHECK(picture.image == before);
}

TEST_CASE("an output gets the wrong name or format") {
    const TempFolder folder;
    Options o;
    o.inputs = {"x/a.b.jpg"};
    CHECK(outputPath(o, o.inputs[0], false) == "x/a.b_veil.jpg");
    o.output = folder.path;
    CHECK(prepareOutputFolder(o));
    CHECK(outputPath(o, o.inputs[0], true) == folder / "a.b.jpg");
    o.suffix = "-s";
    CHECK(outputPath(o, o.inputs[0], true) == folder / "a.b-s.jpg");
    o.output = folder / "new/";
    CHECK(prepareOutputFolder(o));
    CHECK(std::filesystem::is_directory(folder / "new"));
    o.output = folder / "one.png";
    CHECK_FALSE(prepareOutputFolder(o));
    writeBytes(folder / "one.png", "x");
    o.inputs.push_back("b.jpg");
    CHECK_THROWS_AS(prepareOutputFolder(o), CommandError);
    CHECK(outputFormat(o, "one.PNG", false, FileFormat::jpeg) == FileFormat::png);
    CHECK(outputFormat(o, "one", false, FileFormat::jpeg) == FileFormat::jpeg);
    CHECK_THROWS_AS(outputFormat(o, "one.gif", false, FileFormat::jpeg), CommandError);
    CHECK(outputFormat({}, "one_veil.dat", false, FileFormat::tiff) == FileFormat::tiff);
}

TEST_CASE("an output takes another's place: two inputs with one, or a file that came while the filter ran") {
    const TempFolder folder;
    std::filesystem::create_directory(folder / "sub");
    std::filesystem::create_directory_symlink("sub", folder / "link");
    TakenOutputs taken;
    CHECK(claimOutput({}, "a", folder / "sub/x.png", taken) == TargetState::free);
    for (const char* same : {"sub/x.png", "sub/../sub/x.png", "link/x.png"}) {
        INFO(same);
        CHECK_THROWS_AS(claimOutput({}, "b", folder / same, taken), CommandError);
    }
    PendingFile pending(folder / "late.png");
    writeBytes(folder / "late.png", "theirs");
    CHECK_THROWS_AS(pending.commit(TargetState::free), CommandError);
    CHECK(readBytes(folder / "late.png") == "theirs");
}

TEST_CASE("the progress line miscounts") {
    Console console;
    console.file = 2;
    console.fileCount = 4;
    console.name = "b.png";
    // Three eighths of the run are done after 39 seconds: 65 are left.
    CHECK(progressText(console, 1, 2, 39000.0) == "[2/4] b.png: tile 1 of 2, 1 min 05 s left");
}

TEST_CASE("a file name breaks the JSON document") {
    FileReport report;
    report.input = "q\"b\\n\nc\xff\xc3\xa9\xe2\x82";
    const std::string text = jsonDocument({report}, ExitStatus::failed);
    CHECK(text.find("\"q\\\"b\\\\n\\u000ac\\ufffd\xc3\xa9\\ufffd\\ufffd\"") != std::string::npos);
}

TEST_CASE("a seed of the PNM fuzzer brings the reader down, or what it reads does not come back") {
    int read = 0, seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VEIL_CORPUS)) {
        INFO(entry.path());
        ++seeds;
        const std::string bytes = readBytes(entry.path());
        if (isRefused(bytes)) continue;
        ++read;
        const Picture picture = pnmFromBytes(bytes);
        CHECK(pnmFromBytes(pnmToBytes(picture)).image == picture.image);
    }
    CHECK(read > 0);
    CHECK(seeds > read);
}
