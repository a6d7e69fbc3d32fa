#include <doctest/doctest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/toolkit/recorded_lines.h"
#include "toolkit/widgets.h"

using namespace veil;

namespace {

using Paint = std::function<void(RenderTarget*, TextFormat*)>;

const TextFormat kFont{L"Face", 13.0f, 400};

struct Stage : InstalledRecorder {
    // The draws of `paint`, which leaves no brush behind.
    Lines drawn(const Paint& paint) {
        recorder.draws.clear();
        const RenderTargetHolder target = createImageRenderTarget(1, 1, 1.0f);
        const TextFormatHolder format = createTextFormat(kFont.family.c_str(), kFont.size, kFont.weight);
        paint(target.get(), format.get());
        CHECK(recorder.liveBrushes.empty());
        CHECK_FALSE(recorder.brushesOutOfOrder);
        Lines lines;
        for (const RecordedDraw& draw : recorder.draws) {
            CHECK(draw.font == (draw.text.empty() ? TextFormat{} : kFont));
            lines.push_back(line(draw));
        }
        return lines;
    }
};

// Flags: a accented, h hot, p pressed, d disabled.
ControlRecord control(RectI r, const wchar_t* label, const std::string& flags) {
    const auto has = [&](char flag) { return flags.find(flag) != flags.npos; };
    return {7, r.left, r.top, r.right, r.bottom, label, has('a'), has('h'), has('p'), !has('d')};
}

Paint button(std::string flags, float hover) {
    return [=](auto* t, auto* f) { drawButton(t, f, control({10, 20, 110, 50}, L"OK", flags), hover); };
}
Paint checkBox(std::string flags, float hover, const wchar_t* label = L"On") {
    return [=](auto* t, auto* f) { drawCheckBox(t, f, control({16, 366, 542, 387}, label, flags), hover); };
}
Paint comboBox(std::string flags, float hover) {
    return [=](auto* t, auto* f) { drawComboBox(t, f, control({76, 428, 296, 458}, L"Soft", flags), hover); };
}
Paint slider(float minimum, float maximum, float value, float hover, std::int32_t right = 426) {
    return [=](auto* t, auto*) { drawSlider(t, {1, 116, 632, right, 654, minimum, maximum, value}, hover); };
}
Paint spinner(bool up, bool down) {
    return [=](auto* t, auto*) { drawSpinner(t, {{522, 632, 542, 643}, {522, 643, 542, 654}, up, down}); };
}
Paint titleBar(const wchar_t* title, bool hot, bool pressed) {
    return [=](auto* t, auto* f) { drawTitleBar(t, f, 300.0f, title, hot, pressed, nullptr); };
}
Paint bannerBar(float width, SizeF size) {
    return [=](auto* t, auto* f) {
        installedRecorder()->bannerSize = size;
        drawTitleBar(t, f, width, L"Title", false, false, loadBannerBitmap(t, 3001).get());
    };
}

const SizeF kBanner{440, 80};

// Every widget, in its states and at the edges of values and widths.
const std::pair<std::string, Paint> kCases[] = {
    {"check box, half hovered", checkBox("h", 0.5f)},
    {"check box, checked", checkBox("ah", 1)},
    {"check box, disabled, without a label", checkBox("pdh", 0, L"")},
    {"combo box", comboBox("apd", 0)},
    {"combo box, open", comboBox("h", 1)},
    {"header",
     [](auto* t, auto* f) {
         drawSectionHeader(t, f, {16, 400, 542, 414, L"Look"});
     }},
    {"slider", slider(10, 30, 15, 0)},
    {"slider at its end, half hovered", slider(0, 1, 1, 0.5f)},
    {"slider beyond its end, hovered", slider(0, 1, 1.5f, 1)},
    {"slider at its start", slider(10, 30, 10, 1)},
    {"slider without a range", slider(5, 5, 9, 0)},
    {"slider with its ends exchanged", slider(9, 5, 7, 0)},
    {"slider without a track", slider(0, 1, 1, 0, 132)},
    {"slider with less than a track", slider(0, 1, 1, 0, 126)},
    {"spinner", spinner(false, false)},
    {"spinner, up", spinner(true, false)},
    {"spinner, down", spinner(false, true)},
    {"title", titleBar(L"Title", false, false)},
    {"no title, close hot", titleBar(nullptr, true, false)},
    {"no title, close pressed", titleBar(nullptr, false, true)},
    {"no title, close both", titleBar(nullptr, true, true)},
    {"banner", bannerBar(300, kBanner)},
    {"banner with just its room", bannerBar(199, kBanner)},
    {"banner with less", bannerBar(150, kBanner)},
    {"banner with none", bannerBar(78, kBanner)},
    {"small banner", bannerBar(300, {10, 20})},
    {"banner without a width", bannerBar(300, {0, 80})},
    {"banner without a height", bannerBar(300, {440, 0})},
    {"frame", [](auto* t, auto*) { drawWindowFrame(t, 558, 992); }},
    {"primary", button("ah", 0)},
    {"primary, half hovered", button("a", 0.5f)},
    {"primary, hovered", button("ah", 1)},
    {"primary, pressed", button("ap", 0)},
    {"primary, pressed and hovered", button("ap", 1)},
    {"primary, disabled", button("ad", 1)},
    {"primary, disabled and pressed", button("apd", 1)},
    {"secondary, hot but not hovered", button("h", 0)},
    {"secondary, half hovered", button("", 0.5f)},
    {"secondary, hardly hovered", button("", 1e-6f)},
    {"secondary, hovered", button("h", 1)},
    {"secondary, pressed", button("p", 1)},
    {"secondary, disabled", button("d", 0)},
    {"secondary, disabled and hovered", button("d", 1)},
    {"secondary, disabled and pressed", button("pd", 1)},
};

}  // namespace

TEST_CASE("every widget draws its figures in their order, at their places and in its state's colours") {
    Stage stage;
    std::string seen;
    for (const auto& [name, paint] : kCases) seen += "== " + name + "\n" + joined(stage.drawn(paint));
    checkListing("painters.txt", seen);
}

TEST_CASE("a missing target, format, gradient, banner or brush drops more or less than what needs it") {
    Stage stage;
    for (const auto& [name, paint] : kCases) {
        INFO(name);
        const Lines all = stage.drawn(paint);
        Lines textless = all, painted = all, plain = all;
        std::erase_if(textless, [](const auto& l) { return l.starts_with("drawSingleLineText"); });
        std::erase_if(painted, [](const auto& l) { return l.starts_with("drawBitmap"); });
        std::erase_if(plain, [](const auto& l) { return l.find(" to ") != l.npos; });
        const auto drawnWithout = [&, &draw = paint](bool Recorder::*refuses) {
            stage.recorder.*refuses = true;
            const Lines lines = stage.drawn(draw);
            stage.recorder.*refuses = false;
            return joined(lines);
        };
        CHECK(drawnWithout(&Recorder::refusesFormats) == joined(textless));
        CHECK(drawnWithout(&Recorder::refusesTargets) == "");
        CHECK(drawnWithout(&Recorder::refusesGradients) == joined(plain));

        Lines dropped;  // by refusing one brush after the other: each draw once, but the bitmap's
        for (int k = 1;; ++k) {
            stage.recorder.refusedBrush = k;
            const Lines lines = stage.drawn(paint);
            if (std::exchange(stage.recorder.refusedBrush, 0) != 0) break;  // there are fewer than k
            std::size_t kept = 0;
            for (const std::string& l : all)
                kept < lines.size() && lines[kept] == l ? void(++kept) : dropped.push_back(l);
            CHECK(kept == lines.size());
        }
        CHECK(joined(dropped) == joined(painted));
    }
    stage.recorder.refusesBanners = true;  // the title stands in for it
    CHECK(joined(stage.drawn(bannerBar(300, {440, 80}))) ==
          joined(stage.drawn(titleBar(L"Title", false, false))));
}
