#pragma once

#include "settings-ui/ReorderableListModel.h"

#include <functional>

// The rows of one of the user's own lists (destinations, custom actions, view presets, pending deletions),
// read from its store through a function and written back through the store's move and rename operations.
class UserListModel : public ReorderableListModel {
    Q_OBJECT
public:
    struct Row {
        QString title;
        QString subtitle;
        bool warning = false; // the subtitle tells of a problem (a folder that is gone)
    };
    using RowsProvider = std::function<QList<Row>()>;
    using Mover = std::function<void(const QSet<qsizetype>& offsets, qsizetype destination)>;
    using Renamer = std::function<void(int row, const QString& name)>;

    explicit UserListModel(RowsProvider rows, QObject* parent = nullptr);

    // A path as the rows show it: the home folder as "~".
    static QString displayPath(const QString& path);

    // Without a mover the rows cannot be dragged; without a renamer they cannot be edited.
    void setMover(Mover mover) { m_mover = std::move(mover); }
    void setRenamer(Renamer renamer) { m_renamer = std::move(renamer); }
    // Reads the rows again (connected to the store's change signal).
    void reload();
    const QList<Row>& rows() const { return m_rows; }

    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    int itemCount() const override { return int(m_rows.size()); }
    bool canMove() const override { return bool(m_mover); }
    void moveInStore(const QSet<qsizetype>& offsets, int destination) override {
        m_mover(offsets, destination);
    }
    void readRows() override { m_rows = m_provider(); }

    RowsProvider m_provider;
    Mover m_mover;
    Renamer m_renamer;
    QList<Row> m_rows;
};
