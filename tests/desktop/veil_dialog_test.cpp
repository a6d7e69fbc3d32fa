// veil --dialog on a screen, as a person uses it: the mouse and the keys come from another program.

#include <doctest/doctest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace {

constexpr int kPatienceMs = 30000;

// Ends with what the program that it ran ended with.
int run(const QStringList& command) {
    QProcess process;
    process.start(command.first(), command.mid(1));
    return process.waitForFinished(kPatienceMs) ? process.exitCode() : -1;
}

QString output(const QStringList& command) {
    QProcess process;
    process.start(command.first(), command.mid(1));
    process.waitForFinished(kPatienceMs);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

struct Folder {
    QTemporaryDir folder;
    QString operator/(const char* name) const { return folder.filePath(name); }
};

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A place of the window, in pixels.
void click(const QString& window, int x, int y) {
    CHECK(run({"xdotool", "mousemove", "--window", window, QString::number(x), QString::number(y), "sleep",
               "0.2", "click", "1", "sleep", "0.3"}) == 0);
}

// veil --dialog, with `act` done in its window; how it ended.
template <class Act>
int veilWithDialog(const QString& in, const QString& out, Act act) {
    QProcess veil;
    veil.start(VEIL_BIN_DIR "/veil", {"--quiet", "--dialog", "-o", out, in});
    REQUIRE(veil.waitForStarted());
    const QString window = output({"timeout", "20", "xdotool", "search", "--sync", "--onlyvisible", "--pid",
                                   QString::number(veil.processId())});
    REQUIRE_FALSE(window.isEmpty());
    act(window);
    if (!veil.waitForFinished(kPatienceMs)) veil.kill();
    veil.waitForFinished();
    return veil.exitStatus() == QProcess::NormalExit ? veil.exitCode() : -1;
}

}  // namespace

TEST_CASE("veil writes another picture than its dialog was told, or one after Cancel") {
    const Folder folder;
    const QString in = folder / "in.ppm", out = folder / "out.ppm", told = folder / "told.ppm";
    qputenv("APPDATA", folder.folder.path().toUtf8());
    REQUIRE(run({VEIL_BIN_DIR "/night_scene", in, "300x200"}) == 0);
    const auto cancel = [](const QString& window) { click(window, 496, 960); };
    CHECK(veilWithDialog(in, out, cancel) == 3);
    CHECK_FALSE(QFile::exists(out));
    const auto typeAndConfirm = [](const QString& window) {
        click(window, 476, 643);
        CHECK(run({"xdotool", "type", "--delay", "50", "150"}) == 0);
        CHECK(run({"xdotool", "key", "Return", "sleep", "0.3"}) == 0);
        click(window, 392, 960);
    };
    CHECK(veilWithDialog(in, out, typeAndConfirm) == 0);
    CHECK(run({VEIL_BIN_DIR "/veil", "--quiet", "--strength", "1.5", "-o", told, in}) == 0);
    CHECK_FALSE(bytesOf(out).isEmpty());
    CHECK(bytesOf(out) == bytesOf(told));
}
