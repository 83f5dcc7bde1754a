#pragma once

#include "settings-ui/SettingsPage.h"
#include "settings-ui/SettingsStores.h"

#include <QHash>
#include <QWidget>

class FeatureDetailView;
class PreferencesDetailView;
class QStackedWidget;
class SettingsSidebar;

// The settings window's content: the sidebar and the selected page. It keeps no state beyond the selection;
// every switch and list goes straight to the stores, which save at once.
class SettingsContentView : public QWidget {
    Q_OBJECT
public:
    explicit SettingsContentView(const SettingsStores& stores, QWidget* parent = nullptr);

    SettingsSidebar* sidebar() const { return m_sidebar; }
    SettingsPage currentPage() const;
    void showPage(const SettingsPage& page);
    // The page widget shown now.
    QWidget* currentDetail() const;
    // The feature's page (built on first use).
    FeatureDetailView* featurePage(KestroFeature feature);
    PreferencesDetailView* preferencesPage();
    void openFeatureRequestSheet();

private:
    SettingsStores m_stores;
    SettingsSidebar* m_sidebar;
    QStackedWidget* m_detail;
    QHash<KestroFeature, FeatureDetailView*> m_featurePages;
    PreferencesDetailView* m_preferencesPage = nullptr;
};
