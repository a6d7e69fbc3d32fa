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

struct Case {
    Paint paint;
    Lines expected;
};

const std::vector<Case> kCases = {
    {checkBox("h", 0.5f),
     {"fillRoundRect 16 368.5 32 384.5 r 3 #2C2C31", "strokeRoundRect 16 368.5 32 384.5 r 3 w 1 #404046",
      "fillRoundRect 16 368.5 32 384.5 r 3 #FFFFFF at 0.04",
      "drawSingleLineText 42 366 542 387 'On' leading middle #E0E0E4"}},
    {checkBox("ah", 1.0f),
     {"fillRoundRect 16 368.5 32 384.5 r 3 #E0A85C", "strokeRoundRect 16 368.5 32 384.5 r 3 w 1 #E0A85C",
      "strokePolyline 19 377 22.5 380.5 29 372.5 w 2 #202024",
      "drawSingleLineText 42 366 542 387 'On' leading middle #E0E0E4"}},
    {checkBox("pdh", 0.0f, L""),
     {"fillRoundRect 16 368.5 32 384.5 r 3 #2C2C31", "strokeRoundRect 16 368.5 32 384.5 r 3 w 1 #404046"}},
    {comboBox("apd", 0.0f),
     {"fillRoundRect 76 428 296 458 r 6 #2C2C31", "strokeRoundRect 76 428 296 458 r 6 w 1 #404046",
      "drawSingleLineText 88 428 268 458 'Soft' leading middle #E0E0E4",
      "strokePolyline 276 440.5 280 445.5 284 440.5 w 1.5 #96969E"}},
    {comboBox("h", 1.0f),
     {"fillRoundRect 76 428 296 458 r 6 <54.55 54.55 59.30>",
      "strokeRoundRect 76 428 296 458 r 6 w 1 #E0A85C",
      "drawSingleLineText 88 428 268 458 'Soft' leading middle #E0E0E4",
      "strokePolyline 276 440.5 280 445.5 284 440.5 w 1.5 #96969E"}},
    {[](auto* t, auto* f) {
         drawSectionHeader(t, f, {16, 400, 542, 414, L"Look"});
     },
     {"drawSingleLineText 16 400 542 414 'Look' leading top #E0A85C", "drawLine 16 420 542 420 w 1 #404046"}},
    {slider(10.0f, 30.0f, 15.0f, 0.0f),
     {"fillRoundRect 124 641.5 418 644.5 r 1.5 #2C2C31",
      "fillRoundRect 124 641.5 197.5 644.5 r 1.5 #966C38 to #E0A85C 124 643 197.5 643",
      "fillEllipse 197.5 643 r 6 #E0A85C", "strokeEllipse 197.5 643 r 6 w 1.5 #202024"}},
    {spinner(true, true),
     {"fillRoundRect 522 632 542 654 r 3 #2C2C31", "fillRectangle 522 632 542 643 #FFFFFF at 0.06",
      "fillRectangle 522 643 542 654 #FFFFFF at 0.06", "strokeRoundRect 522 632 542 654 r 3 w 1 #404046",
      "drawLine 522 643 542 643 w 1 #404046", "fillPolygon 529 639 535 639 532 636 #96969E",
      "fillPolygon 529 647 535 647 532 650 #96969E"}},
    {titleBar(L"Title", false, false),
     {"fillRectangle 0 0 300 40 #18181B", "drawLine 0 40 300 40 w 1 #404046",
      "drawSingleLineText 18 0 240 40 'Title' leading middle #E0A85C", "drawLine 275 15 285 25 w 1.6 #96969E",
      "drawLine 285 15 275 25 w 1.6 #96969E"}},
    {bannerBar(300.0f, {440.0f, 80.0f}),
     {"fillRectangle 0 0 300 40 #18181B", "drawLine 0 40 300 40 w 1 #404046",
      "drawBitmap 18 9 139 31 banner 3001", "drawLine 275 15 285 25 w 1.6 #96969E",
      "drawLine 285 15 275 25 w 1.6 #96969E"}},
    {[](auto* t, auto*) { drawWindowFrame(t, 558, 992); },
     {"strokeRectangle 0.5 0.5 557.5 991.5 w 1 #5A442A"}},
    {button("ah", 1.0f),
     {"fillRoundRect 10 20 110 50 r 6 <227.72 178.44 111.56>",
      "drawSingleLineText 10 20 110 50 'OK' centre middle #202024"}},
    {button("h", 1.0f),
     {"fillRoundRect 10 20 110 50 r 6 #FFFFFF at 0.05", "strokeRoundRect 10 20 110 50 r 6 w 1 #404046",
      "drawSingleLineText 10 20 110 50 'OK' centre middle #E0E0E4"}},
};

}  // namespace

TEST_CASE("every widget draws its figures in their order, at their places and in its state's colours") {
    Stage stage;
    for (const Case& c : kCases) CHECK(joined(stage.drawn(c.paint)) == joined(c.expected));
}

TEST_CASE(
    "a button's pressed look wins over hover, disabled over both on a primary one, and hover 0 is none") {
    struct {
        std::string flags;
        float hover;
        std::string fill, border, text;
    } const table[] = {{"ah", 0.0f, "#E0A85C", "", "#202024"},
                       {"a", 0.5f, "<225.86 173.22 101.78>", "", "#202024"},
                       {"ap", 0.0f, "<183.68 137.76 75.44>", "", "#202024"},
                       {"ap", 1.0f, "<183.68 137.76 75.44>", "", "#202024"},
                       {"ad", 1.0f, "#2C2C31", "", "#96969E"},
                       {"apd", 1.0f, "#2C2C31", "", "#96969E"},
                       {"h", 0.0f, "", "#404046", "#E0E0E4"},
                       {"", 0.5f, "#FFFFFF at 0.025", "#404046", "#E0E0E4"},
                       {"", 1e-6f, "#FFFFFF at 0", "#404046", "#E0E0E4"},
                       {"p", 1.0f, "#000000 at 0.12", "#404046", "#E0E0E4"},
                       {"d", 0.0f, "", "#2C2C31", "#96969E"},
                       {"d", 1.0f, "#FFFFFF at 0.05", "#2C2C31", "#96969E"},
                       {"pd", 1.0f, "#000000 at 0.12", "#2C2C31", "#96969E"}};
    Stage stage;
    for (const auto& row : table) {
        Lines expected;
        if (!row.fill.empty()) expected.push_back("fillRoundRect 10 20 110 50 r 6 " + row.fill);
        if (!row.border.empty()) expected.push_back("strokeRoundRect 10 20 110 50 r 6 w 1 " + row.border);
        expected.push_back("drawSingleLineText 10 20 110 50 'OK' centre middle " + row.text);
        INFO("flags '", row.flags, "', hover ", row.hover);
        CHECK(joined(stage.drawn(button(row.flags, row.hover))) == joined(expected));
    }
}

TEST_CASE("at the edges of values, widths and flags the decisive line is right and no draw comes or goes") {
    const std::string gradient = " 644.5 r 1.5 #966C38 to #E0A85C 124 643 ",
                      body = "fillRoundRect 266 6 294 34 r 5 ", cross = "drawLine 285 15 275 25 w 1.6 ";
    const SizeF banner{440, 80};
    struct {
        Paint paint;
        std::size_t count, at;
        std::string line;
    } const table[] = {{slider(0, 1, 1, 0.5f), 4, 2, "fillEllipse 418 643 r 7 #E0A85C"},
                       {slider(0, 1, 1.5f, 1), 4, 1, "fillRoundRect 124 641.5 565" + gradient + "565 643"},
                       {slider(10, 30, 10, 1), 3, 1, "fillEllipse 124 643 r 8 #E0A85C"},
                       {slider(5, 5, 9, 0), 3, 1, "fillEllipse 124 643 r 6 #E0A85C"},
                       {slider(9, 5, 7, 0), 3, 1, "fillEllipse 124 643 r 6 #E0A85C"},
                       {slider(0, 1, 1, 0, 132), 3, 1, "fillEllipse 124 643 r 6 #E0A85C"},
                       {slider(0, 1, 1, 0, 126), 3, 1, "fillEllipse 118 643 r 6 #E0A85C"},
                       {spinner(false, false), 5, 1, "strokeRoundRect 522 632 542 654 r 3 w 1 #404046"},
                       {spinner(true, false), 6, 1, "fillRectangle 522 632 542 643 #FFFFFF at 0.06"},
                       {spinner(false, true), 6, 1, "fillRectangle 522 643 542 654 #FFFFFF at 0.06"},
                       {titleBar(nullptr, true, false), 5, 2, body + "<216.75 63.75 63.75> at 0.85"},
                       {titleBar(nullptr, true, false), 5, 4, cross + "#FFFFFF"},
                       {titleBar(nullptr, false, true), 5, 2, body + "#FFFFFF at 0.1"},
                       {titleBar(nullptr, false, true), 5, 4, cross + "#96969E"},
                       {titleBar(nullptr, true, true), 5, 2, body + "#FFFFFF at 0.1"},
                       {titleBar(nullptr, true, true), 5, 4, cross + "#FFFFFF"},
                       {bannerBar(199, banner), 5, 2, "drawBitmap 18 9 139 31 banner 3001"},
                       {bannerBar(150, banner), 5, 2, "drawBitmap 18 13.4545 90 26.5455 banner 3001"},
                       {bannerBar(78, banner), 5, 2, "drawBitmap 18 9 139 31 banner 3001"},
                       {bannerBar(300, {10, 20}), 5, 2, "drawBitmap 18 9 29 31 banner 3001"},
                       {bannerBar(300, {0, 80}), 4, 3, cross + "#96969E"},
                       {bannerBar(300, {440, 0}), 4, 3, cross + "#96969E"}};
    Stage stage;
    for (const auto& row : table) {
        const Lines lines = stage.drawn(row.paint);
        INFO(joined(lines));
        REQUIRE(lines.size() == row.count);
        CHECK(lines[row.at] == row.line);
    }
}

TEST_CASE("a missing target, format, gradient, banner or brush drops more or less than what needs it") {
    Stage stage;
    for (const Case& c : kCases) {
        INFO(joined(c.expected));
        Lines textless = c.expected, painted = c.expected, plain = c.expected;
        std::erase_if(textless, [](const auto& l) { return l.starts_with("drawSingleLineText"); });
        std::erase_if(painted, [](const auto& l) { return l.starts_with("drawBitmap"); });
        std::erase_if(plain, [](const auto& l) { return l.find(" to ") != l.npos; });
        const auto drawnWithout = [&](bool Recorder::*refuses) {
            stage.recorder.*refuses = true;
            const Lines lines = stage.drawn(c.paint);
            stage.recorder.*refuses = false;
            return joined(lines);
        };
        CHECK(drawnWithout(&Recorder::refusesFormats) == joined(textless));
        CHECK(drawnWithout(&Recorder::refusesTargets) == "");
        CHECK(drawnWithout(&Recorder::refusesGradients) == joined(plain));

        Lines dropped;  // by refusing one brush after the other: each draw once, but the bitmap's
        for (int k = 1;; ++k) {
            stage.recorder.refusedBrush = k;
            const Lines lines = stage.drawn(c.paint);
            if (std::exchange(stage.recorder.refusedBrush, 0) != 0) break;  // there are fewer than k
            std::size_t kept = 0;
            for (const std::string& l : c.expected)
                kept < lines.size() && lines[kept] == l ? void(++kept) : dropped.push_back(l);
            CHECK(kept == lines.size());
        }
        CHECK(joined(dropped) == joined(painted));
    }
    stage.recorder.refusesBanners = true;  // the title stands in for it
    CHECK(joined(stage.drawn(bannerBar(300, {440, 80}))) ==
          joined(stage.drawn(titleBar(L"Title", false, false))));
}
