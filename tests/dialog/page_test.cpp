// What the page shows, draw by draw, and how the window comes and goes.

#include <doctest/doctest.h>

#include <algorithm>
#include <sstream>
#include <tuple>

#include "tests/dialog/page.h"
#include "tests/toolkit/recorded_lines.h"
#include "toolkit/theme.h"

using namespace veil;
using namespace dialogtest;

namespace {

std::string drawn(Page& page) {
    page.recorder.draws.clear();
    page.paint();
    return linesWithFonts(page.recorder.draws);
}

// What it takes to come from the lines of `before` to those of `now`, each with its number.
std::string changes(const std::string& before, const std::string& now) {
    std::istringstream nows(now), befores(before);
    Lines old;
    for (std::string l; std::getline(befores, l);) old.push_back(l);
    std::string text;
    std::size_t at = 0, number = 0;
    const auto drop = [&] { text += "-" + std::to_string(at) + " " + old[at] + "\n", ++at; };
    for (std::string l; std::getline(nows, l); ++number) {
        const bool isOld = std::find(old.begin() + std::ptrdiff_t(at), old.end(), l) != old.end();
        while (isOld && old[at] != l) drop();
        isOld ? void(++at) : void(text += "+" + std::to_string(number) + " " + l + "\n");
    }
    while (at < old.size()) drop();
    return text;
}

float eased(float p) { return 1.0f - (1.0f - p) * (1.0f - p) * (1.0f - p); }

}  // namespace

TEST_CASE("a paint has every draw and every text in its place and order, whatever the state of the page") {
    // In the system's language: the first paint, and what each state changes in the one before.
    std::string seen, first, last;
    const auto look = [&](const std::string& title, Page& page) {
        const std::string now = drawn(page);
        seen += "== " + title + "\n" + changes(last, now);
        last = now;
    };
    const auto user = [&](Page& page) {
        look("first", page);
        first = last;
        for (const std::string steps :
             {"c30,370", "c30,525", "c30,580 m0,991", "m538,20", "d538,20", "d540,450", "d350,950",
              "d460,950", "c530,640 t3", "c530,690", "c470,770", "c470,870", "d30,580"}) {
            page.act(steps);
            look(steps, page);
        }
        page.state.presetBox.hot = true;
        look("open list", page);
        // Made once, and again after a render.
        const std::string before = drawn(page);
        for (const bool anew : {true, false}) {
            page.recorder.previewPixels.clear();
            if (anew) page.act("c30,370 c30,370");
            CHECK(drawn(page) == before);
            CHECK(page.recorder.previewPixels.empty() != anew);
            page.recorder.refusesBanners = true;
        }
        page.state.preview.displayPixels = std::vector<std::uint8_t>();  // no bitmap can be made
        page.state.previewBitmap.reset();
        look("no bitmap", page);
    };
    const auto withoutBanner = [&](Page& page) {
        last = first;
        look("no banner", page);
        page.recorder.refusesBanners = false;
        look("tried once", page);
    };
    Run{user};
    Run(withoutBanner, {.prepare = [](Recorder& r) { r.refusesBanners = true; }});
    const auto advanced = [&](Page& page) {
        page.act("c30,580");
        look("no host", page);
    };
    Run(advanced, {.block = {}, .host = {.hasAdvanceState = false}});
    const auto withoutFonts = [&](Page& page) {
        std::istringstream lines(first);
        std::string textless;
        for (std::string l; std::getline(lines, l);)
            if (l.find(" in Segoe UI") == l.npos) textless += l + "\n";
        CHECK(drawn(page) == textless);
    };
    Run(withoutFonts, {.prepare = [](Recorder& r) { r.refusesFormats = true; }});
    const auto withoutTarget = [&](Page& page) {
        page.act("m100,450 c100,640");
        CHECK(drawn(page).empty());
    };
    Run(withoutTarget, {.prepare = [](Recorder& r) { r.refusesTargets = true; }});
    checkListing(isJapaneseSystem() ? "page_ja.txt" : "page_en.txt", seen);
}

TEST_CASE(
    "the hover of a widget and the flash of a value move under its own key, for as long as they should") {
    const std::pair<std::uint32_t, std::string> widgets[] = {
        {1, "m400,950"},    {2, "m500,950"},    {2002, "m300,370"}, {2021, "m300,525"}, {2023, "m300,580"},
        {2011, "m80,450"},  {2013, "m400,450"}, {2032, "m200,640"}, {2036, "m200,680"}, {2040, "m200,730"},
        {2052, "m200,770"}, {2056, "m200,810"}, {2044, "m200,860"}, {2048, "m200,900"}};
    Run([&](Page& page) {
        for (const auto& [id, move] : widgets) {
            INFO("widget ", id);
            const AnimatedValue& hover = page.state.animations[id * 10];
            page.act(move + " t3");
            CHECK(hover.value == eased(48.0f / 150.0f));
            page.act(move + " t7");  // the further move does not begin anew
            CHECK((hover.value == 1.0f && !fireTimer(page.window, 401)));
            page.act("l t3");
            CHECK(hover.value == doctest::Approx(1.0f - eased(48.0f / 150.0f)));
            page.act("t7");
        }
        for (const SliderRecord& slider : page.state.sliders) {
            page.act("l t10 d530," + std::to_string(slider.top) + " t3");
            CHECK(page.state.animations[slider.id * 10 + 1].value == 1.0f - eased(48.0f / 220.0f));
            page.act("t11");
            CHECK_FALSE(fireTimer(page.window, 401));
        }
    });
}

TEST_CASE("the window comes with every step in its order and in device pixels, and goes as a whole") {
    const std::tuple<float, std::string, std::string, std::string> table[] = {
        {1.0f, "1", "558 992", "17"},
        {1.25f, "1.25", "698 1240", "22"},
        {1.5f, "1.5", "837 1488", "26"},
        {2.0f, "2", "1116 1984", "35"}};
    for (const auto& [scale, number, size, font] : table) {
        const auto user = [&, target = "createWindowRenderTarget " + number](Page& page) {
            CHECK(page.calls() ==
                  "runModalDialog 16010, resizeWindow " + size + ", centreOnOwner, roundCorners, " + target +
                      ", createTextFormat 13 600, createTextFormat 11.5 600, createTextFormat 13 400, "
                      "createTextFormat 11 400, createTextFormat 13 600, createTextFormat 13 600, "
                      "createTextFormat 12 400, createFilteredEditBox " +
                      font + " 600, showWindow, invalidate");
            CHECK((page.window->owner != nullptr && page.window->placesFocus));
            CHECK((page.box()->colors.text == colorAccent && page.box()->colors.background == colorWindow));
            const std::string before = drawn(page);
            // A lost target comes back with all that belongs to it; another paint follows.
            page.recorder.losesTarget = true;
            page.paint();
            CHECK(page.calls() == "releaseRenderTarget, " + target + ", invalidate");
            page.recorder.previewPixels.clear();
            CHECK(drawn(page) == before);
            CHECK((!page.recorder.previewPixels.empty() && page.state.bannerBitmap));
            page.act("m538,20");
            page.calls();
            CHECK(page.send({.kind = Kind::command, .command = Command::cancel}));
            CHECK(page.calls() == "enableOwner, endModalDialog 2, stopTimer 401, releaseRenderTarget");
            CHECK_FALSE((page.state.previewBitmap || page.state.bannerBitmap || page.state.preview.pool));
        };
        const Run run(user, {.block = {}, .prepare = [scale = scale](Recorder& r) { r.scale = scale; }});
        CHECK(run.recorder.windowCalls == std::vector<std::string>{"reviveOwner"});
        CHECK(run.report.result == photoshop::userCanceledErr);
    }
}

TEST_CASE("the picture is asked for at the size of its area in device pixels, on both axes") {
    for (const auto& [width, height] : {std::pair(1200, 2), {2, 600}}) {
        for (const float scale : {1.0f, 2.0f}) {  // 526 by 260, 1052 by 520
            const auto user = [&](Page& page) { CHECK(page.state.preview.scale == (scale == 1.0f ? 3 : 2)); };
            const auto prepare = [&](Recorder& r) { r.scale = scale; };
            Run(user, {.image = hosttest::picture(width, height), .prepare = prepare});
        }
    }
}
