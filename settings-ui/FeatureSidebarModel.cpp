#include "settings-ui/FeatureSidebarModel.h"

#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/SymbolIcons.h"

FeatureSidebarModel::FeatureSidebarModel(FeatureSettingsStore& store, QObject* parent)
    : ReorderableListModel(parent)
    , m_store(store)
    , m_features(store.orderedFeatures()) {
    connect(&m_store, &FeatureSettingsStore::featureOrderChanged, this, &FeatureSidebarModel::followStore);
    connect(&m_store, &FeatureSettingsStore::enabledFeatureIDsChanged, this, [this] {
        if (!m_features.isEmpty())
            emit dataChanged(index(0), index(int(m_features.size()) - 1), {Qt::ForegroundRole});
    });
}

std::optional<KestroFeature> FeatureSidebarModel::feature(int row) const {
    if (row < 0 || row >= m_features.size())
        return std::nullopt;
    return m_features.at(row);
}

int FeatureSidebarModel::rowOf(KestroFeature feature) const {
    return int(m_features.indexOf(feature));
}

QVariant FeatureSidebarModel::data(const QModelIndex& index, int role) const {
    const auto feature = this->feature(index.row());
    if (!index.isValid() || !feature)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return feature->title();
    case Qt::ToolTipRole:
        return feature->summary();
    case Qt::DecorationRole:
        return SymbolIcons::tile(feature->systemImage(), SymbolIcons::tint(feature->systemImage()), 22,
                                 feature->title());
    case Qt::ForegroundRole:
        // A feature that is off reads dimmed, so the list shows at a glance what the menu holds.
        if (!m_store.isEnabled(*feature))
            return QColor(0x88, 0x88, 0x88);
        return {};
    case FeatureRole:
        return int(feature->value());
    default:
        return {};
    }
}

Qt::ItemFlags FeatureSidebarModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
}

void FeatureSidebarModel::moveInStore(const QSet<qsizetype>& offsets, int destination) {
    m_store.moveFeatures(offsets, destination);
}

void FeatureSidebarModel::readRows() {
    m_features = m_store.orderedFeatures();
}

void FeatureSidebarModel::followStore() {
    if (isMoving())
        return;
    const QList<KestroFeature> features = m_store.orderedFeatures();
    if (features == m_features)
        return;
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    for (const QModelIndex& index : before) {
        const auto feature = this->feature(index.row());
        const int row = feature ? int(features.indexOf(*feature)) : -1;
        after.append(row < 0 ? QModelIndex() : createIndex(row, 0));
    }
    m_features = features;
    changePersistentIndexList(before, after);
    emit layoutChanged();
}
