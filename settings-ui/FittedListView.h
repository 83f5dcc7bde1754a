#pragma once

#include <QListView>

// A list inside a scrolling page: as tall as its rows (no scroll bar of its own), drawn with the settings
// row delegate, and reorderable by dragging its rows' handles when its model allows moves.
class FittedListView : public QListView {
    Q_OBJECT
public:
    explicit FittedListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;
    void setReorderable(bool reorderable);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    // The rows selected, as offsets in the list.
    QSet<qsizetype> selectedOffsets() const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;

private:
    bool onHandle(const QPoint& position) const;

    bool m_pressedOnHandle = false;
};
