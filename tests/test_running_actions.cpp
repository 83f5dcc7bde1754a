// Running and failed actions as the user sees them: the board between real threads, the progress window and
// the tray's progress entries driven with the mouse, a real pack the user stops on each road (queued, and in
// a running host from the window), and failures told on the desktop: through both roads, gathered into one
// notice in a burst, never when the user turned them off, and really reaching a notification service.
#include "app/ActionProgressWindow.h"
#include "app/KestroHost.h"
#include "app/KestroMainWindow.h"
#include "app/MenuBarController.h"
#include "intake/FailureNotifier.h"
#include "intake/FinderSelectionModel.h"
#include "intake/KestroQueuedActionRunner.h"
#include "intake/KestroQueueDrain.h"
#include "intake/RunningActions.h"
#include "platform/KestroPaths.h"
#include "platform/linux/FreedesktopNotifications.h"
#include "platform/PropertyListFile.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/ModalAnswer.h"
#include "support/ProgressDrivers.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

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
        calls.append({application, replaces, icon, summary, body, hints.value(u"desktop-entry"_qs)});
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

QWidget* rowOf(const ActionProgressWindow& window, const QString& title) {
    for (QWidget* row : window.findChildren<QWidget*>(u"actionRow"_qs)) {
        if (row->findChild<QLabel*>(u"titleLabel"_qs)->text() == title)
            return row;
    }
    return nullptr;
}

QString detailOf(QWidget* row) {
    return row->findChild<QLabel*>(u"detailLabel"_qs)->text();
}

void clickCancel(QWidget* row) {
    Modal::click(row->findChild<QPushButton*>(u"cancelButton"_qs));
}

} // namespace

class TestRunningActions : public QObject {
    Q_OBJECT

    QList<FakeDesktopNotifications::Notice>& shown() { return FakePlatform::desktopNotifications().shown; }
    bool fail(const QString& actionID) {
        return FinderSelectionModel().handleIncomingURL(kestroActionURL(actionID, {u"/"_qs}));
    }

private slots:
    void init() {
        FakePlatform::install();
        FailureNotifier::startNewBurst();
    }

    void rowsFollowTheActionsAndCancelStopsOnlyTheOneClicked() {
        RunningActions board;
        ActionProgressWindow window(board);
        window.present();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.findChild<QLabel*>(u"emptyLabel"_qs)->isVisible());

        SteppedAction copying(board, u"复制"_qs, 10);
        SteppedAction hashing(board, u"计算 SHA-256"_qs, 4);
        copying.step(3);
        QTRY_VERIFY(rowOf(window, u"复制"_qs) && rowOf(window, u"计算 SHA-256"_qs));
        QWidget* copyRow = rowOf(window, u"复制"_qs);
        QTRY_COMPARE(copyRow->findChild<QProgressBar*>()->value(), 30);
        QCOMPARE(detailOf(copyRow), u"3 / 10 项 · item 3"_qs);
        QVERIFY(!window.findChild<QLabel*>(u"emptyLabel"_qs)->isVisible());
        // Unknown totals and names with line breaks still make one line.
        ActionProgressState unpacking;
        unpacking.itemsDone = 12;
        unpacking.currentItem = u"docs/read\nme.txt"_qs;
        QCOMPARE(ActionProgressWindow::detailText(unpacking), u"12 项 · read\uFFFDme.txt"_qs);
        // One item of one needs no count.
        unpacking.itemsTotal = 1;
        QCOMPARE(ActionProgressWindow::detailText(unpacking), u"read\uFFFDme.txt"_qs);
        // Every input read, the result being written to an unknown size: not "100 %".
        ActionProgressState writing;
        writing.itemsDone = writing.itemsTotal = 3;
        writing.bytesDone = 4096;
        QCOMPARE(writing.percent(), -1);

        clickCancel(copyRow);
        QCOMPARE(detailOf(copyRow), u"正在取消……"_qs);
        QVERIFY(!copyRow->findChild<QPushButton*>(u"cancelButton"_qs)->isEnabled());
        // Listed until it has really stopped, which it does only at its next boundary.
        QTest::qWait(int(RunningActions::updateInterval.count()) * 2);
        QVERIFY(rowOf(window, u"复制"_qs) && !copying.isDone());
        copying.step();
        QTRY_VERIFY(copying.isDone());
        QVERIFY(copying.wasCancelled());
        QTRY_VERIFY(!rowOf(window, u"复制"_qs));

        // The other one was not touched, and the window goes once the last action has ended.
        QVERIFY(window.isVisible());
        hashing.step(4);
        QTRY_VERIFY(hashing.isDone());
        QVERIFY(!hashing.wasCancelled());
        QTRY_VERIFY(!window.isVisible());
    }

    void opensByItselfOnlyForLongActionsAndNotAgainOnceClosed() {
        RunningActions board;
        const std::chrono::milliseconds openAfter{200};
        ActionProgressWindow window(board, openAfter);
        {
            SteppedAction quick(board, u"复制"_qs, 1);
            quick.step();
            QTRY_VERIFY(quick.isDone());
        }
        QTest::qWait(int(openAfter.count()) * 3);
        QVERIFY(!window.isVisible());

        auto slow = std::make_unique<SteppedAction>(board, u"压缩为 ZIP"_qs, 5);
        QTRY_VERIFY(window.isVisible());
        QVERIFY(rowOf(window, u"压缩为 ZIP"_qs));
        window.close();
        QTest::qWait(int(openAfter.count()) * 3);
        QVERIFY(!window.isVisible());

        // A new action may open it again; the one the user saw and closed may not.
        SteppedAction another(board, u"解压"_qs, 5);
        QTRY_VERIFY(window.isVisible());
        window.close();
        slow.reset();
        another.step(5);
        QTRY_VERIFY(another.isDone());
        QTRY_VERIFY(board.actions().isEmpty());
    }

    // A link's request and a queued one, both packing a big folder in a running host; the user opens the
    // window from the tray and stops both there.
    void packsTheUserStopsLeaveNothingAndAreNoFailure() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        const QString folder = environment.makeFolder(u"照片 2026 'backup'"_qs);
        QVERIFY(writeRandomFile(folder + u"/a.bin"_qs, 96) && writeRandomFile(folder + u"/b.bin"_qs, 96));
        const QString queued = environment.makeFolder(u"大 folder 'to pack'"_qs);
        QVERIFY(writeRandomFile(queued + u"/data.bin"_qs, 160));
        const QStringList before = namesIn(environment.root());
        writeQueueFile(u"r.json"_qs,
                       "{\"actionID\":\"compressToZIP\",\"selectedPaths\":[\"" + queued.toUtf8() + "\"]}");

        KestroHost host(true);
        host.finishLaunching();
        host.openURL(kestroActionURL(u"compressToZIP"_qs, {folder}));
        const QList<RunningActions::Action>& running = host.runningActions().actions();
        QTRY_VERIFY_WITH_TIMEOUT(running.size() == 2 && std::all_of(running.cbegin(), running.cend(),
                                                                    [](const RunningActions::Action& action) {
                                                                        return action.state.bytesDone > 0;
                                                                    }),
                                 30000);
        QMenu* menu = host.menuBar().menu();
        menu->popup(QPoint(40, 40));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        QTest::mouseClick(menu, Qt::LeftButton, {},
                          menu->actionGeometry(menu->actions().constFirst()).center());
        QTRY_VERIFY(host.progressWindow()->isVisible());
        for (QWidget* row : host.progressWindow()->findChildren<QWidget*>(u"actionRow"_qs))
            clickCancel(row);

        QTRY_VERIFY_WITH_TIMEOUT(running.isEmpty(), 30000);
        const QString log = environment.logText();
        QVERIFY(log.contains(u"] action cancelled: compressToZIP"_qs));
        QVERIFY(log.contains(u"app delegate queued action cancelled: "_qs));
        // No archive, no hidden half of one, the folders as they were, the request gone.
        QCOMPARE(namesIn(environment.root()), before);
        QCOMPARE(namesIn(folder), (QStringList{u"a.bin"_qs, u"b.bin"_qs}));
        QVERIFY(namesIn(KestroPaths::extensionQueueDirectory()).isEmpty());
        QTest::qWait(int(FailureNotifier::gatherTime.count()) + 300);
        QCOMPARE(FakePlatform::desktopNotifications().shown.size(), 0);
    }

    // A later launch asks for a queue pass with "drain" (polling, made rare here, would find the request
    // only later); no other message does. The wait can only miss a wrong pass, never fail a right run.
    void aDrainMessageRunsAQueuePass() {
        TestEnvironment environment;
        KestroHost host(true, nullptr, std::chrono::hours(1));
        QList<int> failedPerPass;
        // Started again once connected, so that the first pass is seen too.
        host.queueRunner().stop();
        connect(&host.queueRunner(), &KestroQueuedActionRunner::passFinished, this,
                [&](int, int failed) { failedPerPass.append(failed); });
        host.queueRunner().start();
        QTRY_COMPARE(failedPerPass.size(), 1);
        writeQueueFile(u"1.json"_qs, R"({"actionID":"noSuchAction","selectedPaths":[]})");
        host.handleMessage({u"open-url"_qs});
        QTest::qWait(300);
        QCOMPARE(failedPerPass.size(), 1);
        host.handleMessage({u"drain"_qs});
        QTRY_COMPARE(failedPerPass, (QList<int>{0, 1}));
    }

    void aClickTheFileManagerSideRefusedIsToldAndRunsNothing() {
        TestEnvironment environment;
        writeQueueFile(
            u"1.json"_qs,
            R"({"actionID":"createTextFile","selectedPaths":[],"handoffError":"这个菜单项已不存在。"})");
        bool ran = false;
        QCOMPARE(KestroQueueDrain([&](const KestroQueuedAction&) { ran = true; }).run().failed, 1);
        QVERIFY(!ran);
        QTRY_COMPARE(shown().size(), 1);
        QCOMPARE(shown().constFirst().body, u"这个菜单项已不存在。"_qs);
    }

    void aSettingsChangeThatCannotBeSavedSaysSo() {
        TestEnvironment environment;
        FailureNotifier::reportSettingsSaveFailures();
        // The folder for the settings is a file: nothing can be saved there, not even by root.
        environment.writeFile(KestroPaths::applicationSupportDirectory(), "x");
        QVERIFY(!PropertyListFile::writeBothCopies(u"FeatureSettings.plist"_qs, QVariantMap()));
        PropertyListFile::setWriteFailureObserver({});
        QTRY_COMPARE(shown().size(), 1);
        QVERIFY(names(shown().constFirst().body, {KestroPaths::applicationSupportDirectory()}));
    }

    void noticesReachTheNotificationService() {
        TestEnvironment environment;
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            QSKIP("no session bus (the test command runs the tests inside dbus-run-session)");
        NotificationServiceStandIn service;
        QVERIFY(bus.registerObject(u"/org/freedesktop/Notifications"_qs, &service,
                                   QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(u"org.freedesktop.Notifications"_qs));
        FreedesktopNotifications notices;
        notices.show(u"Kestro 操作失败"_qs, u"所选文件不存在或无法访问：/x"_qs, false);
        QTRY_COMPARE(notices.lastNoticeId(), quint32(41));
        notices.show(u"Kestro 操作失败"_qs, u"2 个操作失败"_qs, true);
        QTRY_COMPARE(service.calls.size(), 2);
        QCOMPARE(service.calls.at(0), (QVariantList{"Kestro", 0u, "kestro", "Kestro 操作失败",
                                                    "所选文件不存在或无法访问：/x", "kestro"}));
        QCOMPARE(service.calls.at(1).at(1), QVariant(41u));
        bus.unregisterService(u"org.freedesktop.Notifications"_qs);
        bus.unregisterObject(u"/org/freedesktop/Notifications"_qs);
    }
};

QTEST_MAIN(TestRunningActions)
#include "test_running_actions.moc"
