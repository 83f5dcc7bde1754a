#include "settings-ui/FittedListView.h"

#include "settings-ui/SettingsRowDelegate.h"

#include <QMouseEvent>
#include <QSet>

FittedListView::FittedListView(QWidget* parent)
    : QListView(parent) {
    setItemDelegate(new SettingsRowDelegate(this));
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(false);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
}

void FittedListView::setReorderable(bool reorderable) {
    setDragEnabled(reorderable);
    setAcceptDrops(reorderable);
    setDropIndicatorShown(reorderable);
    setDragDropMode(reorderable ? QAbstractItemView::InternalMove : QAbstractItemView::NoDragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDragDropOverwriteMode(false);
}

void FittedListView::setModel(QAbstractItemModel* newModel) {
    QListView::setModel(newModel);
    if (!newModel)
        return;
    connect(newModel, &QAbstractItemModel::modelReset, this, &FittedListView::updateGeometry);
    connect(newModel, &QAbstractItemModel::layoutChanged, this, &FittedListView::updateGeometry);
    connect(newModel, &QAbstractItemModel::rowsInserted, this, &FittedListView::updateGeometry);
    connect(newModel, &QAbstractItemModel::rowsRemoved, this, &FittedListView::updateGeometry);
    connect(newModel, &QAbstractItemModel::dataChanged, this, &FittedListView::updateGeometry);
    updateGeometry();
}

QSize FittedListView::sizeHint() const {
    int height = 2 * frameWidth();
    if (model()) {
        for (int row = 0; row < model()->rowCount(rootIndex()); ++row)
            height += std::max(sizeHintForRow(row), 0) + 2 * spacing();
    }
    return {QListView::sizeHint().width(), std::max(height, 4)};
}

QSize FittedListView::minimumSizeHint() const {
    return {100, sizeHint().height()};
}

QSet<qsizetype> FittedListView::selectedOffsets() const {
    QSet<qsizetype> offsets;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        offsets.insert(index.row());
    return offsets;
}

bool FittedListView::onHandle(const QPoint& position) const {
    const QModelIndex index = indexAt(position);
    return dragEnabled() && index.isValid() && index.flags().testFlag(Qt::ItemIsDragEnabled) &&
           SettingsRowDelegate::handleRect(visualRect(index)).contains(position);
}

void FittedListView::mousePressEvent(QMouseEvent* event) {
    m_pressedOnHandle = onHandle(event->position().toPoint());
    QListView::mousePressEvent(event);
}

void FittedListView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::NoButton)
        viewport()->setCursor(onHandle(event->position().toPoint()) ? Qt::OpenHandCursor : Qt::ArrowCursor);
    QListView::mouseMoveEvent(event);
}

// Only the handle drags a row; a press anywhere else selects it and nothing more.
void FittedListView::startDrag(Qt::DropActions supportedActions) {
    if (m_pressedOnHandle)
        QListView::startDrag(supportedActions);
}
