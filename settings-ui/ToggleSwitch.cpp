#include "settings-ui/ToggleSwitch.h"

#include <QPainter>
#include <QPainterPath>

ToggleSwitch::ToggleSwitch(QWidget* parent)
    : QAbstractButton(parent) {
    setCheckable(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ToggleSwitch::sizeHint() const {
    return switchSize();
}

void ToggleSwitch::paintSwitch(QPainter& painter, const QRectF& rect, bool on, bool enabled,
                               const QPalette& palette) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal radius = rect.height() / 2;
    QColor track = on ? QColor(0x2f, 0x7c, 0xf6) : palette.color(QPalette::Mid);
    if (!enabled)
        track.setAlphaF(0.4);
    painter.setPen(Qt::NoPen);
    painter.setBrush(track);
    painter.drawRoundedRect(rect, radius, radius);
    const qreal inset = 2;
    const qreal knob = rect.height() - 2 * inset;
    const qreal x = on ? rect.right() - inset - knob : rect.left() + inset;
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(x, rect.top() + inset, knob, knob));
    painter.restore();
}

void ToggleSwitch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QSize size = switchSize();
    const QRectF area((width() - size.width()) / 2.0, (height() - size.height()) / 2.0, size.width(),
                      size.height());
    paintSwitch(painter, area, isChecked(), isEnabled(), palette());
    if (hasFocus()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(area.adjusted(-1.5, -1.5, 1.5, 1.5), size.height() / 2.0 + 1.5,
                                size.height() / 2.0 + 1.5);
    }
}
