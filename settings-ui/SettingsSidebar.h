#pragma once

#include "settings-ui/SettingsPage.h"

#include <QWidget>

class FeatureSettingsStore;
class FeatureSidebarModel;
class QListView;
class QListWidget;

// The left column: the brand, the features in the user's order (drag to reorder), the preferences and the
// feature-request entry.
class SettingsSidebar : public QWidget {
    Q_OBJECT
public:
    explicit SettingsSidebar(FeatureSettingsStore& store, QWidget* parent = nullptr);

    QListView* featureList() const { return m_features; }
    QListWidget* extraList() const { return m_extras; }
    FeatureSidebarModel* model() const { return m_model; }
    SettingsPage currentPage() const { return m_page; }
    void select(const SettingsPage& page);

signals:
    void pageSelected(const SettingsPage& page);
    void featureRequestClicked();

private:
    FeatureSidebarModel* m_model;
    QListView* m_features;
    QListWidget* m_extras;
    SettingsPage m_page;
    bool m_selecting = false;
};
