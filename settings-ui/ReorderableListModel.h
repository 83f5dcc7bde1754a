#pragma once

#include <QAbstractListModel>
#include <QSet>

// A flat list whose rows the user reorders by dragging. A move is carried out by the store behind the
// model; while the store reports its own change, isMoving() is true so the model does not reset itself
// in the middle of the move.
class ReorderableListModel : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;

protected:
    // The number of rows the model holds now.
    virtual int itemCount() const = 0;
    // Whether rows may be moved at all.
    virtual bool canMove() const { return true; }
    // Moves the rows at the offsets to the destination in the store.
    virtual void moveInStore(const QSet<qsizetype>& offsets, int destination) = 0;
    // Reads the rows again from the store.
    virtual void readRows() = 0;

    // True for a valid index within the current rows.
    bool holdsRow(const QModelIndex& index) const { return index.isValid() && index.row() < itemCount(); }
    bool isMoving() const { return m_moving; }
    // Reads the rows again as a model reset, unless a move of this model is under way.
    void reloadUnlessMoving();

private:
    bool m_moving = false;
};
