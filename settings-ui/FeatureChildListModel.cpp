#include "settings-ui/FeatureChildListModel.h"

#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/SettingsRowDelegate.h"
#include "settings-ui/SymbolIcons.h"

FeatureChildListModel::FeatureChildListModel(FeatureSettingsStore& store, KestroFeature feature,
                                             QObject* parent)
    : ReorderableListModel(parent)
    , m_store(store)
    , m_feature(feature)
    , m_children(store.orderedChildren(feature)) {
    connect(&m_store, &FeatureSettingsStore::childOrderChanged, this, [this](KestroFeature changed) {
        if (changed == m_feature)
            reloadUnlessMoving();
    });
    connect(&m_store, &FeatureSettingsStore::enabledChildIDsChanged, this, [this] {
        if (!m_children.isEmpty())
            emit dataChanged(index(0), index(int(m_children.size()) - 1), {Qt::CheckStateRole});
    });
}

QVariant FeatureChildListModel::data(const QModelIndex& index, int role) const {
    if (!holdsRow(index))
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
    if (role != Qt::CheckStateRole || !holdsRow(index))
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

void FeatureChildListModel::moveInStore(const QSet<qsizetype>& offsets, int destination) {
    m_store.moveChildren(m_feature, offsets, destination);
}

void FeatureChildListModel::readRows() {
    m_children = m_store.orderedChildren(m_feature);
}
