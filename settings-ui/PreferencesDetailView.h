#pragma once

#include "settings-ui/SettingsStores.h"

#include <QScrollArea>

class FileManagerIntegrationSection;
class SettingsToggleRow;

// The preferences page: what Kestro does in the file manager after an action, starting at login, and how
// the file manager's menu groups and lays out the features.
class PreferencesDetailView : public QScrollArea {
    Q_OBJECT
public:
    explicit PreferencesDetailView(const SettingsStores& stores, QWidget* parent = nullptr);

    SettingsToggleRow* revealCreatedItemsRow() const { return m_revealCreated; }
    SettingsToggleRow* revealActionResultsRow() const { return m_revealResults; }
    SettingsToggleRow* launchAtLoginRow() const { return m_launchAtLogin; }
    SettingsToggleRow* failureNotificationsRow() const { return m_notifyFailures; }
    SettingsToggleRow* groupingRow() const { return m_grouping; }
    SettingsToggleRow* collapsedLayoutRow() const { return m_collapsed; }
    FileManagerIntegrationSection* fileManagersSection() const { return m_fileManagers; }

    static QString launchAtLoginExplanation();

private:
    SettingsToggleRow* m_revealCreated;
    SettingsToggleRow* m_revealResults;
    SettingsToggleRow* m_notifyFailures;
    SettingsToggleRow* m_launchAtLogin;
    SettingsToggleRow* m_grouping;
    SettingsToggleRow* m_collapsed;
    FileManagerIntegrationSection* m_fileManagers;
};
