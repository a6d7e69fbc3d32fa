#pragma once

// The records behind the drawing operations.
//
// A target of a window paints into an image of the window's client area, as one in memory does. endDraw shows
// it: during the widget's paint event by copying it into the widget, at any other time by asking for a paint
// event. So a widget's paintEvent lets the window's owner paint and does no drawing itself.

#include <QBrush>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPointer>
#include <QWidget>

#include "platform/drawing.h"

namespace veil {

struct RenderTarget {
    QImage image;
    QPainter painter;          // active from beginDraw to endDraw; after `image`, so that it ends first
    QPointer<QWidget> widget;  // null for a target in memory
    bool ofWindow = false;
    bool isLost = false;  // the next endDraw shows nothing
    double scale = 1.0;
};

struct Brush {
    QBrush brush;
};

struct TextFormat {
    QFont font;  // its pixel is a text unit, see text.cpp
};

struct Bitmap {
    QImage image;
};

/// Whether there is something to draw on: a target between beginDraw and endDraw.
inline bool isDrawing(const RenderTarget* target) { return target && target->painter.isActive(); }

}  // namespace veil
