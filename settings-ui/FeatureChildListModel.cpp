#include "settings-ui/FeatureChildListModel.h"

#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/SettingsRowDelegate.h"
#include "settings-ui/SymbolIcons.h"

FeatureChildListModel::FeatureChildListModel(FeatureSettingsStore& store, KestroFeature feature,
                                             QObject* parent)
    : QAbstractListModel(parent)
    , m_store(store)
    , m_feature(feature)
    , m_children(store.orderedChildren(feature)) {
    connect(&m_store, &FeatureSettingsStore::childOrderChanged, this, [this](KestroFeature changed) {
        if (changed == m_feature)
            followOrder();
    });
    connect(&m_store, &FeatureSettingsStore::enabledChildIDsChanged, this, [this] {
        if (!m_children.isEmpty())
            emit dataChanged(index(0), index(int(m_children.size()) - 1), {Qt::CheckStateRole});
    });
}

int FeatureChildListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_children.size());
}

QVariant FeatureChildListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_children.size())
        return {};
    const KestroFeatureChild& child = m_children.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return child.title;
    case SettingsRowDelegate::SubtitleRole:
    case Qt::ToolTipRole:
        return child.summary;
    case Qt::DecorationRole:
        return SymbolIcons::tile(child.systemImage, SymbolIcons::tint(m_feature.systemImage()), 28,
                                 child.title);
    case Qt::CheckStateRole:
        return m_store.isEnabled(child) ? Qt::Checked : Qt::Unchecked;
    default:
        return {};
    }
}

bool FeatureChildListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole || !index.isValid() || index.row() >= m_children.size())
        return false;
    m_store.setEnabled(value.toInt() == Qt::Checked, m_children.at(index.row()));
    emit dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}

Qt::ItemFlags FeatureChildListModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsUserCheckable;
}

Qt::DropActions FeatureChildListModel::supportedDropActions() const {
    return Qt::MoveAction;
}
Qt::DropActions FeatureChildListModel::supportedDragActions() const {
    return Qt::MoveAction;
}

bool FeatureChildListModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                                     const QModelIndex& destinationParent, int destinationChild) {
    const int size = int(m_children.size());
    if (sourceParent.isValid() || destinationParent.isValid() || count <= 0 || sourceRow < 0 ||
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
    m_store.moveChildren(m_feature, offsets, destinationChild);
    m_moving = false;
    m_children = m_store.orderedChildren(m_feature);
    endMoveRows();
    return true;
}

void FeatureChildListModel::followOrder() {
    if (m_moving)
        return;
    beginResetModel();
    m_children = m_store.orderedChildren(m_feature);
    endResetModel();
}
