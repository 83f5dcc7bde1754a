#pragma once

#include "catalogue/KestroFeature.h"
#include "settings-ui/ReorderableListModel.h"

#include <optional>

class FeatureSettingsStore;

// The sidebar's features in the user's order. Moving rows (by dragging, or through moveRows) reorders the
// stored features at once; a reorder from elsewhere moves the rows and keeps the selection on its feature.
class FeatureSidebarModel : public ReorderableListModel {
    Q_OBJECT
public:
    enum Role { FeatureRole = Qt::UserRole + 1 };

    explicit FeatureSidebarModel(FeatureSettingsStore& store, QObject* parent = nullptr);

    std::optional<KestroFeature> feature(int row) const;
    int rowOf(KestroFeature feature) const;

    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    int itemCount() const override { return int(m_features.size()); }
    void moveInStore(const QSet<qsizetype>& offsets, int destination) override;
    void readRows() override;
    void followStore();

    FeatureSettingsStore& m_store;
    QList<KestroFeature> m_features;
};
