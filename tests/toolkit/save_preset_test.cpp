#include <doctest/doctest.h>

#include <functional>
#include <set>
#include <tuple>
#include <utility>

#include "tests/toolkit/recorded_lines.h"
#include "toolkit/save_preset_dialog.h"

using namespace veil;
using namespace std::string_literals;

namespace {

using Kind = WindowMessage::Kind;

struct Stage : InstalledRecorder {
    // Whether a name was given.
    bool shown(const std::function<void(Window*)>& user) {
        recorder.scripts = {user};
        return runSavePresetDialog(&owner, name);
    }
    EditBox* box() { return &recorder.editBoxes.back(); }

    Window owner;
    std::string name = "old";
};

const std::string kGone = "stopTimer 501\nreleaseRenderTarget\n";

void command(Window* dialog, Command which) { send(dialog, {.kind = Kind::command, .command = which}); }

}  // namespace

TEST_CASE("the dialog is set up in order, its window rounded to pixels, its box and the mouse truncated") {
    const std::tuple<float, std::string, std::string, std::string> table[] = {
        {1.0f, "300 214", "24 76 276 100", "1"},
        {1.25f, "375 268", "30 95 345 125", "1.25"},
        {1.4f, "420 300", "33 106 385 139", "1.4"},
        {1.5f, "450 321", "36 114 414 150", "1.5"},
        {2.0f, "600 428", "48 152 552 200", "2"}};
    for (const auto& [scale, size, box, target] : table) {
        Stage stage;
        stage.recorder.scale = scale;
        const std::string expected =
            "runModalDialog 16020\nresizeWindow " + size +
            "\ncentreOnOwner\nroundCorners\ntemplateEditBox 2101\n"
            "placeEditBox " +
            box + "\ndisableInputMethod\ncreateWindowRenderTarget " + target +
            "\ncreateTextFormat 13 600\ncreateTextFormat 13 400\ncreateTextFormat 12 400\n"
            "createTextFormat 13 600\nfocusEditBox\nfadeIn 200\n";
        stage.shown([&](Window* dialog) {
            CHECK(stage.calls() == expected);
            CHECK_FALSE(dialog->placesFocus);
            CHECK(dialog->owner == &stage.owner);
            CHECK(stage.box()->colors.text == Color{224 / 255.0f, 224 / 255.0f, 228 / 255.0f, 1});
            CHECK(stage.box()->colors.background == Color{44 / 255.0f, 44 / 255.0f, 49 / 255.0f, 1});
            CHECK(send(dialog, {.kind = Kind::hitTest, .point = pixelOf(265, 40)}));
            CHECK_FALSE(send(dialog, {.kind = Kind::hitTest, .point = pixelOf(266, 33)}));
            CHECK_FALSE(send(dialog, {.kind = Kind::hitTest, .point = pixelOf(150, 41)}));
        });
    }
}

TEST_CASE("the dialog is painted in its order and in the system's language, and shows its states") {
    Stage stage;
    stage.recorder.scale = 1.25f;
    std::string seen;
    stage.shown([&](Window* dialog) {
        const auto look = [&](const std::string& title) {
            seen += "== " + title + "\n" + stage.painted(dialog);
        };
        const auto ticksToRest = [&](int ticks = 0) {
            while (fireTimer(dialog, 501)) ++ticks;
            return ticks;
        };
        stage.box()->rect = {29, 94, 346, 126};  // the system has its own mind about borders
        look("first");
        const std::string start = stage.painted(dialog);
        pasteText(stage.box(), L"\x3042");
        command(dialog, Command::ok);
        look("refused");
        typeCharacter(stage.box(), L'a');
        CHECK(stage.painted(dialog) == start);

        moveTo(dialog, 96, 168);
        CHECK_FALSE(send(dialog, {.kind = Kind::timer, .timer = 401}));
        stage.calls();
        CHECK(fireTimer(dialog, 501));
        CHECK(stage.calls() == "invalidate\n");
        look("OK after a tick");
        CHECK(ticksToRest() == 9);
        moveTo(dialog, 192, 168);
        CHECK(ticksToRest() == 10);
        CHECK(stage.calls().ends_with("invalidate\nstopTimer 501\n"));
        look("Cancel hovered");
        moveTo(dialog, 266, 6);
        look("close hovered");
        send(dialog, {.kind = Kind::buttonDown, .point = pixelOf(266, 6)});
        look("close pressed");
        moveTo(dialog, 150, 50);
        send(dialog, {.kind = Kind::buttonUp, .point = pixelOf(150, 50)});
        CHECK(ticksToRest() == 10);
        CHECK(stage.painted(dialog) == start);
    });
    checkListing(isJapaneseSystem() ? "save_preset_ja.txt" : "save_preset_en.txt", seen);
}

TEST_CASE("whatever four presses, moves and releases come in, a button acts if both ends are on it") {
    const std::pair<PixelPoint, int> places[] = {
        {{293, 33}, 2}, {{179, 197}, 1}, {{275, 197}, 2}, {{180, 198}, 0}};
    const Kind kinds[] = {Kind::buttonDown, Kind::buttonUp, Kind::mouseMove};
    for (int code = 0; code < 12 * 12 * 12 * 12; ++code) {
        std::string expected;
        int result = 0;
        Stage stage;
        const bool given = stage.shown([&](Window* dialog) {
            stage.box()->text = L"n";
            stage.calls();
            std::set<int> pressed;
            int under = 3;
            bool timed = false;
            for (int step = 0, rest = code; step < 4; ++step, rest /= 12) {
                const Kind kind = kinds[rest % 3];
                const int place = rest / 3 % 4;
                send(dialog, {.kind = kind, .point = places[place].first});
                if (kind == Kind::buttonUp && pressed.contains(place)) {
                    result = places[place].second;
                    expected += "enableOwner\nendModalDialog " + std::to_string(result) + "\n";
                    return;
                }
                if (kind == Kind::buttonUp) pressed.clear();
                if (kind == Kind::buttonDown && place == 3) continue;
                if (kind == Kind::buttonDown) pressed.insert(place);
                if (kind == Kind::mouseMove && std::exchange(under, place) == place) continue;
                if (kind == Kind::mouseMove && !std::exchange(timed, true)) expected += "startTimer 501 16\n";
                expected += "invalidate\n";
            }
        });
        INFO("code ", code);
        REQUIRE(stage.calls() == expected + kGone);
        REQUIRE(given == (result == 1));
        REQUIRE(stage.name == (given ? "n" : "old"));
    }
}

TEST_CASE("a name is its first 127 characters if all are printable ASCII, else it is refused and waits") {
    const std::wstring full(127, L'~');
    std::vector<std::pair<std::wstring, bool>> table{
        {L"", true}, {full + L"a", true}, {full + L"\x3042", true}};
    for (int unit = 1; unit < 400; ++unit)
        for (const std::size_t before : {0, 1, 126})
            table.push_back({full.substr(0, before) + wchar_t(unit), unit >= 32 && unit <= 126});
    for (const auto& [text, good] : table) {
        Stage stage;
        INFO("last unit ", text.empty() ? 0 : int(text.back()), " of ", text.size());
        const bool given = stage.shown([&, &typed = text, &fits = good](Window* dialog) {
            pasteText(stage.box(), typed);
            stage.calls();
            command(dialog, Command::ok);
            if (!fits) {
                CHECK(stage.calls() == "invalidate\nfocusEditBox\n");
                CHECK(stage.box()->text == typed);
                selectAll(stage.box());
                for (const wchar_t c : L"ok"s) typeCharacter(stage.box(), c);
                CHECK(stage.calls() == "selectAll\ninvalidate\n");
                command(dialog, Command::ok);
            }
            CHECK(stage.calls() == "enableOwner\nendModalDialog 1\n" + kGone);
        });
        const std::wstring kept = good ? text.substr(0, 127) : L"ok";
        CHECK(given == !kept.empty());
        CHECK(std::wstring(stage.name.begin(), stage.name.end()) == kept);
    }
}

TEST_CASE("Escape cancels, and without a dialog, a box, a target or fonts the rest still works") {
    const std::tuple<bool Recorder::*, Command, bool, std::string> table[] = {
        {&Recorder::refusesDialogs, Command::ok, false, "old"},
        {&Recorder::refusesEditBoxes, Command::ok, false, ""},
        {&Recorder::refusesTargets, Command::ok, true, "a"},
        {&Recorder::refusesFormats, Command::ok, true, "a"},
        {&Recorder::refusesFormats, Command::cancel, false, "old"}};
    for (const auto& [refuses, end, isGiven, name] : table) {
        Stage stage;
        stage.recorder.*refuses = true;
        const bool given = stage.shown([&, &last = end](Window* dialog) {
            for (EditBox& box : stage.recorder.editBoxes) pasteText(&box, L"a");
            stage.painted(dialog);
            command(dialog, last);
        });
        CHECK(given == isGiven);
        CHECK(stage.name == name);
    }
    Stage stage;
    CHECK_THROWS_AS(stage.shown([](Window*) { throw 7; }), int);
    CHECK(stage.calls().ends_with(kGone));
}
