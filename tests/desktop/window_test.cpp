// Dialogs, popups and the edit box of the native build. Input takes the way that it takes from the system.

#include <doctest/doctest.h>

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <cmath>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "platform/edit_box.h"
#include "platform/gui_session.h"
#include "platform/window.h"

using namespace veil;

namespace {

using Kind = WindowMessage::Kind;
using Script = std::function<void(Window*)>;

constexpr EditColors kColors{{1, 1, 1, 1}, {0, 0, 0, 1}};
constexpr int kCaption = 40;  // pixels

// For the life of the process: at its exit an application would come after what it needs.
void startSession() {
    static int count = 1;
    static char name[] = "test", *arguments[] = {name, nullptr};
    static const GuiSession* const session = openGuiSession(count, arguments).release();
    REQUIRE(session != nullptr);
}

QWidget* widgetOf(Window* window) { return static_cast<QWidget*>(nativeWindow(window)); }

// Places of a dialog in the system's own units: inside, on the caption, outside.
QPoint placeOf(char name) {
    return name == 'i' ? QPoint(51, 61) : name == 'c' ? QPoint(51, 5) : QPoint(-31, 61);
}

// Move, press, release or double-click at a place of `dialog`, in turn, as the system gives it to `window`.
void play(QWidget* window, QWidget* dialog, const std::string& script) {
    for (std::size_t i = 0; i + 1 < script.size(); i += 3) {
        const QPoint at = window->mapFromGlobal(dialog->mapToGlobal(placeOf(script[i + 1])));
        QWindow* const handle = window->windowHandle();
        if (script[i] == 'm') QTest::mouseMove(handle, at);
        if (script[i] == 'p') QTest::mousePress(handle, Qt::LeftButton, {}, at);
        if (script[i] == 'r') QTest::mouseRelease(handle, Qt::LeftButton, {}, at);
        if (script[i] == 'd') QTest::mouseDClick(handle, Qt::LeftButton, {}, at);
        if (script[i] == 'R') QTest::mouseClick(handle, Qt::RightButton, {}, at);
    }
}

void type(Window* window, const std::vector<Qt::Key>& keys) {
    for (const Qt::Key key : keys) QTest::keyClick(widgetOf(window)->windowHandle(), key);
}

// A handler that writes down what it hears.
struct Probe {
    std::function<bool(Window*, const WindowMessage&)> act = [](auto*, const auto&) { return false; };
    QWidget* dialog = nullptr;  // whose places are meant
    std::string heard{};
    int paints = 0, timers = 0;

    static bool handle(void* context, Window* window, const WindowMessage& message) {
        auto& probe = *static_cast<Probe*>(context);
        probe.write(window, message);
        return probe.act(window, message);
    }
    std::string take() { return std::exchange(heard, {}); }

  private:
    void write(Window* window, const WindowMessage& m) {
        static const char* const kNames[] = {"initialise", "destroy", "",       "",         "move",   "leave",
                                             "down",       "up",      "double", "lost",     "",       "key",
                                             "command",    "editKey", "char",   "editLeft", "changed"};
        if (m.kind == Kind::paint) ++paints;
        if (m.kind == Kind::timer) ++timers;
        const std::string name = kNames[static_cast<int>(m.kind)];
        if (name.empty()) return;
        heard += name;
        if (m.point != PixelPoint()) heard += nameOf(window, m.point);
        if (m.kind == Kind::key || m.kind == Kind::editKey) heard += std::to_string(static_cast<int>(m.key));
        if (m.kind == Kind::command) heard += m.command == Command::ok ? "Ok" : "Cancel";
        if (m.kind == Kind::editCharacter) heard += std::to_string(static_cast<int>(m.character));
        heard += " ";
    }
    // The place that has this very pixel in `window`.
    std::string nameOf(Window* window, PixelPoint point) const {
        const double ratio = dialog->devicePixelRatio();
        for (const char name : {'i', 'c', 'o'}) {
            const QPointF at = QPointF(dialog->mapToGlobal(placeOf(name)) - widgetOf(window)->pos()) * ratio;
            if (point == PixelPoint{int(std::floor(at.x())), int(std::floor(at.y()))}) return {name};
        }
        return "(" + std::to_string(point.x) + "," + std::to_string(point.y) + ")";
    }
};

// A dialog of 300 by 200 pixels that its top moves. `script` runs on screen; after it the dialog ends with 7.
int runDialog(int id, Probe& probe, QWidget* owner, const Script& script) {
    const auto inner = probe.act;
    probe.act = [&, inner](Window* window, const WindowMessage& message) {
        if (message.kind == Kind::initialise) {
            CHECK_FALSE(widgetOf(window)->isVisible());
            probe.dialog = widgetOf(window);
            resizeWindow(window, {300, 200});
            centreOnOwner(window);
            QTimer::singleShot(0, probe.dialog, [&, window] {
                CHECK(QTest::qWaitForWindowActive(probe.dialog));
                play(probe.dialog, probe.dialog, "mc");
                probe.take();
                script(window);
                endModalDialog(window, 7);
            });
        }
        return (message.kind == Kind::hitTest && message.point.y < kCaption) || inner(window, message);
    };
    return runModalDialog(id, owner, Probe::handle, &probe);
}

}  // namespace

TEST_CASE("without an application or with an unknown template a window is made, or a null one crashes") {
    CHECK(runModalDialog(16010, nullptr, Probe::handle, nullptr) == -1);
    CHECK(createPopup(nullptr, {}, {9, 9}, Probe::handle, nullptr) == nullptr);
    startSession();
    CHECK(runModalDialog(16011, nullptr, Probe::handle, nullptr) == -1);
    for (auto operation : {invalidate, repaintNow, showWindow, centreOnOwner, closePopup, destroyPopup,
                           trackLeave, releaseMouse, focusWindow, enableOwner})
        operation(nullptr);
}

TEST_CASE("a dialog's messages change their order, or its owner its state") {
    startSession();
    QWidget owner;
    owner.show();
    Probe probe;
    const int result = runDialog(16010, probe, &owner, [&](Window* window) {
        CHECK_FALSE(owner.isEnabled());
        CHECK(probe.dialog->windowHandle()->transientParent() == owner.windowHandle());
        CHECK(probe.dialog->width() * probe.dialog->devicePixelRatio() == 300);
        const int before = probe.paints;
        invalidate(window);
        for (int i = 0; i < 2; ++i) repaintNow(window);
        CHECK(probe.paints == before + 1);
        probe.dialog->close();
        CHECK(probe.dialog->isVisible());
        CHECK(probe.take() == "commandCancel ");
        startTimer(window, 401, 1);
        CHECK(QTest::qWaitFor([&] { return probe.timers > 1; }));
        stopTimer(window, 401);
        probe.timers = 0;
        QTest::qWait(20);
        CHECK(probe.timers == 0);
        enableOwner(window);
        CHECK(owner.isEnabled());
    });
    CHECK(result == 7);
    CHECK(probe.take() == "destroy ");
    probe.act = [](Window* window, const auto&) { return endModalDialog(window, 5), true; };
    CHECK(runModalDialog(16010, &owner, Probe::handle, &probe) == 5);
    CHECK(probe.take() == "initialise destroy ");
    CHECK(owner.isEnabled());
    owner.setEnabled(false);
    reviveOwner(&owner);
    CHECK(owner.isEnabled());
}

TEST_CASE("the mouse is heard at other pixels, over the caption, outside, or leaves twice") {
    startSession();
    Probe probe;
    bool captures = false;
    probe.act = [&](Window* window, const WindowMessage& m) {
        if (m.kind == Kind::mouseMove) trackLeave(window);
        if (m.kind == Kind::buttonDown && captures) captureMouse(window);
        if (m.kind == Kind::buttonUp) releaseMouse(window);
        return false;
    };
    runDialog(16010, probe, nullptr, [&](Window* window) {
        const std::pair<const char*, const char*> steps[] = {{"mi pi mo mo ro", "movei downi leave "},
                                                             {"mi mc pc rc", "movei leave "},
                                                             {"pi ri pi ri", "movei downi upi downi upi "},
                                                             {"di Ri", "downi upi doublei upi "}};
        for (const auto& [script, heard] : steps) {
            play(probe.dialog, probe.dialog, script);
            CHECK(probe.take() == std::string(heard));
        }
        captures = true;
        play(probe.dialog, probe.dialog, "pi mo mc rc");
        CHECK(probe.take() == "downi moveo movec upc lost ");
        captureMouse(window);
        play(probe.dialog, probe.dialog, "mo mi");
        CHECK(probe.take() == "lost leave movei ");
        const QPoint before = probe.dialog->pos();
        play(probe.dialog, probe.dialog, "pc mi");
        CHECK(probe.dialog->pos() == before + placeOf('i') - placeOf('c'));
    });
}

TEST_CASE("a key goes to the wrong one of dialog and edit box") {
    startSession();
    Probe probe;
    probe.act = [](Window*, const WindowMessage& m) {
        return (m.kind == Kind::editKey && m.key == Key::up) ||
               (m.kind == Kind::editCharacter &&
                (m.character == L'x' || m.character == 13 || m.character == 27));
    };
    runDialog(16010, probe, nullptr, [&](Window* window) {
        type(window, {Qt::Key_Up, Qt::Key_Left, Qt::Key_A, Qt::Key_Tab, Qt::Key_Return, Qt::Key_Enter,
                      Qt::Key_Escape});
        CHECK(probe.take() == "key1 key3 key0 key0 commandOk commandOk commandCancel ");
        EditBox* const box = createFilteredEditBox(window, 17, 600, kColors);
        placeEditBox(box, {30, 60, 90, 90});
        CHECK(editBoxRect(box) == PixelRect{30, 60, 90, 90});
        setEditText(box, L"12");
        selectAll(box);
        showEditBox(box);
        focusEditBox(box);
        QTest::qWait(20);
        const int before = probe.paints;
        type(window, {Qt::Key_5, Qt::Key_X, Qt::Key_Up, Qt::Key_Return, Qt::Key_Escape});
        CHECK(probe.take() == "editKey0 char53 editKey0 char120 editKey1 editKey5 char13 editKey6 char27 ");
        type(window, {Qt::Key_Home});
        QTest::sendKeyEvent(QTest::Click, probe.dialog->windowHandle(), Qt::Key_Delete, QChar(127), {});
        type(window, {Qt::Key_7, Qt::Key_8, Qt::Key_Backspace});
        CHECK(probe.take() == "editKey0 editKey0 editKey0 char55 editKey0 char56 editKey0 char8 ");
        CHECK(editText(box, 32) == L"7");
        CHECK(probe.paints == before);
        hideEditBox(box);
        type(window, {Qt::Key_Down});
        CHECK(probe.take() == "editLeft key2 ");
        showEditBox(box);
        focusEditBox(box);
        QApplication::setActiveWindow(nullptr);  // a window of another program is, when the box is hidden
        hideEditBox(box);
        QApplication::setActiveWindow(probe.dialog);
        probe.take();
        type(window, {Qt::Key_Down});
        CHECK(probe.take() == "key2 ");
    });
}

TEST_CASE("the template's edit box is missing, has not the focus, or changes without a word") {
    startSession();
    Probe probe;
    probe.act = [](Window*, const WindowMessage& m) { return m.kind == Kind::initialise; };
    runDialog(16020, probe, nullptr, [&](Window* window) {
        CHECK(templateEditBox(window, 2102, kColors) == nullptr);
        EditBox* const box = templateEditBox(window, 2101, kColors);
        disableInputMethod(box);
        type(window, {Qt::Key_X, Qt::Key_Up, Qt::Key_Return});
        CHECK(editText(box, 9) == L"x");
        setEditText(box, L"longer");
        CHECK(editText(box, 4) == L"long");
        CHECK(probe.take() == "changed commandOk changed ");
    });
}

TEST_CASE("a popup misses input, lets its owner run meanwhile, or outlives its end") {
    startSession();
    Probe owner;
    runDialog(16010, owner, nullptr, [&](Window* dialog) {
        const struct {
            Script act;
            std::string heard, late = "";
        } cases[] = {
            {[&](Window*) { play(owner.dialog, owner.dialog, "mo pc rc"); }, "moveo movec downc upc "},
            {[&](Window* popup) { play(widgetOf(popup), owner.dialog, "po ri"); }, "moveo downo movei upi "},
            {[&](Window*) { type(dialog, {Qt::Key_Escape}); }, "key6 "},
            {[&](Window* popup) { widgetOf(popup)->close(); }, ""},
            {[&](Window* popup) { std::default_delete<QWidget>()(widgetOf(popup)); }, ""},
            {[&](Window*) { owner.dialog->close(), owner.dialog->repaint(); }, "", "commandCancel "},
        };
        startTimer(dialog, 401, 1);
        for (const auto& [act, heard, late] : cases) {
            bool done = false;
            Probe probe{.dialog = owner.dialog};
            probe.act = [&](Window*, const WindowMessage& m) { return done |= m.kind == Kind::captureLost; };
            const PopupHolder popup(
                createPopup(owner.dialog, toScreen(dialog, {30, 60}), {90, 60}, Probe::handle, &probe));
            showPopup(popup.get());
            QTimer::singleShot(0, owner.dialog, [&, &act = act] {
                CHECK(QTest::qWaitForWindowExposed(widgetOf(popup.get())));
                CHECK(toScreen(popup.get(), {0, 0}) == toScreen(dialog, {30, 60}));
                owner.take();
                owner.timers = owner.paints = 0;
                act(popup.get());
                QTest::qWait(20);
                CHECK(owner.timers + owner.paints == 0);
                CHECK(owner.take() == "");
                done = true;  // seen at the next message, if the loop still runs
                invalidate(popup.get());
            });
            runPopup(popup.get(), done);
            closePopup(popup.get());
            CHECK(probe.take() == heard + "lost destroy ");
            CHECK(QTest::qWaitFor([&] { return owner.timers > 0; }));
            CHECK(owner.paints == (late.empty() ? 0 : 1));
            CHECK(owner.take() == late);
        }
    });
}

TEST_CASE("what a handler throws is lost, or its window stays") {
    startSession();
    QWidget owner;
    owner.show();
    for (const Kind kind : {Kind::initialise, Kind::paint, Kind::timer, Kind::destroy}) {
        Probe probe;
        probe.act = [kind](Window* window, const WindowMessage& m) {
            if (m.kind == Kind::initialise) startTimer(window, 1, 1);
            if (m.kind == kind) throw std::bad_alloc();
            if (m.kind == Kind::timer && kind != Kind::paint) endModalDialog(window, 1);
            return false;
        };
        CHECK_THROWS_AS(runModalDialog(16010, &owner, Probe::handle, &probe), std::bad_alloc);
        CHECK(probe.take() == "initialise destroy ");
        CHECK(owner.isEnabled());
        CHECK(QApplication::activeModalWidget() == nullptr);
    }
    Probe probe;
    probe.act = [](Window*, const WindowMessage& m) {
        return m.kind == Kind::paint ? throw std::bad_alloc() : false;
    };
    const PopupHolder popup(createPopup(&owner, {9, 9}, {30, 30}, Probe::handle, &probe));
    showPopup(popup.get());
    CHECK_THROWS_AS(runPopup(popup.get(), false), std::bad_alloc);
    CHECK(probe.take() == "lost destroy ");
    CHECK(QApplication::activePopupWidget() == nullptr);
}
