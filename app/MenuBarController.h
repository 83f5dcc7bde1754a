#pragma once

#include "app/StatusMenuContent.h"

#include <functional>
#include <QHash>
#include <QObject>
#include <QPointer>

class CustomDestinationStore;
class FeatureSettingsStore;
class KestroMainWindow;
class QAction;
class QMenu;
class RunningActions;
class QSystemTrayIcon;

// The tray icon: a left click shows or hides the main window, the context menu (built anew each time it
// opens) offers the window, the quick-open places, the user's custom actions and quitting. Errors of the
// actions started here are shown in an alert.
class MenuBarController : public QObject {
    Q_OBJECT
public:
    using WindowFactory = std::function<KestroMainWindow*()>;
    using ErrorPresenter = std::function<void(const QString& description)>;

    MenuBarController(FeatureSettingsStore& featureSettings, CustomDestinationStore& destinations,
                      WindowFactory createWindow, QObject* parent = nullptr);
    ~MenuBarController() override;

    // Creates the tray icon. Returns whether the desktop has a tray to show it in; without one the window
    // is the only way in, so the host keeps it reachable.
    bool install();
    QSystemTrayIcon* trayIcon() const { return m_tray; }
    QMenu* menu() const { return m_menu; }

    // Shows the running long actions in the tooltip and at the top of the menu; choosing one calls
    // openProgress (the progress window).
    void setRunningActions(RunningActions* actions, std::function<void()> openProgress);

    // Fills a menu with the items of this moment.
    void buildMenu(QMenu* menu);
    // The main window if it was created.
    KestroMainWindow* mainWindow() const { return m_window; }
    void showMainWindow();
    void resetAndOpenMainWindow();
    // The left click: hides the window when it is visible and active, else presents it.
    void handleStatusItemClick();

    void openQuickOpenDestination(const QString& path);
    void performQuickOpenAction(const QString& actionID);
    void performCustomAction(const QString& actionID);
    void quitApp();

    void showActionError(const QString& description);
    // Tests replace the alert to see what it would have said.
    void setErrorPresenter(ErrorPresenter presenter) { m_presentError = std::move(presenter); }

private:
    void performWithContext(const QString& actionID);
    void run(const std::function<void()>& action);
    void resetTransientWindowState();
    void showProgress();

    QString toolTipText() const;

    FeatureSettingsStore& m_featureSettings;
    CustomDestinationStore& m_destinations;
    WindowFactory m_createWindow;
    ErrorPresenter m_presentError;
    QPointer<KestroMainWindow> m_window;
    QSystemTrayIcon* m_tray = nullptr;
    QMenu* m_menu = nullptr;
    RunningActions* m_runningActions = nullptr;
    std::function<void()> m_openProgress;
    // The menu's progress entries while it is built from them, by action.
    QHash<quint64, QPointer<QAction>> m_progressEntries;
};
