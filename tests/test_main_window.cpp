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
    void sizeRuleMeasuresTheFrameWithOnePointOfSlack() {
        QVERIFY(!InitialWindowPositioning::needsResize({860, 560}));
        QVERIFY(!InitialWindowPositioning::needsResize({861, 560}));
        QVERIFY(!InitialWindowPositioning::needsResize({859, 561}));
        QVERIFY(InitialWindowPositioning::needsResize({862, 560}));
        QVERIFY(InitialWindowPositioning::needsResize({860, 558}));
        QVERIFY(InitialWindowPositioning::needsResize({400, 300}));
    }

    void placedAtTheTopRightWithTenPointMargins() {
        // A 1920 × 1080 screen with a 32-point bar at the top.
        const QRect area(0, 32, 1920, 1048);
        QCOMPARE(InitialWindowPositioning::origin(area, {860, 560}), QPoint(1920 - 860 - 10, 32 + 10));
        // A second screen to the right, offset.
        QCOMPARE(InitialWindowPositioning::origin(QRect(1920, 100, 1280, 800), {860, 560}),
                 QPoint(1920 + 1280 - 860 - 10, 110));
        // Too wide: the left edge stays 10 from the area's left edge.
        QCOMPARE(InitialWindowPositioning::origin(QRect(0, 0, 800, 600), {860, 560}).x(), 10);
        // Too tall: the bottom edge stays 10 above the area's bottom edge.
        const QPoint tall = InitialWindowPositioning::origin(QRect(0, 0, 1000, 500), {860, 560});
        QCOMPARE(tall.y() + 560, 500 - 10);
    }

    void loginStartIsRecognised() {
        const QStringList plain{QStringLiteral("kestro")};
        const QStringList login{QStringLiteral("kestro"), QStringLiteral("--login-item")};
        QVERIFY(LaunchOrigin::wasLikelyLaunchedAtLogin(login, false, 1e6));
        QVERIFY(LaunchOrigin::wasLikelyLaunchedAtLogin(login, true, 1e6));
        // Only the exact argument counts.
        QVERIFY(!LaunchOrigin::wasLikelyLaunchedAtLogin(
            {QStringLiteral("kestro"), QStringLiteral("--login-items")}, false, 10));
        QVERIFY(!LaunchOrigin::wasLikelyLaunchedAtLogin(plain, false, 10));
        QVERIFY(LaunchOrigin::wasLikelyLaunchedAtLogin(plain, true, 100));
        // Started by the login item 200 seconds after boot without the argument: shown.
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
    }

    void otherWindowsCloseNormally() {
        TestEnvironment environment;
        KestroMainWindow window(new QWidget);
        window.setObjectName(QStringLiteral("SomethingElse"));
        window.show();
        QVERIFY(window.close());
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
