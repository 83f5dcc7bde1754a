#include "app/InitialWindowPositioning.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>
#include <cstdlib>

bool InitialWindowPositioning::needsResize(const QSize& frameSize) {
    return std::abs(frameSize.width() - defaultWidth) > 1 || std::abs(frameSize.height() - defaultHeight) > 1;
}

QPoint InitialWindowPositioning::origin(const QRect& visibleArea, const QSize& frameSize) {
    // QRect's right() and bottom() are the last pixels inside; the far edges are one further.
    const int areaRight = visibleArea.x() + visibleArea.width();
    const int areaBottom = visibleArea.y() + visibleArea.height();
    const int x = std::max(visibleArea.x() + margin, areaRight - frameSize.width() - margin);
    const int y = std::min(visibleArea.y() + margin, areaBottom - frameSize.height() - margin);
    return {x, y};
}

void InitialWindowPositioning::apply(QWidget* window) {
    if (needsResize(window->frameGeometry().size()))
        window->resize(defaultWidth, defaultHeight);
    QScreen* screen = window->screen();
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    window->move(origin(screen->availableGeometry(), window->frameGeometry().size()));
}
