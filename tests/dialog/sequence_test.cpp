// Presses, moves, releases and keys at random.

#include <doctest/doctest.h>

#include <random>
#include <utility>

#include "tests/dialog/page.h"
#include "tests/toolkit/recorded_lines.h"

using namespace veil;
using namespace dialogtest;

namespace {

std::string painted(Page& page) {
    page.recorder.draws.clear();
    page.paint();
    return linesWithFonts(std::exchange(page.recorder.draws, {}));
}

}  // namespace

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
