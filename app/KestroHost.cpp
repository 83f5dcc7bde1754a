#include "app/KestroHost.h"

#include "app/ActionProgressWindow.h"
#include "app/DisplayEnvironment.h"
#include "app/KestroMainWindow.h"
#include "app/MenuBarController.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsStore.h"
#include "catalogue/KestroSettingsChangeNotifier.h"
#include "intake/FailureNotifier.h"
#include "intake/FinderSelectionModel.h"
#include "intake/KestroQueuedActionRunner.h"
#include "intake/RunningActions.h"
#include "integration/FileManagerIntegration.h"
#include "platform/DiagnosticLog.h"
#include "platform/PropertyListFile.h"
#include "settings-ui/SettingsContentView.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionStore.h"
#include "stores/FinderViewPresetStore.h"
#include "stores/ScheduledDeletionListStore.h"
#include "stores/ScheduledDeletionRunner.h"

#include <algorithm>

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>

KestroHost::KestroHost(bool launchedAtLogin, QObject* parent, std::chrono::milliseconds queuePollInterval)
    : QObject(parent)
    , m_shouldPresentMainWindow(!launchedAtLogin)
    , m_selectionModel(new FinderSelectionModel(this))
    , m_featureSettings(new FeatureSettingsStore(this))
    , m_customDestinations(new CustomDestinationStore(this))
    , m_customShortcutActions(new CustomShortcutActionStore(this))
    , m_finderViewPresets(new FinderViewPresetStore(this))
    , m_preferences(new AppPreferencesStore(this))
    , m_scheduledDeletions(new ScheduledDeletionListStore(this))
    , m_runningActions(new RunningActions(this)) {
    DiagnosticLog::append(QStringLiteral("KestroApp init"));
    FailureNotifier::reportSettingsSaveFailures();
    m_requestThreads.setMaxThreadCount(4);
    m_selectionModel->setRunner(
        [this](std::function<void()> work) { m_requestThreads.start(std::move(work)); });
    m_selectionModel->setSettingsSource([this] { return m_featureSettings->settings(); });
    m_selectionModel->setProgressTracker(m_runningActions->tracker());
    // The file managers' menus follow every settings announcement, and start from the saved settings once
    // the host is ready: a first request needs none of them (the menus of the last run still stand), and
    // writing them was most of the start-up.
    KestroSettingsChangeNotifier::setObserver([this](const QString&) { writeFileManagerMenus(); });
    connect(this, &KestroHost::ready, this, &KestroHost::writeFileManagerMenus, Qt::QueuedConnection);
    m_queueRunner = new KestroQueuedActionRunner(this, queuePollInterval);
    connect(
        m_queueRunner, &KestroQueuedActionRunner::passFinished, this,
        [this] {
            if (m_firstDrainDone)
                return;
            m_firstDrainDone = true;
            noteReady();
        },
        Qt::QueuedConnection);
    m_queueRunner->setProgressTracker(m_runningActions->tracker());
    m_queueRunner->start();
    m_deletionRunner = new ScheduledDeletionRunner(this);
    m_deletionRunner->setProgressTracker(m_runningActions->tracker());
    m_deletionRunner->start();
    connect(this, &KestroHost::showRequested, this, &KestroHost::reopen);
}

KestroHost::~KestroHost() {
    KestroSettingsChangeNotifier::setObserver({});
    PropertyListFile::setWriteFailureObserver({});
    shutDown();
    // The window holds views of the stores; it goes before them.
    delete mainWindow();
    delete m_progressWindow;
    m_progressWindow = nullptr;
    delete m_menuBar;
    m_menuBar = nullptr;
}

void KestroHost::finishLaunching() {
    m_menuBar = new MenuBarController(
        *m_featureSettings, *m_customDestinations, [this] { return createMainWindow(); }, this);
    // Nobody would see a window that opens by itself without a display.
    const std::optional<std::chrono::milliseconds> openAfter =
        DisplayEnvironment::isInteractive() ? std::optional(std::chrono::milliseconds(3000)) : std::nullopt;
    m_progressWindow = new ActionProgressWindow(*m_runningActions, openAfter);
    m_menuBar->setRunningActions(m_runningActions, [this] { m_progressWindow->present(); });
    m_hasTray = m_menuBar->install();
    // Without a tray the window is the only way in: a normal start shows it (a start at login still waits for
    // the user to start Kestro again, which brings it up).
    m_trayInstalled = true;
    DiagnosticLog::append(QStringLiteral("app launched"));
    m_queueRunner->drain();
    runLaunchPresentation();
    noteReady();
}

void KestroHost::writeFileManagerMenus() {
    const QStringList problems = FileManagerIntegration::refresh();
    // Told once, not at every settings change while the same file stays unwritable.
    if (problems != m_fileManagerProblems) {
        m_fileManagerProblems = problems;
        if (!problems.isEmpty())
            FailureNotifier::report(problems.join(QLatin1Char('\n')));
    }
    emit fileManagersWritten();
}

void KestroHost::shutDown() {
    if (m_queueRunner)
        m_queueRunner->stop();
    if (m_deletionRunner)
        m_deletionRunner->stop();
    // A request in hand may be waiting for the main thread (a prompt): keep serving it while waiting.
    while (!m_requestThreads.waitForDone(20))
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

void KestroHost::runLaunchPresentation() {
    // The same step three times: the window may not be ready at the first try.
    QPointer<KestroHost> self(this);
    for (int delay : {0, 150, 450}) {
        QTimer::singleShot(delay, this, [self] {
            if (self)
                self->presentationStep();
        });
    }
}

void KestroHost::presentationStep() {
    if (m_shouldPresentMainWindow) {
        m_menuBar->showMainWindow();
    } else if (KestroMainWindow* window = mainWindow()) {
        window->hide();
    }
}

void KestroHost::reopen() {
    m_shouldPresentMainWindow = true;
    presentationStep();
}

KestroMainWindow* KestroHost::mainWindow() const {
    return m_menuBar ? m_menuBar->mainWindow() : nullptr;
}

SettingsContentView* KestroHost::contentView() const {
    KestroMainWindow* window = mainWindow();
    return window ? static_cast<SettingsContentView*>(window->content()) : nullptr;
}

KestroMainWindow* KestroHost::createMainWindow() {
    const SettingsStores stores{*m_featureSettings,       *m_preferences,       *m_customDestinations,
                                *m_customShortcutActions, *m_finderViewPresets, *m_scheduledDeletions};
    return new KestroMainWindow(new SettingsContentView(stores));
}

void KestroHost::openURL(const QString& url, RequestOrigin origin) {
    m_selectionModel->handleIncomingURL(url, origin);
}

namespace {

// A compositor's token is a short run of printable ASCII; anything else is not passed on to Qt.
bool isActivationToken(const QString& text) {
    return !text.isEmpty() && text.size() <= 256 && std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        return c.unicode() > 0x20 && c.unicode() < 0x7f;
    });
}

} // namespace

void KestroHost::handleMessage(const QStringList& message) {
    if (message.isEmpty())
        return;
    const QString& command = message.constFirst();
    if (command == QLatin1String("open-url") && message.size() >= 2)
        openURL(message.at(1), RequestOrigin::user);
    else if (command == QLatin1String("open-link") && message.size() >= 2)
        openURL(message.at(1), RequestOrigin::link);
    else if (command == QLatin1String("show")) {
        // Qt's Wayland shell reads (and clears) the token when the window asks to be activated.
        if (message.size() >= 2 && isActivationToken(message.at(1)))
            qputenv("XDG_ACTIVATION_TOKEN", message.at(1).toLatin1());
        emit showRequested();
    } else if (command == QLatin1String("drain"))
        m_queueRunner->drain();
}

void KestroHost::noteReady() {
    if (m_readyAnnounced || !isReady())
        return;
    m_readyAnnounced = true;
    emit ready();
}
