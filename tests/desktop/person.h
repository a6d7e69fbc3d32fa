#pragma once

// A person before the plug-in's windows: mouse and keys as the system gives them. Points are DIPs of the
// window that takes input.

#include <QImage>
#include <QPoint>
#include <QString>
#include <QWidget>
#include <functional>

namespace person {

using Act = std::function<void()>;

/// Connects to the screen, for the life of the process. False if there is none.
bool startSession();

/// The dialog or list that takes input; null if there is none.
QWidget* topWindow();

/// `open` opens a window and returns when it is gone; `act` is played on it. False if no window came, or if
/// it outlived `act`; it is then sent Escape until it goes.
bool meet(const Act& open, const Act& act);

void press(QPoint at);
void moveTo(QPoint at);
void release(QPoint at);
void click(QPoint at);
void doubleClick(QPoint at);
void pressKey(Qt::Key key);
void type(const QString& text);

/// What is on screen of the window, in device pixels.
QImage pictureOf(const QWidget& window);

// Where the dialog has its controls.
constexpr QPoint kOk{392, 960}, kCancel{496, 960}, kClose{538, 20}, kPresetBox{186, 443}, kSave{425, 443},
    kPreviewToggle{30, 376}, kOutputToggle{30, 530}, kAdvancedToggle{30, 584}, kNothing{30, 480};
constexpr int rowMiddle(int row) { return 643 + 44 * row; }
constexpr QPoint labelOf(int row) { return {40, rowMiddle(row)}; }
constexpr QPoint valueOf(int row) { return {476, rowMiddle(row)}; }
constexpr QPoint upArrowOf(int row) { return {532, rowMiddle(row) - 5}; }
constexpr QPoint downArrowOf(int row) { return {532, rowMiddle(row) + 5}; }
/// So many thirds of the way along the slider's track; whole pixels at one and a half pixels to the DIP too.
constexpr QPoint trackOf(int row, int thirds) { return {124 + 98 * thirds, rowMiddle(row)}; }
constexpr QPoint itemOf(int index) { return {60, 26 * index + 13}; }  // of the list
constexpr QPoint kSaveOk{138, 183}, kSaveCancel{234, 183}, kSaveClose{280, 20};

}  // namespace person
