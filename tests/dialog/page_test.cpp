// What the page shows, draw by draw, and how the window comes and goes.

#include <doctest/doctest.h>

#include <tuple>

#include "dialog/texts.h"
#include "tests/dialog/page.h"
#include "tests/toolkit/recorded_lines.h"
#include "toolkit/theme.h"

using namespace veil;
using namespace dialogtest;

namespace {

constexpr TextPair kHints[] = {kStrengthHint, kThresholdHint, kRadiusHint,    kSaturationHint,
                               kShadowHint,   kFogHint,       kLightBoostHint};

// The page as the painters paint it when each is called by hand, in the order of the page.
struct ExpectedPage {
    const MainDialogState& s;
    RenderTargetHolder holder = createImageRenderTarget(558, 992, 1.0f);
    RenderTarget* t = holder.get();
    TextFormatHolder body = font(13.0f, 400), bold = font(13.0f, 600), small = font(11.0f, 400),
                     headings = font(11.5f, 600), howTo = font(12.0f, 400);

    static TextFormatHolder font(float size, int weight) {
        return createTextFormat(L"Segoe UI", size, weight);
    }
    BrushHolder brush(const Color& color) const { return createColorBrush(t, color); }
    float animated(std::uint32_t key) const {
        return s.animations.contains(key) ? s.animations.at(key).value : 0.0f;
    }
    void write(const wchar_t* text, const RectF& r, const TextFormatHolder& format, const Color& color,
               TextAlign align = TextAlign::leading) const {
        drawSingleLineText(t, text, r, format.get(), brush(color).get(), align, ParagraphAlign::centre);
    }
    void checkBox(std::uint32_t id, const ControlRecord& box) const {
        drawCheckBox(t, body.get(), box, animated(id * 10));
    }
    void button(std::uint32_t id, const ControlRecord& record) const {
        drawButton(t, bold.get(), record, animated(id * 10));
    }
    void row(int i, std::uint32_t id, const wchar_t* name) const {
        const std::size_t at = std::size_t(i);
        const float top = 632.0f + 44.0f * float(i), value = s.sliders[at].value;
        if (i >= 5 && s.params.advancedMode == 0) return;
        if (i == s.focusRow)
            fillRoundRect(t, {16, top - 4, 542, top + 26}, 6.0f, brush(withAlpha(colorAccent, 0.08f)).get());
        write(name, {16, top, 116, top + 22}, body, colorText);
        drawSlider(t, s.sliders[at], animated(id * 10));
        drawSpinner(t, s.spinButtons[at]);
        const Color color = mixColor(colorAccent, colorWhite, animated(id * 10 + 1) * 0.7f);
        const std::wstring text = formatSliderValue(i, value);
        if (i != s.editRow) write(text.c_str(), {436, top, 516, top + 22}, bold, color, TextAlign::trailing);
        write(localized(kHints[i]), {16, top + 24, 542, top + 38}, small, colorTextDim);
    }
    void picture() const {
        fillRectangle(t, {16, 98, 542, 358}, brush(fromBytes(20, 20, 24)).get());
        if (!s.preview.ready)
            return write(localized(kNoPreviewText), {16, 98, 542, 358}, body, colorText, TextAlign::centre);
        if (s.preview.displayPixels.empty()) return;
        const std::vector<std::uint8_t> pixels(12 * 9 * 4);
        // 260 / 9 times 12 is 346.67.
        drawBitmap(t, createPreviewBitmap(t, pixels.data(), 12, 9).get(), {106, 98, 452, 358});
        strokeRectangle(t, {17, 99, 541, 357}, brush(colorAccent).get(), 2.0f);
    }
    void paint() const {
        beginDraw(t);
        clearTarget(t, colorWindow);
        const BitmapHolder banner = loadBannerBitmap(t, 3001);
        drawTitleBar(t, bold.get(), 558, L"Lucent Veil \u2014 Dusky Veil", s.closeHovered, s.closePressed,
                     banner.get());
        drawWrappedText(t, localized(kHowToText), {16, 48, 542, 88}, howTo.get(), brush(colorTextDim).get());
        picture();
        checkBox(2002, s.previewToggle);
        checkBox(2021, s.outputToggle);
        checkBox(2023, s.advancedToggle);
        for (const auto& [top, label] : {std::pair(400, L"PRESET"), {492, L"OUTPUT"}, {602, L"ADJUSTMENTS"}})
            drawSectionHeader(t, headings.get(), {16, top, 542, top + 14, label});
        write(L"Preset", {16, 428, 72, 458}, body, colorText);
        drawComboBox(t, body.get(), s.presetBox, animated(20110));
        button(2013, s.saveButton);
        write(localized(kPresetHintText), {16, 464, 542, 478}, small, colorTextDim);
        write(localized(kOutputHintText), {16, 546, 542, 560}, small, colorTextDim);
        row(0, 2032, L"Strength");
        row(1, 2036, L"Threshold");
        row(2, 2040, L"Radius");
        row(3, 2052, L"Saturation");
        row(4, 2056, L"Shadow");
        row(5, 2044, L"Fog");
        row(6, 2048, L"Light Boost");
        button(1, s.okButton);
        button(2, s.cancelButton);
        write(L"v1.0.10", {16, 944, 334, 976}, small, colorTextDim);
        drawWindowFrame(t, 558, 992);
        endDraw(t);
    }
};

void checkPaint(Page& page) {
    page.recorder.draws.clear();
    page.paint();
    const std::string actual = linesWithFonts(page.recorder.draws);
    Recorder own;
    own.refusesBanners = page.state.bannerBitmap == nullptr;
    own.refusesFormats = page.state.bodyFont == nullptr;
    installRecorder(&own);
    ExpectedPage{page.state}.paint();
    installRecorder(&page.recorder);
    CHECK(actual == linesWithFonts(own.draws));
}

float eased(float p) { return 1.0f - (1.0f - p) * (1.0f - p) * (1.0f - p); }

}  // namespace

TEST_CASE("a paint has every draw in its place and order, whatever the state of the page") {
    Run([](Page& page) {
        for (const char* steps :
             {"", "c30,370", "c30,525", "c30,580 m0,991", "m538,20", "d538,20", "d540,450", "d350,950",
              "d460,950", "c530,640 t3", "c530,690", "c470,770", "c470,870", "d30,580"}) {
            INFO(std::string(steps));
            page.act(steps);
            checkPaint(page);
        }
        page.state.presetBox.hot = true;
        checkPaint(page);
        // Made once, and again after a render or a loss.
        for (const bool anew : {true, false}) {
            page.recorder.previewPixels.clear();
            if (anew) page.act("c30,370");
            checkPaint(page);
            CHECK(page.recorder.previewPixels.empty() != anew);
            CHECK(page.state.bannerBitmap);
            page.recorder.refusesBanners = true;
        }
        page.state.preview.displayPixels = std::vector<std::uint8_t>();  // no bitmap can be made
        page.state.previewBitmap.reset();
        checkPaint(page);
    });
    const auto withoutBanner = [](Page& page) {
        checkPaint(page);
        page.recorder.refusesBanners = false;
        checkPaint(page);
        CHECK_FALSE(page.state.bannerBitmap);  // it is tried once
    };
    Run(withoutBanner, {.prepare = [](Recorder& r) { r.refusesBanners = true; }});
    Run(checkPaint, {.prepare = [](Recorder& r) { r.refusesFormats = true; }});
    Run(checkPaint, {.host = {.hasAdvanceState = false}});
    const auto withoutTarget = [](Page& page) {
        page.act("m100,450 c100,640");
        page.paint();
        CHECK(page.recorder.draws.empty());
    };
    Run(withoutTarget, {.prepare = [](Recorder& r) { r.refusesTargets = true; }});
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

TEST_CASE("every painted text is that of the language, and none is another than it was") {
    const auto user = [](Page& page) {
        CHECK((page.state.okButton.accented && page.state.outputToggle.accented));
        page.act("c30,580");
        page.recorder.draws.clear();
        page.paint();
        std::uint32_t sum = 0;
        for (const RecordedDraw& draw : page.recorder.draws)
            for (const wchar_t c : draw.text) sum = sum * 31 + static_cast<std::uint32_t>(c);
        CHECK(sum == (isJapaneseSystem() ? 905754884u : 4102672796u));
    };
    Run(user, {.block = {}, .host = {.hasAdvanceState = false}, .prepare = [](Recorder& r) {
                   r.refusesBanners = true;
               }});
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
            page.paint();
            // A lost target comes back with all that belongs to it; another paint follows.
            page.recorder.losesTarget = true;
            page.paint();
            CHECK(page.calls() == "releaseRenderTarget, " + target + ", invalidate");
            page.recorder.previewPixels.clear();
            checkPaint(page);
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
