#pragma once

// The font of everything that is drawn, in windows of our own painting and in the system's controls.

#include <QFont>
#include <QString>

namespace veil {

/// `family`, or what stands for it where it is missing; unhinted, so that a layout keeps its proportions at
/// every scale. Needs a QGuiApplication.
QFont makeFont(const QString& family, int pixelSize, int weight);

}  // namespace veil
