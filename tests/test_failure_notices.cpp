// A failed action says so on the desktop: through both roads, gathered into one notice in a burst, never
// when the user turned it off; and the notice really reaches a freedesktop notification service.
#include "catalogue/AppPreferencesPersistence.h"
#include "intake/FailureNotifier.h"
#include "intake/FinderSelectionModel.h"
#include "intake/KestroQueueDrain.h"
#include "platform/KestroPaths.h"
#include "platform/linux/FreedesktopNotifications.h"
#include "platform/PropertyListFile.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/KestroProcess.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QStandardPaths>
#include <QtTest>

namespace {

// What a notification service on the session bus is told: a stand-in that answers like one.
class NotificationServiceStandIn : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QList<QVariantList> calls;

public slots:
    quint32 Notify(const QString& application, quint32 replaces, const QString& icon, const QString& summary,
                   const QString& body, const QStringList&, const QVariantMap& hints, qint32) {
        calls.append(
            {application, replaces, icon, summary, body, hints.value(QStringLiteral("desktop-entry"))});
        return replaces != 0 ? replaces : quint32(40 + calls.size());
    }
};

void writeQueueFile(const QString& name, const QByteArray& json) {
    const QString folder = KestroPaths::extensionQueueDirectory();
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile file(folder + u'/' + name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(json);
}

} // namespace

class TestFailureNotices : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    QList<FakeDesktopNotifications::Notice>& shown() { return FakePlatform::desktopNotifications().shown; }
    bool fail(const QString& actionID) {
        return FinderSelectionModel().handleIncomingURL(kestroActionURL(actionID, {QStringLiteral("/")}));
    }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        FailureNotifier::startNewBurst();
    }
    void cleanup() { m_environment.reset(); }

    void aFailedRequestSaysWhyOnceABurstIsOver() {
        QVERIFY(!fail(QStringLiteral("noSuchAction")));
        QTRY_COMPARE(shown().size(), 1);
        QCOMPARE(shown().constFirst().summary, QStringLiteral("Kestro 操作失败"));
        QVERIFY(names(shown().constFirst().body, {QStringLiteral("noSuchAction")}));
        QVERIFY(!shown().constFirst().replacesPrevious);
        QVERIFY(m_environment->logText().contains(QStringLiteral("suppressed error alert: ")));
        // A burst through the queue is one notice that counts, and a failure soon after updates it.
        FailureNotifier::startNewBurst();
        shown().clear();
        for (int index = 0; index < 200; ++index)
            writeQueueFile(QStringLiteral("%1.json").arg(index, 3, 10, QLatin1Char('0')),
                           QStringLiteral(R"({"actionID":"bad%1","selectedPaths":[]})").arg(index).toUtf8());
        QCOMPARE(KestroQueueDrain().run().failed, 200);
        QTRY_COMPARE(shown().size(), 1);
        QVERIFY(names(shown().constFirst().body, {QStringLiteral("200"), QStringLiteral("bad199")}));
        QTest::qWait(int(FailureNotifier::gatherTime.count()) * 2);
        QCOMPARE(shown().size(), 1);
        fail(QStringLiteral("late"));
        QTRY_COMPARE(shown().size(), 2);
        QVERIFY(shown().at(1).replacesPrevious &&
                names(shown().at(1).body, {QStringLiteral("201"), QStringLiteral("late")}));
    }

    void aClickTheFileManagerSideRefusedIsToldAndRunsNothing() {
        writeQueueFile(
            QStringLiteral("1.json"),
            R"({"actionID":"createTextFile","selectedPaths":[],"handoffError":"这个菜单项已不存在。"})");
        bool ran = false;
        QCOMPARE(KestroQueueDrain([&](const KestroQueuedAction&) { ran = true; }).run().failed, 1);
        QVERIFY(!ran);
        QTRY_COMPARE(shown().size(), 1);
        QCOMPARE(shown().constFirst().body, QStringLiteral("这个菜单项已不存在。"));
    }

    void aSettingsChangeThatCannotBeSavedSaysSo() {
        FailureNotifier::reportSettingsSaveFailures();
        // The folder for the settings is a file: nothing can be saved there, not even by root.
        m_environment->writeFile(KestroPaths::applicationSupportDirectory(), "x");
        QVERIFY(!PropertyListFile::writeBothCopies(QStringLiteral("FeatureSettings.plist"), QVariantMap()));
        PropertyListFile::setWriteFailureObserver({});
        QTRY_COMPARE(shown().size(), 1);
        QVERIFY(names(shown().constFirst().body, {KestroPaths::applicationSupportDirectory()}));
    }

    void theUserCanTurnThemOff() {
        AppPreferences preferences;
        preferences.showsFailureNotifications = false;
        QVERIFY(AppPreferencesPersistence::save(preferences));
        fail(QStringLiteral("noSuchAction"));
        QTest::qWait(int(FailureNotifier::gatherTime.count()) * 2);
        QVERIFY(shown().isEmpty());
        QVERIFY(m_environment->logText().contains(QStringLiteral("suppressed error alert: ")));
    }

    void noticesReachTheNotificationService() {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            QSKIP("no session bus (the test command runs the tests inside dbus-run-session)");
        NotificationServiceStandIn service;
        QVERIFY(bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &service,
                                   QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.Notifications")));
        FreedesktopNotifications notices;
        notices.show(QStringLiteral("Kestro 操作失败"), QStringLiteral("所选文件不存在或无法访问：/x"),
                     false);
        QTRY_COMPARE(notices.lastNoticeId(), quint32(41));
        notices.show(QStringLiteral("Kestro 操作失败"), QStringLiteral("2 个操作失败"), true);
        QTRY_COMPARE(service.calls.size(), 2);
        QCOMPARE(service.calls.at(0), (QVariantList{"Kestro", 0u, "kestro", "Kestro 操作失败",
                                                    "所选文件不存在或无法访问：/x", "kestro"}));
        QCOMPARE(service.calls.at(1).at(1), QVariant(41u));
        bus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        bus.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
        notices.show(QStringLiteral("Kestro 操作失败"), QStringLiteral("nobody listens"), false); // harmless
        QTest::qWait(200);
    }

    void theRealNotificationDaemonAcceptsThem() {
        const QString daemon = QStringLiteral("/usr/lib/notification-daemon/notification-daemon");
        const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (!QFileInfo(daemon).isExecutable() || xvfb.isEmpty() ||
            !QDBusConnection::sessionBus().isConnected())
            QSKIP("notification-daemon, Xvfb or a session bus is missing (scripts/install-dependencies, "
                  "dbus-run-session)");
        QProcess display;
        display.start(xvfb, {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "640x480x24"});
        QVERIFY(display.waitForReadyRead(15000));
        QProcess server;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"),
                           ":" + QString::fromLatin1(display.readAllStandardOutput().trimmed()));
        server.setProcessEnvironment(environment);
        server.start(daemon, {});
        const auto stop = qScopeGuard([&] {
            server.kill();
            server.waitForFinished(5000);
            display.terminate();
            display.waitForFinished(5000);
        });
        QTRY_VERIFY_WITH_TIMEOUT(QDBusConnection::sessionBus().interface()->isServiceRegistered(
                                     QStringLiteral("org.freedesktop.Notifications")),
                                 15000);
        FreedesktopNotifications notices;
        notices.show(QStringLiteral("Kestro 操作失败"), QStringLiteral("所选文件不存在或无法访问：/x"),
                     false);
        QTRY_VERIFY_WITH_TIMEOUT(notices.lastNoticeId() != 0, 10000);
        const quint32 first = notices.lastNoticeId();
        notices.show(QStringLiteral("Kestro 操作失败"), QStringLiteral("2 个操作失败"), true);
        QTest::qWait(500);
        QCOMPARE(notices.lastNoticeId(), first); // replaced, not a second notice
    }
};

QTEST_GUILESS_MAIN(TestFailureNotices)
#include "test_failure_notices.moc"
