// The texts of the dialog in the fonts of this system, against the places that the layout gives them.

#include <doctest/doctest.h>

#include <QString>
#include <algorithm>
#include <string>
#include <vector>

#include "dialog/layout.h"
#include "dialog/texts.h"
#include "presets/builtin_presets.h"
#include "tests/desktop/person.h"
#include "toolkit/theme.h"

using namespace veil;

namespace {

constexpr int kRoom = 200;  // DIPs round a place, for what leaves it; keeps the pixel grid at all scales
constexpr int kFaint = 32;  // of 255

enum class Wrap { no, yes };

struct Place {
    std::wstring text;
    TextFormat* format;
    RectI rect;
    TextAlign align = TextAlign::leading;
    Wrap wrap = Wrap::no;
    ParagraphAlign paragraph = ParagraphAlign::centre;
};

// The text on an image with room round its place. With `clips` as the dialog draws it, else with nothing that
// cuts it off.
std::vector<std::uint8_t> drawn(const Place& place, float scale, bool clips) {
    const float left = float((place.rect.left - kRoom) & ~3), top = float((place.rect.top - kRoom) & ~3);
    RectF rect{float(place.rect.left) - left, float(place.rect.top) - top, float(place.rect.right) - left,
               float(place.rect.bottom) - top};
    const RenderTargetHolder target = createImageRenderTarget(
        windowSizePx(int(rect.right) + kRoom, scale), windowSizePx(int(rect.bottom) + kRoom, scale), scale);
    beginDraw(target.get());
    clearTarget(target.get(), colorBlack);
    const BrushHolder brush = createColorBrush(target.get(), colorWhite);
    if (place.wrap == Wrap::yes) {
        drawWrappedText(target.get(), place.text.c_str(), rect, place.format, brush.get());
        // What no rectangle clips would lie over what comes below.
        rect.top = rect.bottom;
        rect.bottom += kRoom;
        if (clips) fillRectangle(target.get(), rect, createColorBrush(target.get(), colorBlack).get());
    } else {
        if (!clips && place.align != TextAlign::leading) rect.left -= kRoom;
        if (!clips && place.align != TextAlign::trailing) rect.right += kRoom;
        if (!clips && place.paragraph == ParagraphAlign::centre) rect.top -= kRoom;
        if (!clips) rect.bottom += kRoom;
        drawSingleLineText(target.get(), place.text.c_str(), rect, place.format, brush.get(), place.align,
                           place.paragraph);
    }
    endDraw(target.get());
    return imagePixels(target.get());
}

// Of the text's ink, whose edges may fade by a few steps where they meet the place's.
int lostInk(const Place& place, float scale) {
    const auto all = drawn(place, scale, false), kept = drawn(place, scale, true);
    CHECK(*std::max_element(all.begin(), all.end()) == 255);
    CHECK(std::any_of(all.begin(), all.end(), [](std::uint8_t value) { return value > 128 && value < 255; }));
    int lost = 0;
    for (std::size_t i = 0; i < all.size(); ++i) lost = std::max(lost, all[i] - kept[i]);
    return lost;
}

// As the painters of the toolkit set them into their records.
RectI besideMark(const ControlRecord& box) { return {box.left + 28, box.top, box.right, box.bottom}; }

std::vector<Place> placesOf(const MainDialogState& d) {
    std::vector<Place> places = {
        {d.howToText.text, d.howToFont.get(), d.howToText.rect, TextAlign::leading, Wrap::yes},
        {localized(kNoPreviewText), d.bodyFont.get(), d.previewRect, TextAlign::centre},
        {kPresetLabelText, d.bodyFont.get(), presetLabelRect(d)},
        {d.presetHint.text, d.hintFont.get(), d.presetHint.rect},
        {d.outputHint.text, d.hintFont.get(), d.outputHint.rect},
        {d.versionLabel.text, d.hintFont.get(), d.versionLabel.rect},
    };
    for (const ControlRecord* box : {&d.previewToggle, &d.outputToggle, &d.advancedToggle})
        places.push_back({box->label, d.bodyFont.get(), besideMark(*box)});
    for (const ControlRecord* button : {&d.saveButton, &d.okButton, &d.cancelButton})
        places.push_back({button->label, d.buttonFont.get(), rectOf(*button), TextAlign::centre});
    for (const SectionHeaderRecord* header : {&d.presetSection, &d.outputSection, &d.adjustSection})
        places.push_back({header->label, d.sectionFont.get(), rectOf(*header), TextAlign::leading, Wrap::no,
                          ParagraphAlign::top});
    for (std::size_t i = 0; i < kSliderCount; ++i) {
        const std::wstring widest = formatSliderValue(int(i), kSliderDefinitions[i].maximum);
        places.push_back({d.rowLabels[i].text, d.bodyFont.get(), d.rowLabels[i].rect});
        places.push_back({d.rowHints[i].text, d.hintFont.get(), d.rowHints[i].rect});
        places.push_back({widest, d.valueFont.get(), d.valueRects[i], TextAlign::trailing});
    }
    return places;
}

bool meet(const RectI& a, const RectI& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

std::string narrow(const std::wstring& text) { return QString::fromStdWString(text).toStdString(); }

}  // namespace

TEST_CASE("a text of the dialog is cut off by its place, or lies over another") {
    REQUIRE(person::startSession());
    MainDialogState dialog;
    buildMainDialogLayout(dialog);
    std::vector<Place> places = placesOf(dialog);
    for (std::size_t i = 0; i < places.size(); ++i)
        for (std::size_t k = 0; k < i; ++k) {
            INFO(narrow(places[i].text), " and ", narrow(places[k].text));
            CHECK_FALSE(meet(places[i].rect, places[k].rect));
        }
    const RectI& box = {dialog.presetBox.left + 12, dialog.presetBox.top, dialog.presetBox.right - 28,
                        dialog.presetBox.bottom};
    for (std::int16_t look = 0; look < 4; ++look)
        places.push_back({widenAnsiText(presetName(look)), dialog.bodyFont.get(), box});
    places.push_back({kTitleText, dialog.titleFont.get(), {18, 0, kDialogWidth - 34, 40}});

    for (const Place& place : places)
        for (const float scale : {1.0f, 1.25f, 1.5f, 2.0f}) {
            INFO(narrow(place.text), " at ", scale);
            CHECK(lostInk(place, scale) <= kFaint);
        }
}
