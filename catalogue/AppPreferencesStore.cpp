#include "catalogue/AppPreferencesStore.h"

#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/LaunchAtLoginController.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"
#include "platform/Platform.h"
#include "platform/StoredFileBackup.h"

#include <QFileInfo>

AppPreferencesStore::AppPreferencesStore(QObject* parent)
    : QObject(parent) {
    bool unreadable = false;
    const AppPreferences stored = AppPreferencesPersistence::load(unreadable);
    // The first save writes over a file that did not load; it is kept aside first.
    if (unreadable)
        StoredFileBackup::keepCopy(QFileInfo(AppPreferencesPersistence::fileURL()).fileName());
    m_revealCreatedItems = stored.revealCreatedItems;
    m_revealActionResults = stored.revealActionResults;
    m_showsFailureNotifications = stored.showsFailureNotifications;
    // The system, not the file, knows whether we start at login; the file follows it.
    m_launchAtLogin = Platform::loginItems().isEnabled();
    if (stored.launchAtLogin != m_launchAtLogin)
        save();
}

void AppPreferencesStore::setRevealCreatedItems(bool value) {
    setSwitch(m_revealCreatedItems, value, &AppPreferencesStore::revealCreatedItemsChanged);
}

void AppPreferencesStore::setRevealActionResults(bool value) {
    setSwitch(m_revealActionResults, value, &AppPreferencesStore::revealActionResultsChanged);
}

void AppPreferencesStore::setShowsFailureNotifications(bool value) {
    setSwitch(m_showsFailureNotifications, value, &AppPreferencesStore::showsFailureNotificationsChanged);
}

void AppPreferencesStore::setSwitch(bool& field, bool value, void (AppPreferencesStore::*changed)(bool)) {
    if (value == field)
        return;
    field = value;
    save();
    emit(this->*changed)(value);
}

void AppPreferencesStore::setLaunchAtLogin(bool value) {
    const bool old = m_launchAtLogin;
    m_launchAtLogin = value;
    emit launchAtLoginChanged(value);
    if (m_isRollingBackLaunchAtLogin || value == old)
        return;
    try {
        LaunchAtLoginController::setEnabled(value);
        save();
    } catch (const std::exception& error) {
        m_isRollingBackLaunchAtLogin = true;
        setLaunchAtLogin(old);
        m_isRollingBackLaunchAtLogin = false;
        DiagnosticLog::append(QStringLiteral("launch at login refused: ") + describeError(error));
        emit launchAtLoginRefused(describeError(error));
    }
}

void AppPreferencesStore::save() const {
    AppPreferencesPersistence::save(
        {m_revealCreatedItems, m_revealActionResults, m_launchAtLogin, m_showsFailureNotifications});
}
