// Values as texts, and texts as values.

#include <doctest/doctest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <tuple>

#include "tests/dialog/page.h"

using namespace veil;
using namespace dialogtest;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::string ascii(const std::wstring& text) { return {text.begin(), text.end()}; }

// The middle of a row's value.
std::string valueOf(int row) { return "476," + std::to_string(643 + 44 * row); }

}  // namespace

TEST_CASE("a value is shown as C's printf rounds it, ties to even, with a point in any locale") {
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    const std::tuple<int, float, const char*, const char*> table[] = {
        {0, 0.7f, "70", "%"},
        {0, 0.125f, "12", "%"},
        {0, 0.375f, "38", "%"},
        {0, -0.5f, "-50", "%"},
        {1, 0.125f, "0.12", ""},
        {1, 0.375f, "0.38", ""},
        {1, 1.005f, "1.00", ""},
        {2, 2.5f, "2", "px"},
        {2, 3.5f, "4", "px"},
        {3, 10.0f, "1000", "%"},
        {4, 0.995f, "100", "%"},
        {5, 0.18f, "18", "%"},
        {6, 1.5f, "2", ""},
        {6, kInfinity, "inf", ""},
        {2, 1e38f, "9999999680285692465065626076917", ""}};  // cut to 31 characters
    for (const auto& [row, value, number, unit] : table) {
        INFO("row ", row, " value ", value);
        CHECK(ascii(formatSliderValue(row, value)) == std::string(number) + unit);
        CHECK(ascii(formatEditValue(row, value)) == number);
    }
    std::setlocale(LC_ALL, "C");
}

TEST_CASE("what is typed, pasted and how it ends decides the value; keys of the box stay in the box") {
    // p before the text: pasted, past the filter.
    const std::tuple<int, const char*, float> table[] = {
        {0, "300", 2.5f},     {0, "30", 0.3f},
        {1, "0.75", 0.75f},   {1, ".5", 2.0f},
        {1, "1.", 1.0f},      {6, ".5", 0.5f},
        {6, ".", 0.0f},       {1, "1.2.5", 1.25f},
        {2, "1", 2.0f},       {2, "-7x", 7.0f},
        {2, "00012", 12.0f},  {3, "120", 1.2f},
        {6, "99999", 30.0f},  {1, "p1.2.5", 1.2f},
        {2, "p-7", 2.0f},     {2, "p+7", 7.0f},
        {2, "p 7", 7.0f},     {2, "p1e2", 100.0f},
        {2, "p1e", 2.0f},     {2, "pabc", 2.0f},
        {2, "p0x10", 2.0f},   {2, "p1e999", 600.0f},
        {1, "p1e-999", 0.0f}, {2, "pinf", 2.0f},
        {2, "pnan", 2.0f},    {2, "p--7", 2.0f},
        {4, "p55%", 0.55f},   {1, "p1,9", 1.0f},
        {0, "p-", 0.0f},      {0, "p-.", 0.0f},
        {1, "p\xb2", 0.0f},   {2, "p0000000000000000000000000000034567", 345.0f}};  // 32 characters count
    Run([&](Page& page) {
        for (const auto& [row, typed, value] : table) {
            for (const std::string end : {"eN", "d300,200", "eS"}) {
                INFO("row ", row, " typed ", std::string(typed), " end ", end);
                const float before = kMiddle.*kSliderDefinitions[std::size_t(row)].param;
                page.setValue(row, before);
                page.act("d" + valueOf(row));
                CHECK((page.state.editRow == row && page.state.focusRow == row));
                CHECK((page.box()->visible && page.box()->allSelected &&
                       page.window->focusedBox == page.box()));
                CHECK((page.box()->text == formatEditValue(row, before)));
                const std::string text(typed);
                if (text[0] == 'p') pasteText(page.box(), std::wstring(text.begin() + 1, text.end()));
                if (text[0] != 'p') page.act("'" + text);
                CHECK(page.value(row) == before);
                const float wanted = end == "eS" ? before : value;
                CHECK(page.renders([&] { page.act(end); }) == (wanted != before));
                CHECK((page.has(row, wanted) && !std::signbit(page.value(row)) && page.state.editRow == -1 &&
                       !page.box()->visible && !page.window->focusedBox));
            }
        }
        // Nothing typed, all erased, another row, a click on the value itself, and the box's own keys.
        page.setValue(0, 0.123f);
        page.act("d" + valueOf(0));
        typeCharacter(page.box(), L'\b');
        page.act("d" + valueOf(1));
        CHECK((page.value(0) == 0.123f && page.state.editRow == 1));
        page.act("'7 d" + valueOf(1) + " D" + valueOf(1));
        CHECK((page.box()->text == L"7" && !page.box()->allSelected));
        page.act("eU");
        CHECK((page.box()->text == L"0.51" && page.box()->allSelected && page.value(1) == 0.51f));
        page.act("eD eD d" + valueOf(0));
        CHECK((page.value(1) == 0.49f && page.state.editRow == 0));
        for (const wchar_t c : {L'\r', L'\x1b', L'-', L'+', L',', L'e', L' ', L'/', L':', L'\xB2', L'\xFF11'})
            CHECK(page.send({.kind = Kind::editCharacter, .character = c}));
        for (const wchar_t c : {L'0', L'9', L'.', L'\x16', L'\b'})
            CHECK_FALSE(page.send({.kind = Kind::editCharacter, .character = c}));
        page.act("'1.5");
        page.box()->allSelected = true;  // the text counts, not the selection
        CHECK(page.send({.kind = Kind::editCharacter, .character = L'.'}));
        for (const Key key : {Key::left, Key::right, Key::other})
            CHECK_FALSE(page.send({.kind = Kind::editKey, .key = key}));
        for (const Key key : {Key::up, Key::down, Key::enter, Key::escape})
            CHECK(page.send({.kind = Kind::editKey, .key = key}));
        page.calls();
        page.act("d" + valueOf(2));
        CHECK(page.calls() ==
              "placeEditBox 436 720 516 742, setEditText, selectAll, showEditBox, focusEditBox, "
              "invalidate");
        page.act("'20");
        CHECK(page.send({.kind = Kind::editFocusLost}));
        CHECK(page.value(2) == 20.0f);
        page.act("d" + valueOf(2));
        page.calls();
        page.act("eS");
        CHECK(page.calls() == "hideEditBox, invalidate, focusWindow");
        page.act("d" + valueOf(2) + " '30 d390,960 u390,960");  // one click commits and confirms
    });
}
