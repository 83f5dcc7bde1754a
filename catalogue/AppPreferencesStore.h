#pragma once

#include "catalogue/AppPreferences.h"

#include <QObject>

// The host's preferences as the settings window sees them. Launch at login mirrors the system's state;
// a change the system refuses is rolled back.
class AppPreferencesStore : public QObject {
    Q_OBJECT
public:
    explicit AppPreferencesStore(QObject* parent = nullptr);

    bool revealCreatedItems() const { return m_revealCreatedItems; }
    bool revealActionResults() const { return m_revealActionResults; }
    bool launchAtLogin() const { return m_launchAtLogin; }
    bool showsFailureNotifications() const { return m_showsFailureNotifications; }

    void setRevealCreatedItems(bool value);
    void setRevealActionResults(bool value);
    void setLaunchAtLogin(bool value);
    void setShowsFailureNotifications(bool value);

signals:
    void revealCreatedItemsChanged(bool value);
    void revealActionResultsChanged(bool value);
    void launchAtLoginChanged(bool value);
    // The system refused to start Kestro at login (the switch went back); reason is its message.
    void launchAtLoginRefused(const QString& reason);
    void showsFailureNotificationsChanged(bool value);

private:
    void save() const;
    // The preferences that are a plain switch of the file's: set, save, announce.
    void setSwitch(bool& field, bool value, void (AppPreferencesStore::*changed)(bool));

    bool m_isRollingBackLaunchAtLogin = false;
    bool m_revealCreatedItems = false;
    bool m_revealActionResults = true;
    bool m_launchAtLogin = false;
    bool m_showsFailureNotifications = true;
};
