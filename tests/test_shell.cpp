// The shell: the tray menu as it is built at each opening (against real stores in a private home), the host's
// start-up order, the main window's size, place and close behaviour, and the login-start rule.
#include "app/KestroHost.h"
#include "app/KestroMainWindow.h"
#include "app/MenuBarController.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "intake/KestroQueuedActionRunner.h"
#include "platform/KestroPaths.h"
#include "settings-ui/SettingsContentView.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionStore.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <optional>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList titles(const QMenu* menu) {
    QStringList result;
    for (const QAction* action : menu->actions())
        result.append(action->isSeparator() ? u"---"_qs : action->text());
    return result;
}

QMenu* submenu(const QMenu* menu, const QString& title) {
    for (const QAction* action : menu->actions())
        if (action->text() == title)
            return action->menu();
    return nullptr;
}

struct Tray {
    FeatureSettingsStore featureSettings;
    CustomDestinationStore destinations;
    QStringList errors;
    MenuBarController controller{featureSettings, destinations, [] {
                                     return new KestroMainWindow(new QLabel(u"settings"_qs));
                                 }};
    QMenu menu;

    Tray() {
        controller.setErrorPresenter([this](const QString& text) { errors.append(text); });
    }
    ~Tray() { delete controller.mainWindow(); }
    void build() { controller.buildMenu(&menu); }
};

} // namespace

class TestShell : public QObject {
    Q_OBJECT

    std::optional<TestEnvironment> m_environment;

private slots:
    void init() { m_environment.emplace(); }
    void cleanup() { m_environment.reset(); }

    void menuOffersWindowQuickOpenCustomActionsAndQuit() {
        for (const char* folder : {"Desktop", "Downloads", "Documents"})
            QDir(m_environment->home()).mkpath(QLatin1String(folder));
        Tray tray;
        tray.build();
        QCOMPARE(titles(&tray.menu),
                 (QStringList{"打开 Kestro", "打开", "自定义动作", "---", "退出 Kestro"}));
        QMenu* open = submenu(&tray.menu, u"打开"_qs);
        QStringList expected;
        for (const CustomDestination& destination :
             tray.destinations.destinations(CustomDestinationKind::quickOpen))
            if (QFileInfo::exists(destination.path))
                expected.append(destination.name);
        QVERIFY(expected.contains(u"桌面"_qs));
        QCOMPARE(titles(open), expected << u"打开剪贴板路径"_qs << u"打开指定路径..."_qs);
        QCOMPARE(open->actions().constLast()->data().toString(), u"quickOpenTypedPath"_qs);
        QMenu* custom = submenu(&tray.menu, u"自定义动作"_qs);
        QCOMPARE(titles(custom), QStringList{u"还没有自定义动作"_qs});
        QVERIFY(!custom->actions().constFirst()->isEnabled());
        // The user's scripts, but not what cannot run here (no Shortcuts on Linux, no AppleScript
        // interpreter).
        CustomShortcutActionStore actions;
        const auto added = actions.addScript(m_environment->writeFile(u"scripts/resize.py"_qs, "print(1)\n"));
        actions.addShortcut(u"整理照片"_qs, u"整理照片"_qs);
        QVERIFY(added &&
                actions.addScript(m_environment->writeFile(u"scripts/tell.applescript"_qs, "beep\n")));
        tray.build();
        custom = submenu(&tray.menu, u"自定义动作"_qs);
        QCOMPARE(titles(custom), QStringList{u"resize"_qs});
        QCOMPARE(custom->actions().constFirst()->data().toString(), u"runScript__"_qs + added->id);
        tray.featureSettings.setEnabled(false, KestroFeature::customActions);
        tray.build();
        QVERIFY(!titles(&tray.menu).contains(u"自定义动作"_qs));
        // The application's own event loop, as the host runs it: the last item ends it with status 0.
        QTimer::singleShot(0, tray.menu.actions().constLast(), &QAction::trigger);
        QTimer::singleShot(10000, qApp, [] { QCoreApplication::exit(7); });
        QCOMPARE(QCoreApplication::exec(), 0);
    }

    void failingMenuActionShowsTheAlertText() {
        Tray tray;
        tray.controller.performCustomAction(u"runScript__no-such-id"_qs);
        QCOMPARE(tray.errors.size(), 1);
        QVERIFY2(tray.errors.constFirst().contains(u"runScript__no-such-id"_qs),
                 qPrintable(tray.errors.at(0)));
        // A quick-open place that vanished after the menu was built fails with the action's own message.
        const QString folder = m_environment->makeFolder(u"soon gone"_qs);
        QVERIFY(QDir(folder).removeRecursively());
        tray.controller.openQuickOpenDestination(folder);
        QCOMPARE(tray.errors.size(), 2);
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
        // One that is there opens through the dispatcher.
        const QString place = m_environment->makeFolder(u"place with 空格"_qs);
        tray.controller.openQuickOpenDestination(place);
        QCOMPARE(tray.errors.size(), 2);
        QCOMPARE(FakePlatform::workspace().openedUrls, QList<QUrl>{QUrl::fromLocalFile(place)});
    }

    void leftClickShowsAndHidesTheWindow() {
        Tray tray;
        tray.controller.install();
        const auto click = [&tray](QSystemTrayIcon::ActivationReason reason) {
            emit tray.controller.trayIcon()->activated(reason);
        };
        click(QSystemTrayIcon::Context); // the right button only opens the menu
        QVERIFY(!tray.controller.mainWindow());
        click(QSystemTrayIcon::Trigger);
        KestroMainWindow* window = tray.controller.mainWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QApplication::setActiveWindow(window);
        QTRY_VERIFY(window->isActiveWindow());
        click(QSystemTrayIcon::Trigger);
        QVERIFY(window->isHidden());
        // "打开 Kestro" first puts away what would keep the window back: an unanswered prompt, an open menu.
        QDialog prompt;
        prompt.setModal(true);
        prompt.show();
        QMenu menu;
        menu.popup(QPoint(10, 10));
        tray.build();
        QVERIFY(menu.isVisible());
        tray.menu.actions().constFirst()->trigger();
        QVERIFY(prompt.isHidden() && prompt.result() == QDialog::Rejected && menu.isHidden());
        QVERIFY(window->isVisible());
        QCOMPARE(tray.controller.mainWindow(), window); // the same window, not a new one
    }

    void startUpRunsInOrderAndClosingHidesTheWindow() {
        // A request waiting in the queue before start is run by the first drain.
        const QString target = m_environment->makeFolder(u"target"_qs);
        m_environment->writeFile(
            KestroPaths::sharedQueueDirectory() + u"/request.json"_qs,
            u"{\"actionID\":\"createFolder\",\"selectedPaths\":[],\"targetedPath\":\"%1\"}"_qs.arg(target)
                .toUtf8());
        KestroHost host(false);
        const QString initOnly = m_environment->logText();
        QVERIFY(initOnly.contains(u"] KestroApp init\n"_qs) && !initOnly.contains(u"app launched"_qs));
        // The stores exist and have written their files before the log line.
        QVERIFY(QFile::exists(FeatureSettingsPersistence::applicationFileURL()));
        QVERIFY(host.queueRunner().isRunning());
        QSignalSpy ready(&host, &KestroHost::ready);
        host.finishLaunching();
        QVERIFY(ready.size() == 1 || ready.wait(10000));
        QVERIFY(host.isReady() && host.menuBar().trayIcon());
        const QString log = m_environment->logText();
        QVERIFY(log.indexOf(u"KestroApp init"_qs) < log.indexOf(u"app launched"_qs));
        QTRY_VERIFY(QDir(target).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() == 1);

        QTRY_VERIFY(host.mainWindow() && host.mainWindow()->isVisible());
        KestroMainWindow* window = host.mainWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_COMPARE(window->size(), QSize(860, 560));
        auto* content = qobject_cast<SettingsContentView*>(window->content());
        content->showPage(SettingsPage::of(KestroFeature::pdfTools));
        QVERIFY(!window->close());
        QVERIFY(window->isHidden());
        emit host.showRequested(); // what a second launch without a URL sends
        QVERIFY(window->isVisible());
        QCOMPARE(host.mainWindow(), window); // hidden, not destroyed
        QCOMPARE(window->size(), QSize(860, 560));
        QCOMPARE(content->currentPage(), SettingsPage::of(KestroFeature::pdfTools));
        // Other windows close normally.
        KestroMainWindow other(new QWidget);
        other.setObjectName(u"SomethingElse"_qs);
        other.show();
        QVERIFY(other.close());
        host.shutDown();
        QVERIFY(!host.queueRunner().isRunning());
    }

};

QTEST_MAIN(TestShell)
#include "test_shell.moc"
