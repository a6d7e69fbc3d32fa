// The plug-in's dialog on real windows: what a person does in it, and what the host holds afterwards.

#include <doctest/doctest.h>

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>
#include <cstring>
#include <functional>
#include <vector>

#include "presets/builtin_presets.h"
#include "standin/host.h"
#include "tests/desktop/person.h"
#include "tests/host/runs.h"

using namespace person;
using hosttest::picture;
using hosttest::plugin;
using standin::HostOptions;
using standin::HostSession;
using veil::VeilParams;

const standin::Plugin& hosttest::plugin() {
    static const standin::Plugin loaded(VEIL_PLUGIN);
    return loaded;
}

namespace {

using Change = std::function<void(VeilParams&)>;

constexpr int kUserCanceled = -128;
// Of the way from 2 to 600.
constexpr float kTwoThirdsRadius = 2.0f + 196.0f / 294.0f * 598.0f;
// What every dialog starts from.
constexpr VeilParams kDefaults{0, 0, 0.0f, 180.0f, 0.7f, 0.18f, 0.0f, 1.0f, 0.2f, 0, 1};

// The fields as numbers, to find the one that is another.
std::string told(const VeilParams& p) {
    std::string text = std::to_string(p.presetId) + " " + std::to_string(p.outputGlowOnly);
    for (const float value : {p.threshold, p.radius, p.strength, p.fog, p.highlightBoost, p.glowSaturation})
        text += " " + std::to_string(value);
    return text;
}

// The reserved field has what the host's handle held before.
bool isSame(VeilParams a, const VeilParams& b) {
    a.reserved = b.reserved;
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// A person and the presets of nobody else.
struct Start {
    QTemporaryDir presets;
    Start() {
        REQUIRE(startSession());
        qputenv("APPDATA", presets.path().toUtf8());
    }
    bool hasFile() const {
        return QDirIterator(presets.path(), QDir::Files, QDirIterator::Subdirectories).hasNext();
    }
};

// The filter from the menu, with `act` played in its dialog; its result.
int visit(HostSession& session, const Act& act) {
    standin::RunReport report;
    const standin::Image before = session.image();
    CHECK(meet([&] { report = session.runFromMenu(); }, act));
    CHECK(report.locksBalanced);
    if (report.result != 0) CHECK(session.image() == before);
    return report.result;
}

// The same, confirmed: the block has the change and no other, and the picture is that of the block.
void confirmed(
    HostSession& session, const Act& act, const Change& change = [](auto&) {}) {
    HostSession repeating(plugin(), session.image());
    VeilParams expected = kDefaults;
    change(expected);
    CHECK(visit(session, act) == 0);
    REQUIRE(session.storedParameters());
    INFO(told(*session.storedParameters()), ", expected ", told(expected));
    CHECK(isSame(*session.storedParameters(), expected));
    repeating.storeParameters(expected);
    CHECK(repeating.repeat().result == 0);
    CHECK(session.image() == repeating.image());
}

void drag(QPoint from, QPoint to) {
    press(from);
    moveTo({to.x(), to.y() - 300});  // far from the track
    moveTo(to);
    release({to.x(), to.y() - 300});
}

void typeInto(int row, const char* text) {
    click(valueOf(row));
    type(QString::fromUtf8(text));
}

void choose(int item) {
    CHECK(meet([] { press(kPresetBox); },
               [&] {
                   release({20, -15});  // the click that opened the list, over the box
                   click(itemOf(item));
               }));
}

// The preview's place, without the frame that a picture has.
QImage previewPicture() {
    const QImage picture = pictureOf(*topWindow());
    const double scale = picture.devicePixelRatio();
    return picture.copy(QRectF(20 * scale, 102 * scale, 518 * scale, 252 * scale).toRect());
}

}  // namespace

TEST_CASE("OK gives other values than the controls show, or another picture than a repeat with them") {
    const Start start;
    const struct {
        std::string name;
        Act act;
        Change change;
    } cases[] = {
        {"drags, one beyond the window",
         [] {
             drag(trackOf(2, 1), trackOf(2, 2)), drag(trackOf(0, 1), {700, 700});
         },
         [](auto& p) { p.radius = kTwoThirdsRadius, p.strength = 2.5f; }},
        {"arrows and keys",
         [] { click(upArrowOf(2)), click(upArrowOf(2)), click(downArrowOf(2)), pressKey(Qt::Key_Right); },
         [](auto& p) { p.radius = 182.0f; }},
        {"Escape and Enter in the box",
         [] { typeInto(3, "7"), pressKey(Qt::Key_Escape), typeInto(0, "300"), pressKey(Qt::Key_Return); },
         [](auto& p) { p.strength = 2.5f; }},
        {"another box, odd characters, OK while typing",
         [] {
             typeInto(1, "-1.2x.5"), typeInto(3, "120"), click({280, 230}), typeInto(2, "1");
         },
         [](auto& p) { p.threshold = 1.25f, p.glowSaturation = 1.2f, p.radius = 2.0f; }},
        {"stepping in the box", [] { typeInto(2, ""), pressKey(Qt::Key_Up), pressKey(Qt::Key_Up); },
         [](auto& p) { p.radius = 182.0f; }},
        {"toggles, a row that was hidden before",
         [] {
             click(trackOf(6, 1)), click(kAdvancedToggle), doubleClick(kOutputToggle), click(kOutputToggle);
             click(trackOf(6, 2));
         },
         [](auto& p) { p.advancedMode = 1, p.outputGlowOnly = 0, p.highlightBoost = 20.0f; }},
        {"a look, its slider moved and reset",
         [] { choose(3), drag(trackOf(2, 0), trackOf(2, 3)), doubleClick(labelOf(2)); },
         [](auto& p) { p = veil::builtinPresetParams(3), p.outputGlowOnly = 1; }},
    };
    for (const auto& [name, act, change] : cases) {
        INFO(name);
        HostSession session(plugin(), picture(300, 200));
        confirmed(
            session, [&, &act = act] { act(), click(kOk); }, change);
        confirmed(session, [] { pressKey(Qt::Key_Enter); });
    }
}

TEST_CASE("a cancelled dialog changes the block or the picture, or leaves its owner disabled") {
    const Start start;
    QWidget owner;
    owner.show();
    for (const Act& leave :
         {Act([] { click(kCancel); }), Act([] { click(kClose); }), Act([] { pressKey(Qt::Key_Escape); }),
          Act([] { topWindow()->close(); }),
          Act([] { press(kOk), release(kNothing), press(kCancel), release(kOk), click(kCancel); })}) {
        HostSession session(plugin(), picture(300, 200), {.ownerWindow = &owner});
        const auto act = [&] {
            CHECK_FALSE(owner.isEnabled());
            drag(trackOf(0, 1), trackOf(0, 2));
            click(kOutputToggle);
            leave();
        };
        CHECK(visit(session, act) == kUserCanceled);
        CHECK(isSame(session.storedParameters().value(), kDefaults));
        CHECK(owner.isEnabled());
        confirmed(session, [] { click(kOk); });
        CHECK(owner.isEnabled());
    }
}

TEST_CASE("a preset is not saved, not found again, or brings other values") {
    const Start start;
    const auto saveAs = [](const Act& act) {
        const QWidget* const dialog = topWindow();
        CHECK(meet([] { click(kSave); },
                   [&] {
                       CHECK_FALSE(dialog->isEnabled());
                       act();
                   }));
        CHECK(dialog->isEnabled());
    };
    HostSession session(plugin(), picture(300, 200));
    const auto cancelSaves = [&] {
        saveAs([] { type("A"), click(kSaveCancel); });
        saveAs([] { type("A"), click(kSaveClose); });
        saveAs([] { type("A"), pressKey(Qt::Key_Escape); });
        saveAs([] { click(kSaveOk); });
        CHECK_FALSE(start.hasFile());
        drag(trackOf(2, 0), trackOf(2, 2));
        click(kOutputToggle);
        saveAs([&] {
            const QWidget* const asking = topWindow();
            type(QString::fromUtf8("Miné"));
            click(kSaveOk);
            CHECK(topWindow() == asking);
            pressKey(Qt::Key_Backspace);
            type("e");
            pressKey(Qt::Key_Return);
        });
        CHECK(start.hasFile());
        choose(1);
        click(kOutputToggle);
        pressKey(Qt::Key_Escape);
    };
    CHECK(visit(session, cancelSaves) == kUserCanceled);
    const Change mine = [](auto& p) { p.radius = kTwoThirdsRadius, p.outputGlowOnly = 0; };
    confirmed(
        session, [] { choose(4), click(kOk); }, mine);
    // A second one behind it; the list comes up with the look that the values stem from.
    HostSession other(plugin(), picture(200, 300));
    confirmed(
        other,
        [&] { choose(2), saveAs([] { type("Second"), click(kSaveOk); }), choose(4), choose(5), click(kOk); },
        [](auto& p) { p = veil::builtinPresetParams(2), p.outputGlowOnly = 1; });
}

TEST_CASE("the preview stands still, shows the output's toggle, or a refused one stops the dialog") {
    const Start start;
    for (const bool isShown : {true, false}) {
        HostSession session(plugin(), picture(1200, 800), {.failAdvanceAt = isShown ? standin::kNever : 1});
        const auto act = [&] {
            const QImage before = previewPicture();
            drag(trackOf(0, 1), trackOf(0, 3));
            const QImage stronger = previewPicture();
            click(kPreviewToggle);
            const QImage glow = previewPicture();
            click(kOutputToggle);
            CHECK((stronger != before) == isShown);
            CHECK((glow != stronger) == isShown);
            CHECK(previewPicture() == glow);
            click(kOk);
        };
        confirmed(session, act, [](auto& p) { p.strength = 2.5f, p.outputGlowOnly = 0; });
    }
}
