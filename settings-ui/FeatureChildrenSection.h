#pragma once

#include "catalogue/KestroFeature.h"
#include "settings-ui/SettingsSection.h"

class FeatureChildListModel;
class FeatureSettingsStore;
class FittedListView;
class QPushButton;

// A feature's actions with their switches and drag handles, and one button that turns them all on or off.
class FeatureChildrenSection : public SettingsSection {
    Q_OBJECT
public:
    FeatureChildrenSection(FeatureSettingsStore& store, KestroFeature feature, QWidget* parent = nullptr);

    FittedListView* listView() const { return m_list; }
    FeatureChildListModel* model() const { return m_model; }
    QPushButton* allButton() const { return m_allButton; }
    // Whether every child of the feature is enabled (what the all-on/all-off button shows).
    bool allChildrenEnabled() const;

private:
    void updateAllButton();

    FeatureSettingsStore& m_store;
    KestroFeature m_feature;
    FeatureChildListModel* m_model;
    FittedListView* m_list;
    QPushButton* m_allButton;
};
