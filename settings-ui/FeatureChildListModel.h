#pragma once

#include "catalogue/KestroFeature.h"

#include <QAbstractListModel>

class FeatureSettingsStore;

// One feature's actions in the user's order, each with its switch. Checking a row enables the action in
// the store; moving rows reorders the stored children. Both save at once.
class FeatureChildListModel : public QAbstractListModel {
    Q_OBJECT
public:
    FeatureChildListModel(FeatureSettingsStore& store, KestroFeature feature, QObject* parent = nullptr);

    KestroFeature feature() const { return m_feature; }
    const QList<KestroFeatureChild>& children() const { return m_children; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;

private:
    void followOrder();

    FeatureSettingsStore& m_store;
    KestroFeature m_feature;
    QList<KestroFeatureChild> m_children;
    bool m_moving = false;
};
