#include "settings-ui/ReorderableListModel.h"

int ReorderableListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : itemCount();
}

Qt::DropActions ReorderableListModel::supportedDropActions() const {
    return Qt::MoveAction;
}
Qt::DropActions ReorderableListModel::supportedDragActions() const {
    return Qt::MoveAction;
}

bool ReorderableListModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                                    const QModelIndex& destinationParent, int destinationChild) {
    const int size = itemCount();
    if (!canMove() || sourceParent.isValid() || destinationParent.isValid() || count <= 0 || sourceRow < 0 ||
        sourceRow + count > size || destinationChild < 0 || destinationChild > size)
        return false;
    // Dropping a block onto itself or right after itself moves nothing.
    if (destinationChild >= sourceRow && destinationChild <= sourceRow + count)
        return false;
    if (!beginMoveRows({}, sourceRow, sourceRow + count - 1, {}, destinationChild))
        return false;
    QSet<qsizetype> offsets;
    for (int row = sourceRow; row < sourceRow + count; ++row)
        offsets.insert(row);
    m_moving = true;
    moveInStore(offsets, destinationChild);
    m_moving = false;
    readRows();
    endMoveRows();
    return true;
}

void ReorderableListModel::reloadUnlessMoving() {
    if (m_moving)
        return;
    beginResetModel();
    readRows();
    endResetModel();
}
