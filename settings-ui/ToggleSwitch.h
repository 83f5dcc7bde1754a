#pragma once

#include <QAbstractButton>

// An on/off switch: a checkable button drawn as a sliding knob on a track.
class ToggleSwitch : public QAbstractButton {
    Q_OBJECT
public:
    explicit ToggleSwitch(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    // Draws the switch into a rectangle, so list delegates show the same control as the pages.
    static void paintSwitch(QPainter& painter, const QRectF& rect, bool on, bool enabled,
                            const QPalette& palette);
    static QSize switchSize() { return {40, 22}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};
