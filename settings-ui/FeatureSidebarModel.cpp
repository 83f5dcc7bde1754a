#include "settings-ui/FeatureSidebarModel.h"

#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/SymbolIcons.h"

FeatureSidebarModel::FeatureSidebarModel(FeatureSettingsStore& store, QObject* parent)
    : QAbstractListModel(parent)
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

int FeatureSidebarModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_features.size());
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

Qt::DropActions FeatureSidebarModel::supportedDropActions() const {
    return Qt::MoveAction;
}
Qt::DropActions FeatureSidebarModel::supportedDragActions() const {
    return Qt::MoveAction;
}

bool FeatureSidebarModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                                   const QModelIndex& destinationParent, int destinationChild) {
    const int size = int(m_features.size());
    if (sourceParent.isValid() || destinationParent.isValid() || count <= 0 || sourceRow < 0 ||
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
    m_store.moveFeatures(offsets, destinationChild);
    m_moving = false;
    m_features = m_store.orderedFeatures();
    endMoveRows();
    return true;
}

void FeatureSidebarModel::followStore() {
    if (m_moving)
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
