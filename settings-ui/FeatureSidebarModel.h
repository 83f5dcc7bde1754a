#pragma once

#include "catalogue/KestroFeature.h"

#include <optional>
#include <QAbstractListModel>

class FeatureSettingsStore;

// The sidebar's features in the user's order. Moving rows (by dragging, or through moveRows) reorders the
// stored features at once; a reorder from elsewhere moves the rows and keeps the selection on its feature.
class FeatureSidebarModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { FeatureRole = Qt::UserRole + 1 };

    explicit FeatureSidebarModel(FeatureSettingsStore& store, QObject* parent = nullptr);

    std::optional<KestroFeature> feature(int row) const;
    int rowOf(KestroFeature feature) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;

private:
    void followStore();

    FeatureSettingsStore& m_store;
    QList<KestroFeature> m_features;
    bool m_moving = false;
};
