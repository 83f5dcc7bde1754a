#include "settings-ui/UserListModel.h"

#include "platform/KestroPaths.h"
#include "settings-ui/SettingsRowDelegate.h"

UserListModel::UserListModel(RowsProvider rows, QObject* parent)
    : ReorderableListModel(parent)
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
    reloadUnlessMoving();
}

QVariant UserListModel::data(const QModelIndex& index, int role) const {
    if (!holdsRow(index))
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
    if (role != Qt::EditRole || !m_renamer || !holdsRow(index))
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
