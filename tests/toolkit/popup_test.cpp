#include <doctest/doctest.h>

#include <algorithm>
#include <functional>
#include <tuple>

#include "tests/toolkit/recorded_lines.h"
#include "toolkit/preset_popup.h"

using namespace veil;

namespace {

using Kind = WindowMessage::Kind;
using Script = std::function<void(Window*)>;

struct Stage : InstalledRecorder {
    // At (7, 9), 26 to a row.
    int shown(const Script& user, std::size_t rows = 5, int selected = 1, int width = 200) {
        const std::vector<std::wstring> items(rows, L"Row");
        recorder.scripts = {user};
        return showPresetPopup(&owner, {7, 9}, width, 26, items, selected, recorder.scale);
    }
    Window owner;
};

Script sends(const WindowMessage& message) {
    return [=](Window* popup) { send(popup, message); };
}

}  // namespace

TEST_CASE("the list opens in rounded pixels, hidden until it can draw, and each end gives all back once") {
    const std::tuple<float, int, std::size_t, std::string, std::string> sizes[] = {
        {1.0f, 200, 5, "200 130", "1"},    {1.25f, 200, 5, "250 163", "1.25"},
        {1.5f, 201, 5, "302 195", "1.5"},  {2.0f, 200, 5, "400 260", "2"},
        {1.25f, 201, 0, "251 33", "1.25"}, {-1.25f, 220, 40, "220 1040", "1"}};
    const std::pair<Script, std::string> ends[] = {
        {sends({.kind = Kind::key, .key = Key::escape}),
         "closePopup\nreleaseMouse\nreleaseRenderTarget\ndestroyPopup\n"},
        {[](Window*) { takeCapture(); }, "closePopup\nreleaseRenderTarget\ndestroyPopup\n"},
        {captureMouse, "captureMouse\ndestroyPopup\nreleaseMouse\nreleaseRenderTarget\n"},
        {[](Window*) {}, "destroyPopup\nreleaseMouse\nclosePopup\nreleaseRenderTarget\n"}};
    for (const auto& [scale, width, rows, size, target] : sizes)
        for (const auto& [end, calls] : ends) {
            Stage stage;
            stage.recorder.scale = scale;
            const Script user = [&, &act = end](Window* popup) {
                CHECK(popup->owner == &stage.owner);
                act(popup);
            };
            CHECK(stage.shown(user, rows, 0, width) == -1);
            CHECK(stage.calls() == "createPopup 7 9 " + size +
                                       "\ncreateTextFormat 13 400\ncreateWindowRenderTarget " + target +
                                       "\nshowPopup\nrunPopup\n" + calls);
        }
}

TEST_CASE("after any four events the list has ended as its rules say, and repaints only for a new row") {
    std::vector<std::pair<Kind, int>> events{
        {Kind::key, -1}, {Kind::doubleClick, -1}, {Kind::mouseLeave, -1}};
    for (const Kind kind : {Kind::mouseMove, Kind::buttonDown, Kind::buttonUp})
        for (const int row : {0, 2, -1}) events.push_back({kind, row});  // -1: outside
    for (std::size_t code = 0, n = events.size(); code < n * n * n * n; ++code) {
        int hovered = 1, expected = -1, changes = 0, releases = 0;
        Stage stage;
        const int result = stage.shown([&](Window* popup) {
            bool open = true;
            for (std::size_t step = 0, rest = code; step < 4; ++step, rest /= n) {
                const auto [kind, row] = events[rest % n];
                const PixelPoint point{row < 0 ? 200 : 100, row < 0 ? 13 : 26 * row + 25};
                send(popup, {.kind = kind, .point = point, .key = Key::down});
                if (!open) continue;
                if (kind == Kind::mouseMove) changes += row != hovered, hovered = row;
                if (kind == Kind::buttonDown) open = row >= 0;
                if (kind != Kind::buttonUp) continue;
                open = row < 0 && ++releases == 1;
                if (row >= 0) expected = hovered;
            }
        });
        const Lines& calls = stage.recorder.windowCalls;
        INFO("code ", code);
        REQUIRE(result == expected);
        REQUIRE(std::count(calls.begin(), calls.end(), "closePopup") == 1);
        REQUIRE(std::count(calls.begin(), calls.end(), "invalidate") == changes);
    }
}

TEST_CASE("rows are found by whole DIPs, but inside is what the window's pixels cover") {
    const std::tuple<PixelPoint, int, bool> table[] = {
        {{299, 38}, 0, true},   {{0, 39}, 1, true},     {{10, 194}, 4, true},
        {{10, 195}, -1, false}, {{300, 10}, -1, false}, {{-1, 50}, 1, false},
        {{50, -1}, 0, false},   {{-2, 50}, -1, false},  {{50, -2}, -1, false}};
    Stage stage;
    stage.recorder.scale = 1.5f;
    const Script release = sends({.kind = Kind::buttonUp, .point = {5, 5}});
    for (const auto& [point, row, inside] : table) {
        INFO(point.x, " ", point.y);
        const Script move = sends({.kind = Kind::mouseMove, .point = point});
        CHECK(stage.shown([&](Window* popup) { move(popup), release(popup); }) == row);
        const Script press = sends({.kind = Kind::buttonDown, .point = point});
        CHECK(stage.shown([&](Window* popup) { press(popup), release(popup); }) == (inside ? 1 : -1));
    }
    CHECK(stage.shown([](Window* popup) { clickAt(popup, 5, 5); }, 0, 3) == -1);  // high, but without a row
    CHECK(stage.shown(release, 5, -7) == -1);
}

TEST_CASE("the marker lies on the hover band, the band on the frame, and nothing is cleared first") {
    const std::string start =
        "beginDraw\nfillRectangle 0 0 200 52 #2C2C31\nstrokeRectangle 0.5 0.5 199.5 51.5 w 1 #E0A85C\n";
    const std::string text = " 'Row' leading middle #E0E0E4 in Segoe UI 13 400\n";
    const std::string first = "drawSingleLineText 15 0 191 26" + text;
    const std::string rest =
        "fillRectangle 1 30 4 48 #E0A85C\ndrawSingleLineText 15 26 191 52" + text + "endDraw\n";
    Stage stage;
    const auto user = [&](Window* popup) {
        CHECK(stage.painted(popup) ==
              start + first + "fillRectangle 1 26 199 52 <78.40 58.80 32.20>\n" + rest);
        moveTo(popup, 9, 25);
        CHECK(stage.painted(popup) ==
              start + "fillRectangle 1 0 199 26 <78.40 58.80 32.20>\n" + first + rest);
        moveTo(popup, 9, 52);
        CHECK(stage.painted(popup) == start + first + rest);
    };
    stage.shown(user, 2);
}

TEST_CASE("a list that can't be shown changes nothing, one without a font works, and a fault gets out") {
    Stage stage;
    const Script user = [](Window* popup) { clickAt(popup, 9, 99); };
    stage.recorder.refusesFormats = true;
    CHECK(stage.shown(user) == 3);
    stage.recorder.refusesTargets = true;
    stage.calls();
    CHECK(stage.shown(user, 5, 4) == 4);
    CHECK(stage.calls().ends_with("createWindowRenderTarget 1\ndestroyPopup\n"));
    stage.recorder.refusesPopups = true;
    CHECK(stage.shown(user, 5, 2) == 2);
    Stage next;
    CHECK_THROWS_AS(next.shown([](Window*) { throw 7; }), int);
    CHECK(next.recorder.windowCalls.back() == "releaseRenderTarget");
}
