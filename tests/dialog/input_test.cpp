// Where the mouse acts and on what, and what keys and arrows do.

#include <doctest/doctest.h>

#include <limits>
#include <set>
#include <tuple>

#include "tests/dialog/page.h"

using namespace veil;
using namespace dialogtest;

namespace {

// What can be clicked, and how it shows that the mouse is over it or that it took the click.
struct Place {
    RectI rect;
    const bool* hot;
    std::function<bool()> took;
};

// In the order in which they are tried; `page` has the values of kMiddle. `told` holds the calls of the
// click.
std::vector<Place> places(Page& page, const std::string& told) {
    MainDialogState& s = page.state;
    const auto drags = [&](int row) { return s.dragRow == row && page.recorder.capture == page.window; };
    const auto stepped = [&](int row) {
        return page.value(row) - kMiddle.*kSliderDefinitions[std::size_t(row)].param;
    };
    std::vector<Place> all{{{524, 6, 552, 34}, &s.closeHovered, [&] { return s.closePressed; }}};
    for (int row = 0, y = 632; row < 7; ++row, y += 44) {
        SpinnerRecord& spin = s.spinButtons[std::size_t(row)];
        const auto focus = [&s, row] { return s.focusRow == row; };
        const auto moved = [=, &s](float way) {
            return focus() && stepped(row) * way > 0.0f && s.dragRow < 0;
        };
        all.push_back({{522, y, 542, y + 11}, &spin.upHot, [=] { return moved(1.0f); }});
        all.push_back({{522, y + 11, 542, y + 22}, &spin.downHot, [=] { return moved(-1.0f); }});
        all.push_back({{436, y, 516, y + 22}, nullptr, [=, &s] { return focus() && s.editRow == row; }});
        all.push_back(
            {{116, y, 426, y + 22}, &s.sliders[std::size_t(row)].hot, [=] { return focus() && drags(row); }});
    }
    const auto toggle = [&](int top, const ControlRecord& box, bool before) {
        all.push_back(
            {{16, top, 542, top + 20}, &box.hot, [&box, before] { return box.accented != before; }});
    };
    const auto button = [&](const RectI& rect, const ControlRecord& record) {
        all.push_back({rect, &record.hot, [&record] { return record.pressed; }});
    };
    all.push_back(
        {{76, 428, 296, 458}, &s.presetBox.accented, [&] { return told.find("createPopup") != told.npos; }});
    button({308, 428, 542, 458}, s.saveButton);
    button({346, 944, 438, 976}, s.okButton);
    button({450, 944, 542, 976}, s.cancelButton);
    toggle(366, s.previewToggle, false);
    toggle(520, s.outputToggle, kMiddle.outputGlowOnly != 0);
    toggle(574, s.advancedToggle, s.advancedToggle.accented);
    return all;
}

}  // namespace

TEST_CASE("every place is hovered and clicked up to its edges, at any scale, and rows out of sight are not") {
    for (const auto& [scale, advanced] : {std::pair(1.0f, true), {1.5f, true}, {1.5f, false}}) {
        const auto user = [on = advanced](Page& page) {
            std::string told;
            const std::vector<Place> all = places(page, told);
            std::set<int> xs{0, 60}, ys{0, 41, 991};
            for (const Place& place : all) {
                xs.insert({place.rect.left - 1, place.rect.left, place.rect.right - 1, place.rect.right});
                ys.insert({place.rect.top - 1, place.rect.top, place.rect.bottom - 1, place.rect.bottom});
            }
            const VeilParams before = page.state.params;
            for (const int x : xs) {
                for (const int y : ys) {
                    INFO("at ", x, ", ", y);
                    const auto has = [&](const Place& place) {
                        return contains(place.rect, {x, y}) && (on || y < 852 || y >= 918);
                    };
                    const bool closes = contains(all[0].rect, {x, y});
                    CHECK(page.send({.kind = Kind::hitTest, .point = pixelOf(x, y)}) == (y <= 40 && !closes));
                    const std::string at = std::to_string(x) + "," + std::to_string(y);
                    page.act("m" + at);
                    for (const Place& place : all)
                        if (place.hot) CHECK(*place.hot == has(place));
                    page.state.focusRow = -1;
                    page.calls();
                    page.act("d" + at);
                    told = page.calls();
                    for (const Place& place : all) CHECK(place.took() == has(place));
                    if (x < 542 && y >= 366 && y < 594) page.act("d" + at);  // back where it was a toggle
                    page.act("eS u-9,-9 l");
                    page.state.params = before;
                    syncSlidersFromParams(page.state);
                }
            }
        };
        VeilParams block = kMiddle;
        block.advancedMode = advanced;
        const auto prepare = [s = scale](Recorder& r) { r.scale = s; };
        Run(user, {.block = block, .host = {.hasAdvanceState = false}, .prepare = prepare});
    }
}

TEST_CASE("a drag keeps the mouse, follows it beyond the ends and renders at each new value") {
    Run([](Page& page) {
        const auto renders = [&](const char* steps) { return page.renders([&] { page.act(steps); }); };
        page.act("m400,950 t20");
        page.calls();
        CHECK(renders("d271,770"));
        CHECK(page.value(3) == doctest::Approx(5.0));  // from 124 to 418
        CHECK((page.state.dragRow == 3 && page.state.focusRow == 3 && page.recorder.capture == page.window));
        CHECK(page.calls() == "captureMouse, startTimer 401 16, invalidate");
        CHECK_FALSE(renders("m271,20"));
        CHECK(page.calls() == "trackLeave");
        const std::pair<const char*, float> moves[] = {{"m-900,1500", 0.0f},
                                                       {"m2000,3", 10.0f},
                                                       {"m418,0", 10.0f},
                                                       {"m124,0", 0.0f},
                                                       {"m198,0", 2.517007f}};
        for (const auto& [move, value] : moves) {
            renders(move);
            CHECK(page.has(3, value));
        }
        page.act("l m538,20");  // neither a leave nor another place ends it, or hovers
        CHECK((page.state.okButton.hot && !page.state.closeHovered && page.state.dragRow == 3));
        page.calls();
        page.act("u538,20");
        CHECK(page.calls() == "releaseMouse, invalidate");
        CHECK((!page.state.okButton.hot && page.state.closeHovered && page.state.dragRow == -1 &&
               page.recorder.capture == nullptr));
        CHECK_FALSE(renders("m271,770"));
        // A press on the very value changes nothing; what is no number always counts as a change.
        CHECK(renders("d271,770"));
        CHECK_FALSE(renders("u271,770 d271,770"));
        page.setValue(3, std::numeric_limits<float>::quiet_NaN());
        CHECK(renders("m271,770"));
        CHECK(page.value(3) == doctest::Approx(5.0));
    });
}

TEST_CASE("arrows and keys step by the row's step, stay in the range, and render only a change") {
    const std::tuple<int, float, bool, float> table[] = {
        {0, 0.7f, true, 0.71f},   {0, 2.495f, true, 2.5f}, {0, 0.0f, false, 0.0f},
        {1, 0.5f, false, 0.49f},  {2, 1.0f, false, 2.0f},  {2, 600.0f, true, 600.0f},
        {2, 7.25f, false, 6.25f}, {3, 5.0f, true, 5.01f},  {4, 0.5f, true, 0.51f},
        {5, 0.5f, false, 0.49f},  {6, 0.4f, true, 1.4f},   {6, 35.0f, false, 30.0f}};
    Run([&](Page& page) {
        CHECK_FALSE(page.send({.kind = Kind::key, .key = Key::up}));  // no row has the keys
        for (const auto& [row, from, up, to] : table) {
            const int y = 632 + 44 * row;
            const std::string arrow = "d530," + std::to_string(up ? y + 10 : y + 11);
            for (const std::string& way :
                 {arrow, std::string(up ? "kU" : "kD"), std::string(up ? "kR" : "kL")}) {
                INFO("row ", row, " from ", from, " by ", way);
                page.act("d530," + std::to_string(y));
                page.setValue(row, from);
                CHECK(page.renders([&] { page.act(way); }) == (from != to));
                CHECK((page.has(row, to) && page.state.focusRow == row));
            }
        }
        for (const Key key : {Key::other, Key::enter, Key::escape})
            CHECK_FALSE(page.send({.kind = Kind::key, .key = key}));
        CHECK(page.send({.kind = Kind::key, .key = Key::left}));
        page.act("d30,580");  // the row with the keys goes out of sight
        CHECK_FALSE(page.send({.kind = Kind::key, .key = Key::left}));
        CHECK_FALSE(page.send({.kind = Kind::captureLost}));
        page.calls();
        CHECK(page.send({.kind = Kind::timer, .timer = 400}));
        CHECK(page.calls().empty());
    });
}

TEST_CASE(
    "a check box flips its value and renders only what the picture shows; a label resets on two clicks") {
    Run([](Page& page) {
        const auto renders = [&](const char* steps) { return page.renders([&] { page.act(steps); }); };
        const VeilParams& params = page.state.params;
        const std::vector<std::uint8_t> whole = page.currentPixels();
        CHECK(renders("c30,370"));
        CHECK((page.state.previewGlowOnly && page.recorder.previewPixels != whole));
        CHECK(renders("d30,370 u30,370 D30,370"));  // flips twice
        CHECK(page.state.previewGlowOnly);
        CHECK_FALSE(renders("c30,530"));
        CHECK((params.outputGlowOnly == 1 && page.state.outputToggle.accented));
        CHECK(renders("c30,580"));
        CHECK((params.advancedMode == 0 && !page.state.advancedToggle.accented));
        CHECK((params.fog == kMiddle.fog && params.highlightBoost == kMiddle.highlightBoost));
        CHECK_FALSE(renders("d20,632 u20,632"));
        CHECK_FALSE(renders("D20,860"));
        page.act("c30,580");
        // The values of the built-in look that the block names, row by row; nothing lights up.
        const float resets[] = {0.9f, 0.0f, 180.0f, 0.6f, 0.2f, 0.06f, 0.0f};
        for (int row = 0; row < 7; ++row) {
            page.act("l t10");
            CHECK(renders(("D115," + std::to_string(653 + 44 * row)).c_str()));
            CHECK(page.has(row, resets[row]));
            if (row < 6) CHECK_FALSE(page.has(row + 1, resets[row + 1]));
        }
        CHECK(page.state.animations[20321].value == 0.0f);
        CHECK((page.state.presetBox.label == L"Gilt Veil"));
    });
}
