#pragma once

#include "catalogue/KestroFeature.h"
#include "settings-ui/ReorderableListModel.h"

class FeatureSettingsStore;

// One feature's actions in the user's order, each with its switch. Checking a row enables the action in
// the store; moving rows reorders the stored children. Both save at once.
class FeatureChildListModel : public ReorderableListModel {
    Q_OBJECT
public:
    FeatureChildListModel(FeatureSettingsStore& store, KestroFeature feature, QObject* parent = nullptr);

    KestroFeature feature() const { return m_feature; }
    const QList<KestroFeatureChild>& children() const { return m_children; }

    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    int itemCount() const override { return int(m_children.size()); }
    void moveInStore(const QSet<qsizetype>& offsets, int destination) override;
    void readRows() override;

    FeatureSettingsStore& m_store;
    KestroFeature m_feature;
    QList<KestroFeatureChild> m_children;
};
