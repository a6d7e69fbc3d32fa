// Presses, moves and releases in every order, and everything at random.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "tests/dialog/page.h"
#include "tests/toolkit/recorded_lines.h"

using namespace veil;
using namespace dialogtest;

namespace {

enum Spot { ok, cancel, close, slider, value, arrow, label, toggle, nowhere, kSpots };
constexpr PixelPoint kPoints[kSpots] = {{390, 960}, {500, 960}, {538, 20},  {271, 687}, {476, 643},
                                        {532, 635}, {60, 687},  {100, 530}, {300, 750}};
constexpr Kind kKinds[] = {Kind::buttonDown, Kind::buttonUp, Kind::mouseMove, Kind::doubleClick};

// What a sequence should end in. The user types 33 as soon as the box of the first row is open.
struct Model {
    bool pressed[3] = {};  // ok, cancel, close
    bool drags = false, edits = false, glowOnly = true;
    int focus = -1, end = 0;
    double strength = 0.7, threshold = 0.5;

    void drag(int spot) { threshold = std::clamp((kPoints[spot].x - 124) / 294.0, 0.0, 1.0) * 2.0; }
    void press(int spot) {
        if (edits && spot != value) edits = false, strength = 0.33;
        if (spot <= close) pressed[spot] = true;
        if (spot == value) edits = true;
        if (spot == value || spot == arrow) focus = 0;
        if (spot == arrow) strength += 0.01;
        if (spot == slider) focus = 1, drags = true, drag(spot);
        if (spot == toggle) glowOnly = !glowOnly;
    }
    void release(int spot) {
        if (drags) {
            drags = false;
            return;
        }
        if (spot <= close && pressed[spot]) end = spot == ok ? 1 : 2;
        pressed[ok] = pressed[cancel] = pressed[close] = false;
    }
    void take(Kind kind, int spot) {
        if (kind == Kind::buttonUp) release(spot);
        if (kind == Kind::mouseMove && drags) drag(spot);
        if (kind == Kind::doubleClick && spot == label) threshold = 0.0;
        if (kind == Kind::buttonDown || (kind == Kind::doubleClick && spot != label)) press(spot);
    }
};

// The dialog as it was opened. Its window lives on, whatever it was told.
void reset(Page& page, const VeilParams& block) {
    MainDialogState& s = page.state;
    page.window->ended = false;
    if (s.editRow >= 0) page.act("eS");
    releaseMouse(page.window);
    s.params = block;
    syncSlidersFromParams(s);
    s.okButton.pressed = s.cancelButton.pressed = s.closePressed = false;
    s.outputToggle.accented = true;
    s.dragRow = s.focusRow = -1;
    page.recorder.windowCalls.clear();
}

bool agrees(Page& page, const Model& m) {
    const MainDialogState& s = page.state;
    if (m.end != 0) return page.window->ended && page.window->result == m.end;
    const auto near = [](float a, double b) { return std::abs(double(a) - b) < 1e-6; };
    return s.okButton.pressed == m.pressed[ok] && s.cancelButton.pressed == m.pressed[cancel] &&
           s.closePressed == m.pressed[close] && s.dragRow == (m.drags ? 1 : -1) &&
           s.editRow == (m.edits ? 0 : -1) && s.focusRow == m.focus &&
           (s.params.outputGlowOnly != 0) == m.glowOnly && s.outputToggle.accented == m.glowOnly &&
           near(s.params.strength, m.strength) && near(s.params.threshold, m.threshold) &&
           !page.window->ended && page.box()->visible == m.edits &&
           (page.recorder.capture == page.window) == m.drags;
}

std::string painted(Page& page) {
    page.recorder.draws.clear();
    page.paint();
    return linesWithFonts(std::exchange(page.recorder.draws, {}));
}

}  // namespace

TEST_CASE("every sequence of up to four presses, releases, moves and double-clicks ends where it should") {
    Run(
        [](Page& page) {
            const VeilParams block{0, 0, 0.5f, 6.0f, 0.7f, 0.25f, 8.0f, 1.5f, 0.5f, 1, 1};
            constexpr int kMessages = 4 * kSpots;
            long disagreements = 0;
            for (int code = 0; code < kMessages * kMessages * kMessages * kMessages; ++code) {
                // The last digit comes first. What is no press does no more than hover there, so that it
                // needs
                // no fourth message behind it.
                if (code % kMessages >= kSpots && code >= kMessages * kMessages * kMessages) continue;
                Model model;
                reset(page, block);
                for (int i = 0, rest = code; i < 4 && model.end == 0; ++i, rest /= kMessages) {
                    const Kind kind = kKinds[rest % kMessages / kSpots];
                    const int spot = rest % kSpots;
                    model.take(kind, spot);
                    // Past the loop, which would let the window go at its end.
                    page.window->handler(page.window->context, page.window,
                                         {.kind = kind, .point = kPoints[spot]});
                    if (page.box()->visible) page.box()->text = L"33";
                    if (agrees(page, model)) continue;
                    INFO("sequence ", code, " message ", i);
                    if (++disagreements < 10) CHECK(agrees(page, model));
                    break;
                }
            }
            CHECK(disagreements == 0);
            reset(page, block);
        },
        {.host = {.hasAdvanceState = false}});
}

TEST_CASE("a user who does anything at all leaves the page consistent after every message") {
    std::mt19937 random(7);
    const auto below = [&](int n) { return int(random() % unsigned(n)); };
    int messages = 0;
    bool isDown = false;
    const auto walk = [&](Page& page) {
        MainDialogState& s = page.state;
        isDown = false;
        for (; page.window->open && messages < 100000; ++messages) {
            if (page.recorder.scripts.empty())
                page.recorder.scripts.emplace_back([&, row = below(8) - 1, saves = below(2)](Window* w) {
                    if (w->id == 0) return clickAt(w, 30, row * 26 + 13);
                    typeCharacter(w->focusedBox, wchar_t(L'a' + row));
                    typeKey(w->focusedBox, saves ? Key::enter : Key::escape);
                });
            const RectI rects[] = {rectOf(s.previewToggle), rectOf(s.outputToggle), rectOf(s.advancedToggle),
                                   rectOf(s.presetBox),     rectOf(s.saveButton),   {116, 632, 542, 940},
                                   {116, 632, 542, 940},    {16, 632, 542, 940},    {-50, -50, 600, 1000},
                                   {346, 944, 542, 976},    {500, 0, 558, 45}};
            const RectI& r = rects[below(11)];
            const PixelPoint p{r.left + below(r.right - r.left), r.top + below(r.bottom - r.top)};
            const int what = below(16);
            const bool looks = messages % 16 == 0;
            const std::string before = looks ? painted(page) : "";
            if (what < 4) page.send({.kind = Kind::mouseMove, .point = p});
            if (what >= 4 && what < 10) {
                const Kind press = what == 4 ? Kind::doubleClick : Kind::buttonDown;
                if (!isDown && what == 9)
                    page.send({.kind = Kind::mouseMove, .point = p});
                else
                    page.send({.kind = isDown ? Kind::buttonUp : press, .point = p});
                isDown = isDown ? false : what != 9;
            }
            if (what == 10) page.send({.kind = Kind::mouseLeave});
            if (what == 11) fireTimer(page.window, 401);
            const Key key = Key(below(7));
            if (what == 12 && !page.window->focusedBox) page.send({.kind = Kind::key, .key = key});
            if (what >= 13 && page.window->focusedBox)
                typeCharacter(page.box(), wchar_t(L"0123456789.-\b"[below(13)]));
            if (what == 12 && page.window->focusedBox) typeKey(page.box(), key);
            if (what == 15 && below(8) == 0) page.paint();
            if (!page.window->open) break;
            // What changes the page asks for a paint of it.
            INFO("message ", messages);
            if (looks && !page.window->paintDue && page.recorder.draws.empty())
                CHECK(painted(page) == before);

            bool holds = s.params.presetId >= 0 && s.params.presetId < 4 &&
                         s.animationTimerRunning == page.window->timers.contains(401);
            for (std::size_t i = 0; i < 7; ++i) {
                const SliderRecord& slider = s.sliders[i];
                holds &= slider.value >= slider.minimum && slider.value <= slider.maximum &&
                         s.params.*kSliderDefinitions[i].param == slider.value;
            }
            const int presses =
                s.saveButton.pressed + s.okButton.pressed + s.cancelButton.pressed + s.closePressed;
            holds &= presses + (s.dragRow >= 0) <= int(isDown) && !(s.dragRow >= 0 && s.editRow >= 0);
            holds &= page.recorder.capture == (s.dragRow >= 0 ? page.window : nullptr);
            holds &= page.box()->visible == (s.editRow >= 0) &&
                     (page.window->focusedBox != nullptr) == (s.editRow >= 0);
            holds &= s.outputToggle.accented == (s.params.outputGlowOnly != 0) &&
                     s.advancedToggle.accented == (s.params.advancedMode != 0);
            holds &= s.previewToggle.accented == s.previewGlowOnly && !s.presetBox.hot;
            holds &= s.preview.width == 12 && s.preview.height == 9 && s.params.reserved == 77;
            REQUIRE(holds);
            if (looks) CHECK((s.preview.displayPixels == page.currentPixels()));
            page.recorder.draws.clear();
            page.recorder.windowCalls.clear();
        }
    };
    while (messages < 100000) Run run(walk);
}
