// Looks and the user's presets, and what of all that the host gets in the end.

#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <tuple>

#include "tests/dialog/page.h"

using namespace veil;
using namespace dialogtest;

namespace {

const PresetEntry kMine{"Mine", 1, 9.0f, 3.0f, 0.4f, 0.3f, 7.0f, 1.25f, 0.75f, 1};
const PresetEntry kPearl{"Pearl Veil", 3, 0.25f, 4.0f, 0.5f, 0.3f, 7.0f, 1.25f, 0.75f, 0};

bool sameBytes(const VeilParams& a, const VeilParams& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

VeilParams blockOf(const PresetEntry& e, const VeilParams& rest) {
    return {e.presetId,       rest.reserved,    e.threshold,     e.radius,          e.strength,      e.fog,
            e.highlightBoost, e.glowSaturation, e.shadowProtect, rest.advancedMode, e.outputGlowOnly};
}

// The user picks `row` in the list; the calls before the list is shown.
std::string choose(Page& page, int row) {
    std::string told;
    page.recorder.scripts.emplace_back([&](Window* popup) {
        CHECK((page.state.presetBox.hot && !page.window->paintDue));
        told = page.calls();
        clickAt(popup, 200, row * 26 + 25);
    });
    page.act("d80,430");
    CHECK((!page.state.presetBox.hot && page.window->paintDue && page.recorder.scripts.empty()));
    return told;
}

// The user saves under `name`, or cancels without one.
void save(Page& page, const std::string& name) {
    page.recorder.scripts.emplace_back([&](Window* dialog) {
        CHECK((dialog->id == 16020 && dialog->owner == page.window && !page.window->paintDue));
        CHECK_FALSE(page.state.saveButton.pressed);
        for (const char c : name) typeCharacter(dialog->focusedBox, wchar_t(c));
        typeKey(dialog->focusedBox, name.empty() ? Key::escape : Key::enter);
    });
    CHECK_FALSE(page.renders([&] {
        page.act("d310,430 u541,457");
        CHECK(page.window->paintDue == !name.empty());
    }));
}

}  // namespace

TEST_CASE("a choice takes every value of its entry and nothing else, and the mark follows the name") {
    std::filesystem::remove_all(presetFilePath());
    for (const PresetEntry& entry : {kMine, kPearl}) writeUserPreset(entry);
    Run(
        [](Page& page) {
            MainDialogState& s = page.state;
            const auto renders = [&](int row) { return page.renders([&] { choose(page, row); }); };
            const auto shows = [&](const VeilParams& block, const wchar_t* name) {
                VeilParams sliders = s.params;
                for (std::size_t i = 0; i < 7; ++i) sliders.*kSliderDefinitions[i].param = s.sliders[i].value;
                return sameBytes(s.params, block) && sameBytes(sliders, block) && s.presetBox.label == name &&
                       s.outputToggle.accented == (block.outputGlowOnly != 0);
            };
            page.act("m80,430");
            page.calls();
            CHECK(choose(page, -3) ==
                  "invalidate, repaintNow, createPopup 1114 1190 330 234, createTextFormat 13 400, "
                  "createWindowRenderTarget 1.5, showPopup, runPopup");
            CHECK_FALSE(renders(1));  // marked, so that changed values stay
            CHECK_FALSE(renders(-3));
            CHECK(shows(kMiddle, L"Gilt Veil"));
            CHECK(renders(3));
            CHECK(shows({3, 77, 0.75f, 140.0f, 1.6f, 0.35f, 0.0f, 1.1f, 0.0f, 1, 0}, L"Anamorphic Flare"));
            page.act("c30,580 c30,530");
            CHECK(renders(2));
            CHECK(shows({2, 77, 0.0f, 180.0f, 1.2f, 0.2f, 0.0f, 1.0f, 0.0f, 0, 1}, L"Pearl Veil"));
            page.act("c30,530");
            CHECK(renders(4));
            CHECK(shows(blockOf(kMine, s.params), L"Mine"));
            CHECK(s.params.outputGlowOnly == 1);
            CHECK_FALSE(renders(4));
            page.act("D20,730");
            CHECK((page.value(2) == 180.0f && s.presetBox.label == L"Mine"));
            CHECK(renders(5));
            CHECK(shows(blockOf(kPearl, s.params), L"Pearl Veil"));
            CHECK_FALSE(renders(2));  // a user preset of a built-in look's name is marked as the look
            CHECK(renders(5));
            s.presetBox.label = L"Pearl Vei";  // on no entry: the look of the values is marked
            CHECK_FALSE(renders(3));
            CHECK(renders(0));
            page.recorder.refusesPopups = true;
            CHECK_FALSE(page.renders([&] { page.act("d80,430"); }));
            CHECK((s.presetBox.label == L"Dusky Veil" && !s.presetBox.hot));
        },
        {.prepare = [](Recorder& r) { r.scale = 1.5f; }});
}

TEST_CASE("saving keeps the values under the name, in the list and in the file, and changes nothing else") {
    std::filesystem::remove_all(presetFilePath());
    const VeilParams block{3, 77, 0.5f, 6.0f, 0.75f, 0.25f, 8.0f, 1.5f, 0.125f, 1, 1};
    Run(
        [&](Page& page) {
            const MainDialogState& s = page.state;
            std::vector<std::string> names;
            for (const char* name : {"Own", "", "Gilt Veil", "own", "a[b]", "Own", "Gilt Veil"}) {
                INFO("saved ", std::string(name));
                page.act("d530,640 u9,9");  // another strength
                const std::wstring label = s.presetBox.label;
                const VeilParams before = s.params;
                save(page, name);
                CHECK(sameBytes(s.params, before));
                if (*name && std::find(names.begin(), names.end(), name) == names.end())
                    names.emplace_back(name);
                REQUIRE(s.userPresets.size() == names.size());
                for (std::size_t i = 0; i < names.size(); ++i) {
                    CHECK(s.userPresets[i].name == names[i]);
                    if (names[i] == name) CHECK(sameBytes(blockOf(s.userPresets[i], before), before));
                }
                CHECK((s.presetBox.label == (*name ? std::wstring(name, name + std::strlen(name)) : label)));
                const std::string stored = *name == 'a' ? "a_b_" : *name == 'o' ? "Own" : name;
                bool found = stored.empty();
                for (const PresetEntry& entry : loadUserPresets())
                    found |= entry.name == stored &&
                             entry.strength == doctest::Approx(before.strength).epsilon(1e-4);
                CHECK(found);
            }
            CHECK_FALSE(page.renders([&] { choose(page, 1); }));
            std::filesystem::remove_all(presetFilePath());
            std::filesystem::create_directory(presetFilePath());  // nothing can be written
            save(page, "Lost");
            CHECK((s.userPresets.back().name == "Lost" && s.presetBox.label == L"Lost" &&
                   loadUserPresets().empty()));
            std::filesystem::remove_all(presetFilePath());
        },
        {.block = block});
}

TEST_CASE("confirmed, all bytes reach the block and then the picture; cancelled, neither changes") {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const VeilParams odd{9, -5, -3.0f, 1.0f, nan, 1.5f, 45.0f, 11.0f, -0.5f, 5, -1};
    // Values out of range stay until they are touched; a byte that nobody reads stays always.
    const VeilParams touched{9, -5, -3.0f, 2.0f, nan, 0.18f, 30.0f, 11.0f, -0.5f, 0, 0};
    const std::tuple<VeilParams, const char*, bool, VeilParams> table[] = {
        {kMiddle, "d390,960 u390,960", true, kMiddle},
        {odd, "N", true, odd},
        {odd, "d530,738 d530,910 D20,855 c30,530 c30,580 N", true, touched},
        {odd, "c30,530 c30,580 d500,960 u500,960", false, odd},
        {kMiddle, "d530,640 d538,20 u538,20", false, kMiddle},
        {kMiddle, "d530,640 d390,960 u500,960 S", false, kMiddle},
        {kMiddle, "d530,640 d390,960 u391,980", false, kMiddle},  // ends by itself
        {kMiddle, "", false, kMiddle}};
    for (const auto& [block, steps, confirms, wanted] : table) {
        INFO(std::string(steps));
        const auto user = [&, acts = std::string(steps)](Page& page) {
            CHECK((page.state.presetBox.label ==
                   (page.state.params.presetId == 9 ? L"Dusky Veil" : L"Gilt Veil")));
            CHECK((page.value(0) == page.state.params.strength || page.value(0) != page.value(0)));
            page.act(acts);
            if (acts.ends_with('N')) page.send({.kind = Kind::command, .command = Command::ok});
            if (acts.ends_with('S')) page.send({.kind = Kind::command, .command = Command::cancel});
            if (!acts.ends_with("980"))
                CHECK(page.calls().find("enableOwner, endModalDialog") != std::string::npos);
            CHECK(page.recorder.calls.empty());
        };
        const bool refuses = !*steps;
        Run run(user, {.block = block, .prepare = [=](Recorder& r) { r.refusesDialogs = refuses; }});
        CHECK(run.report.result == (confirms ? photoshop::noErr : photoshop::userCanceledErr));
        CHECK(sameBytes(*run.stored, wanted));
        CHECK((run.recorder.windowCalls.back() == "reviveOwner"));
        standin::Image image = hosttest::picture(12, 9);
        if (confirms) hosttest::checkedRun(image, wanted, {});
        CHECK((run.session.image() == image));
    }
}
