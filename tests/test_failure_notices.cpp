// A failed action says so on the desktop: through both roads, gathered into one notice in a burst, never
// when the user turned it off; and the notice really reaches a freedesktop notification service.
#include "catalogue/AppPreferencesPersistence.h"
#include "intake/FailureNotifier.h"
#include "intake/FinderSelectionModel.h"
#include "intake/KestroQueueDrain.h"
#include "platform/KestroPaths.h"
#include "platform/linux/FreedesktopNotifications.h"
#include "platform/PropertyListFile.h"
#include "support/FakePlatform.h"
#include "support/KestroProcess.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

namespace {

// What a notification service on the session bus is told: a stand-in that answers like one.
class NotificationServiceStandIn : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Call {
        QString application;
        quint32 replaces;
        QString icon;
        QString summary;
        QString body;
        QVariantMap hints;
    };
    QList<Call> calls;

public slots:
    quint32 Notify(const QString& application, quint32 replaces, const QString& icon, const QString& summary,
                   const QString& body, const QStringList&, const QVariantMap& hints, qint32) {
        calls.append({application, replaces, icon, summary, body, hints});
        return replaces != 0 ? replaces : quint32(40 + calls.size());
    }
};

void writeQueueFile(const QString& name, const QString& actionID) {
    const QString folder = KestroPaths::extensionQueueDirectory();
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile file(folder + QLatin1Char('/') + name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("{\"actionID\":\"%1\",\"selectedPaths\":[]}").arg(actionID).toUtf8());
}

} // namespace

class TestFailureNotices : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    QList<FakeDesktopNotifications::Notice>& shown() { return FakePlatform::desktopNotifications().shown; }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        FailureNotifier::startNewBurst();
    }
    void cleanup() { m_environment.reset(); }

    void aFailedRequestSaysWhy() {
        FinderSelectionModel model;
        QVERIFY(
            !model.handleIncomingURL(kestroActionURL(QStringLiteral("noSuchAction"), {QStringLiteral("/")})));
        QTRY_COMPARE(shown().size(), 1);
        QCOMPARE(shown().constFirst().summary, QStringLiteral("Kestro 操作失败"));
        QCOMPARE(shown().constFirst().body, QStringLiteral("暂不支持这个右键动作：noSuchAction。"));
        QVERIFY(!shown().constFirst().replacesPrevious);
        // The log keeps its line as before.
        QVERIFY(m_environment->logText().contains(
            QStringLiteral("suppressed error alert: 暂不支持这个右键动作")));
    }

    void aClickTheFileManagerSideRefusedIsToldAndRunsNothing() {
        writeQueueFile(QStringLiteral("1.json"), QStringLiteral("createTextFile"));
        QFile file(KestroPaths::extensionQueueDirectory() + QStringLiteral("/1.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            R"({"actionID":"createTextFile","selectedPaths":[],"handoffError":"这个菜单项已不存在。"})");
        file.close();
        bool ran = false;
        KestroQueueDrain drain([&](const KestroQueuedAction&) { ran = true; });
        QCOMPARE(drain.run().failed, 1);
        QVERIFY(!ran);
        QTRY_COMPARE(shown().size(), 1);
        QCOMPARE(shown().constFirst().body, QStringLiteral("这个菜单项已不存在。"));
    }

    void aBurstOfFailuresIsOneNoticeThatCounts() {
        for (int index = 0; index < 200; ++index)
            writeQueueFile(QStringLiteral("%1.json").arg(index, 3, 10, QLatin1Char('0')),
                           QStringLiteral("bad%1").arg(index));
        KestroQueueDrain drain;
        QCOMPARE(drain.run().failed, 200);
        QTRY_COMPARE(shown().size(), 1);
        QCOMPARE(shown().constFirst().body,
                 QStringLiteral("200 个操作失败，最后一个：暂不支持这个右键动作：bad199。"));
        QTest::qWait(int(FailureNotifier::gatherTime.count()) * 2);
        QCOMPARE(shown().size(), 1);

        // A failure soon after updates that notice instead of adding one.
        FinderSelectionModel model;
        model.handleIncomingURL(kestroActionURL(QStringLiteral("late"), {QStringLiteral("/")}));
        QTRY_COMPARE(shown().size(), 2);
        QVERIFY(shown().at(1).replacesPrevious);
        QCOMPARE(shown().at(1).body,
                 QStringLiteral("201 个操作失败，最后一个：暂不支持这个右键动作：late。"));
    }

    void aSettingsChangeThatCannotBeSavedSaysSo() {
        FailureNotifier::reportSettingsSaveFailures();
        // The folder for the settings is a file: nothing can be saved there, not even by root.
        QFile blocker(KestroPaths::applicationSupportDirectory());
        QVERIFY(QDir().mkpath(QFileInfo(blocker).absolutePath()) && blocker.open(QIODevice::WriteOnly));
        blocker.close();
        QVERIFY(!PropertyListFile::writeBothCopies(QStringLiteral("FeatureSettings.plist"), QVariantMap()));
        PropertyListFile::setWriteFailureObserver({});
        QTRY_COMPARE(shown().size(), 1);
        QVERIFY2(shown().constFirst().body.startsWith(QStringLiteral("设置没能保存到“") +
                                                      KestroPaths::applicationSupportDirectory()),
                 qPrintable(shown().constFirst().body));
    }

    void theUserCanTurnThemOff() {
        AppPreferences preferences;
        preferences.showsFailureNotifications = false;
        QVERIFY(AppPreferencesPersistence::save(preferences));
        FinderSelectionModel model;
        model.handleIncomingURL(kestroActionURL(QStringLiteral("noSuchAction"), {QStringLiteral("/")}));
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
        const NotificationServiceStandIn::Call first = service.calls.at(0);
        QCOMPARE(first.application, QStringLiteral("Kestro"));
        QCOMPARE(first.icon, QStringLiteral("kestro"));
        QCOMPARE(first.replaces, quint32(0));
        QCOMPARE(first.body, QStringLiteral("所选文件不存在或无法访问：/x"));
        QCOMPARE(first.hints.value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("kestro"));
        QCOMPARE(service.calls.at(1).replaces, quint32(41));

        bus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        bus.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
        // With no service at all, showing a notice is harmless.
        notices.show(QStringLiteral("Kestro 操作失败"), QStringLiteral("nobody listens"), false);
        QTest::qWait(200);
    }

    void theRealNotificationDaemonAcceptsThem() {
        const QString daemon = QStringLiteral("/usr/lib/notification-daemon/notification-daemon");
        const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (!QFileInfo(daemon).isExecutable() || xvfb.isEmpty())
            QSKIP(
                "notification-daemon or Xvfb is not installed (scripts/install-dependencies installs them)");
        if (!QDBusConnection::sessionBus().isConnected())
            QSKIP("no session bus (the test command runs the tests inside dbus-run-session)");

        QProcess display;
        display.start(xvfb, {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-nolisten"),
                             QStringLiteral("tcp"), QStringLiteral("-screen"), QStringLiteral("0"),
                             QStringLiteral("640x480x24")});
        QVERIFY(display.waitForReadyRead(15000));
        const QByteArray number = display.readAllStandardOutput().trimmed();
        QVERIFY(!number.isEmpty());
        QProcess server;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":") + QString::fromLatin1(number));
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
