#pragma once

#include "intake/KestroActionURL.h"

#include <chrono>
#include <QObject>
#include <QStringList>
#include <QThreadPool>
#include <QUrl>

class ActionProgressWindow;
class AppPreferencesStore;
class CustomDestinationStore;
class CustomShortcutActionStore;
class FeatureSettingsStore;
class FinderSelectionModel;
class FinderViewPresetStore;
class KestroMainWindow;
class KestroQueuedActionRunner;
class MenuBarController;
class RunningActions;
class ScheduledDeletionListStore;
class ScheduledDeletionRunner;
class SettingsContentView;

// The long-running host. Constructing it creates the stores (in a fixed order), logs "KestroApp init",
// runs the queue once and starts its polling, and starts the scheduled-deletion runner; finishLaunching()
// then installs the tray, logs "app launched", drains the queue again and shows or hides the window.
class KestroHost : public QObject {
    Q_OBJECT
public:
    // queuePollInterval: how often the queue folders are looked at between the passes that are asked for.
    explicit KestroHost(bool launchedAtLogin, QObject* parent = nullptr,
                        std::chrono::milliseconds queuePollInterval = std::chrono::seconds(1));
    ~KestroHost() override;

    void finishLaunching();
    // Stops polling and the deletion runner; queued actions and URL requests in hand finish first.
    void shutDown();

    void openURL(const QString& url, RequestOrigin origin = RequestOrigin::user);
    // A message from a later launch: ["open-url", url] (the user's command line), ["open-link", url] (a
    // link another program opened) or ["show"]; or ["drain"] from the file managers' hand-off after it
    // queued a request.
    void handleMessage(const QStringList& message);
    // The user started Kestro again while it runs: show the window.
    void reopen();

    bool shouldPresentMainWindow() const { return m_shouldPresentMainWindow; }
    bool hasTray() const { return m_hasTray; }
    // True once the tray is installed and the queue's first pass is done.
    bool isReady() const { return m_trayInstalled && m_firstDrainDone; }

    FinderSelectionModel& selectionModel() { return *m_selectionModel; }
    FeatureSettingsStore& featureSettings() { return *m_featureSettings; }
    CustomDestinationStore& customDestinations() { return *m_customDestinations; }
    CustomShortcutActionStore& customShortcutActions() { return *m_customShortcutActions; }
    FinderViewPresetStore& finderViewPresets() { return *m_finderViewPresets; }
    AppPreferencesStore& preferences() { return *m_preferences; }
    ScheduledDeletionListStore& scheduledDeletions() { return *m_scheduledDeletions; }
    KestroQueuedActionRunner& queueRunner() { return *m_queueRunner; }
    MenuBarController& menuBar() { return *m_menuBar; }
    RunningActions& runningActions() { return *m_runningActions; }
    // The progress window, once launching has finished.
    ActionProgressWindow* progressWindow() const { return m_progressWindow; }
    // The main window, created on first use.
    KestroMainWindow* mainWindow() const;
    SettingsContentView* contentView() const;

signals:
    void showRequested();
    void ready();
    // The file managers' menus are written: once after ready, then after every settings change.
    void fileManagersWritten();

private:
    KestroMainWindow* createMainWindow();
    void runLaunchPresentation();
    void presentationStep();
    void noteReady();
    // Writes the file managers' menus from the saved settings; what cannot be written reaches the user.
    void writeFileManagerMenus();

    bool m_shouldPresentMainWindow;
    bool m_hasTray = false;
    bool m_trayInstalled = false;
    bool m_firstDrainDone = false;
    QStringList m_fileManagerProblems;
    bool m_readyAnnounced = false;
    FinderSelectionModel* m_selectionModel;
    FeatureSettingsStore* m_featureSettings;
    CustomDestinationStore* m_customDestinations;
    CustomShortcutActionStore* m_customShortcutActions;
    FinderViewPresetStore* m_finderViewPresets;
    AppPreferencesStore* m_preferences;
    ScheduledDeletionListStore* m_scheduledDeletions;
    KestroQueuedActionRunner* m_queueRunner = nullptr;
    ScheduledDeletionRunner* m_deletionRunner = nullptr;
    MenuBarController* m_menuBar = nullptr;
    RunningActions* m_runningActions;
    ActionProgressWindow* m_progressWindow = nullptr;
    // URL requests run here, never on the main thread: a stuck action must not freeze the tray.
    QThreadPool m_requestThreads;
};
