// dialog_pictures: the dialog in its states as PNG files, PREFIX-fresh.png and so on, in the language and at
// the scale that the environment sets.

#include <QPainter>
#include <QTest>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "standin/host.h"
#include "tests/desktop/person.h"

namespace {

using namespace person;

constexpr int kUserCanceled = -128;

// The picture of a file that Qt reads.
standin::Image readPicture(const char* path) {
    const QImage file = QImage(path).convertToFormat(QImage::Format_RGB888);
    if (file.isNull()) throw std::runtime_error(std::string("no picture in ") + path);
    standin::Image image = standin::makeImage(file.width(), file.height(), 3, 8);
    for (int y = 0; y < image.height; ++y)
        std::copy_n(reinterpret_cast<const std::byte*>(file.constScanLine(y)), image.rowBytes(),
                    image.row(y));
    return image;
}

class Album {
  public:
    Album(const char* prefix, standin::Image picture) : prefix_(prefix), picture_(std::move(picture)) {}

    // Plays `act` in a dialog of its own, which it leaves open.
    void show(const Act& act, const standin::HostOptions& options = {}) const {
        standin::HostSession session(plugin_, picture_, options);
        int result = 0;
        const bool met = meet([&] { result = session.runFromMenu().result; },
                              [&] {
                                  act();
                                  click(kCancel);
                              });
        if (!met || result != kUserCanceled) throw std::runtime_error("the dialog did not come or stayed");
    }
    void keep(const QImage& picture, const char* name) const {
        if (!picture.save(prefix_ + "-" + name + ".png"))
            throw std::runtime_error("can't write to " + prefix_.toStdString());
    }
    // The dialog with the window above it in its place.
    void keepBoth(const QWidget& below, const char* name) const {
        QImage both = pictureOf(below);
        QPainter painter(&both);
        painter.drawImage(QPointF(topWindow()->pos() - below.pos()), pictureOf(*topWindow()));
        painter.end();
        keep(both, name);
    }

  private:
    const QString prefix_;
    const standin::Image picture_;
    const standin::Plugin plugin_{VEIL_PLUGIN};
};

void flipAdvanced() {
    click(kAdvancedToggle);
    moveTo(kNothing);
    QTest::qWait(300);  // for the ends of the animations
}

void takeAll(const Album& album) {
    album.show([&] { album.keep(pictureOf(*topWindow()), "fresh"); });
    album.show([&] {
        flipAdvanced();
        album.keep(pictureOf(*topWindow()), "advanced");
        click(valueOf(4));
        type("123");
        QTest::qWait(400);
        album.keep(pictureOf(*topWindow()), "typing");
    });
    album.show([&] {
        const QWidget* const dialog = topWindow();
        meet([] { press(kPresetBox); },
             [&] {
                 release({0, -10});
                 moveTo(itemOf(2));
                 album.keepBoth(*dialog, "list");
                 pressKey(Qt::Key_Escape);
             });
        meet([] { click(kSave); },
             [&] {
                 type("Evening");
                 QTest::qWait(300);
                 album.keepBoth(*dialog, "save");
                 type(QString::fromUtf8("é"));
                 click(kSaveOk);
                 QTest::qWait(300);
                 album.keep(pictureOf(*topWindow()), "save-refused");
                 click(kSaveCancel);
             });
    });
    album.show([&] { album.keep(pictureOf(*topWindow()), "no-preview"); }, {.failAdvanceAt = 1});
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) throw std::runtime_error("usage: dialog_pictures PREFIX PICTURE");
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("QT_LOGGING_RULES", "qt.qpa.*=false;*.warning=false", 0);
    if (!startSession()) throw std::runtime_error("no screen");
    takeAll(Album(argv[1], readPicture(argv[2])));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "dialog_pictures: %s\n", error.what());
    return 1;
}
