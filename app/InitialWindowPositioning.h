#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

class QWidget;

// Where the main window first appears: 860 × 560, at the top right of the screen's free area, 10 points from
// its edges; a window too big for the area keeps 10 points from the left and bottom edges instead.
class InitialWindowPositioning {
public:
    static constexpr int defaultWidth = 860;
    static constexpr int defaultHeight = 560;
    static constexpr int margin = 10;

    // The frame is measured, the content is set: a frame more than a point off the default size gets its
    // content set back to 860 × 560.
    static bool needsResize(const QSize& frameSize);
    // Top-left corner of the frame inside the free area (y grows downwards).
    static QPoint origin(const QRect& visibleArea, const QSize& frameSize);
    static void apply(QWidget* window);
};
