// The host's start-up order, the main window's size, place and close behaviour, and the login-start rule.
#include "app/InitialWindowPositioning.h"
#include "app/KestroHost.h"
#include "app/KestroMainWindow.h"
#include "app/LaunchOrigin.h"
#include "app/MenuBarController.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "intake/KestroQueuedActionRunner.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroPaths.h"
#include "settings-ui/SettingsContentView.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

class TestMainWindow : public QObject {
    Q_OBJECT

private slots:
    void sizePlaceAndLoginStartRules() {
        // The frame is measured with one point of slack either way.
        for (const QSize size : {QSize(860, 560), QSize(861, 560), QSize(859, 561)})
            QVERIFY(!InitialWindowPositioning::needsResize(size));
        for (const QSize size : {QSize(862, 560), QSize(860, 558), QSize(400, 300)})
            QVERIFY(InitialWindowPositioning::needsResize(size));
        // Top right with ten points of margin, on any screen; too wide or tall, the left or bottom margin
        // holds.
        QCOMPARE(InitialWindowPositioning::origin(QRect(0, 32, 1920, 1048), {860, 560}),
                 QPoint(1920 - 860 - 10, 42));
        QCOMPARE(InitialWindowPositioning::origin(QRect(1920, 100, 1280, 800), {860, 560}),
                 QPoint(1920 + 1280 - 870, 110));
        QCOMPARE(InitialWindowPositioning::origin(QRect(0, 0, 800, 600), {860, 560}).x(), 10);
        QCOMPARE(InitialWindowPositioning::origin(QRect(0, 0, 1000, 500), {860, 560}).y() + 560, 490);
        // Started at login: the exact argument, or by the login item within 100 seconds of boot.
        const QStringList plain{QStringLiteral("kestro")};
        const QStringList login{QStringLiteral("kestro"), QStringLiteral("--login-item")};
        QVERIFY(LaunchOrigin::wasLikelyLaunchedAtLogin(login, false, 1e6));
        QVERIFY(!LaunchOrigin::wasLikelyLaunchedAtLogin(
            {QStringLiteral("kestro"), QStringLiteral("--login-items")}, false, 10));
        QVERIFY(!LaunchOrigin::wasLikelyLaunchedAtLogin(plain, false, 10));
        QVERIFY(LaunchOrigin::wasLikelyLaunchedAtLogin(plain, true, 100));
        QVERIFY(!LaunchOrigin::wasLikelyLaunchedAtLogin(plain, true, 200));
        QVERIFY(LaunchOrigin::systemUptimeSeconds() > 0);
    }

    void closingHidesAndReopeningShowsTheSameWindow() {
        TestEnvironment environment;
        KestroHost host(false);
        host.finishLaunching();
        QTRY_VERIFY(host.mainWindow() && host.mainWindow()->isVisible());
        KestroMainWindow* window = host.mainWindow();
        QCOMPARE(window->objectName(), QStringLiteral("KestroMainWindow"));
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_COMPARE(window->size(), QSize(860, 560));
        auto* content = qobject_cast<SettingsContentView*>(window->content());
        QVERIFY(content);
        content->showPage(SettingsPage::of(KestroFeature::pdfTools));

        QVERIFY(!window->close());
        QVERIFY(window->isHidden());
        QCOMPARE(host.mainWindow(), window); // hidden, not destroyed

        emit host.showRequested(); // what a second launch without a URL sends
        QVERIFY(window->isVisible());
        QCOMPARE(host.mainWindow(), window);
        QCOMPARE(window->size(), QSize(860, 560));
        QCOMPARE(content->currentPage(), SettingsPage::of(KestroFeature::pdfTools));
        // Other windows close normally.
        KestroMainWindow other(new QWidget);
        other.setObjectName(QStringLiteral("SomethingElse"));
        other.show();
        QVERIFY(other.close());
    }

    void startUpRunsInOrderAndReportsReady() {
        TestEnvironment environment;
        // A request waiting in the queue before start is run by the first drain.
        const QString target = environment.makeFolder(QStringLiteral("target"));
        const QByteArray request =
            QStringLiteral(R"({"actionID":"createFolder","selectedPaths":[],"targetedPath":"%1"})")
                .arg(target)
                .toUtf8();
        environment.writeFile(KestroPaths::sharedQueueDirectory() + QStringLiteral("/request.json"), request);

        KestroHost host(false);
        const QString initOnly = environment.logText();
        QVERIFY(initOnly.contains(QStringLiteral("] KestroApp init\n")));
        QVERIFY(!initOnly.contains(QStringLiteral("app launched")));
        // The stores exist and have written their files before the log line.
        QVERIFY(QFile::exists(FeatureSettingsPersistence::applicationFileURL()));
        QVERIFY(host.queueRunner().isRunning());

        QSignalSpy ready(&host, &KestroHost::ready);
        host.finishLaunching();
        QVERIFY(ready.size() == 1 || ready.wait(10000));
        QVERIFY(host.isReady());
        const QString log = environment.logText();
        QVERIFY(log.indexOf(QStringLiteral("KestroApp init")) < log.indexOf(QStringLiteral("app launched")));
        QTRY_VERIFY(QDir(target).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() == 1);
        QVERIFY(host.menuBar().trayIcon());
        host.shutDown();
        QVERIFY(!host.queueRunner().isRunning());
    }

    void loginStartKeepsTheWindowHiddenUntilReopened() {
        TestEnvironment environment;
        KestroHost host(true);
        host.finishLaunching();
        QTest::qWait(600); // past the last presentation step
        QVERIFY(!host.mainWindow() || host.mainWindow()->isHidden());
        host.handleMessage({QStringLiteral("show")});
        QVERIFY(host.mainWindow());
        QVERIFY(host.mainWindow()->isVisible());
    }
};

QTEST_MAIN(TestMainWindow)
#include "test_main_window.moc"
