#include "settings-ui/UserListModel.h"

#include "platform/KestroPaths.h"
#include "settings-ui/SettingsRowDelegate.h"

UserListModel::UserListModel(RowsProvider rows, QObject* parent)
    : QAbstractListModel(parent)
    , m_provider(std::move(rows))
    , m_rows(m_provider()) {}

QString UserListModel::displayPath(const QString& path) {
    const QString home = KestroPaths::homeDirectory();
    if (home.isEmpty() || home == QLatin1String("/"))
        return path;
    if (path == home)
        return QStringLiteral("~");
    if (path.startsWith(home + QLatin1Char('/')))
        return QStringLiteral("~") + path.mid(home.size());
    return path;
}

void UserListModel::reload() {
    if (m_moving)
        return;
    beginResetModel();
    m_rows = m_provider();
    endResetModel();
}

int UserListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant UserListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row& row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::AccessibleTextRole:
        return row.title;
    case Qt::ToolTipRole:
        return row.subtitle.isEmpty() ? row.title : row.title + QLatin1Char('\n') + row.subtitle;
    case SettingsRowDelegate::SubtitleRole:
        return row.subtitle;
    case SettingsRowDelegate::WarningRole:
        return row.warning;
    default:
        return {};
    }
}

bool UserListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !m_renamer || !index.isValid() || index.row() >= m_rows.size())
        return false;
    m_renamer(index.row(), value.toString());
    return true;
}

Qt::ItemFlags UserListModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return m_mover ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (m_mover)
        flags |= Qt::ItemIsDragEnabled;
    if (m_renamer)
        flags |= Qt::ItemIsEditable;
    return flags;
}

Qt::DropActions UserListModel::supportedDropActions() const {
    return Qt::MoveAction;
}
Qt::DropActions UserListModel::supportedDragActions() const {
    return Qt::MoveAction;
}

bool UserListModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                             const QModelIndex& destinationParent, int destinationChild) {
    const int size = int(m_rows.size());
    if (!m_mover || sourceParent.isValid() || destinationParent.isValid() || count <= 0 || sourceRow < 0 ||
        sourceRow + count > size || destinationChild < 0 || destinationChild > size)
        return false;
    if (destinationChild >= sourceRow && destinationChild <= sourceRow + count)
        return false;
    if (!beginMoveRows({}, sourceRow, sourceRow + count - 1, {}, destinationChild))
        return false;
    QSet<qsizetype> offsets;
    for (int row = sourceRow; row < sourceRow + count; ++row)
        offsets.insert(row);
    m_moving = true;
    m_mover(offsets, destinationChild);
    m_moving = false;
    m_rows = m_provider();
    endMoveRows();
    return true;
}
