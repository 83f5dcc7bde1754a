// Scheduling, replacing, cancelling and running scheduled moves to the trash, with the fake trash and
// times given by the test.
#include "actions/FinderActionExecutor.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"
#include "platform/PropertyListFile.h"
#include "stores/ScheduledDeletionListStore.h"
#include "stores/ScheduledDeletionPersistence.h"
#include "stores/ScheduledDeletionRunner.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/FakePlatform.h"
#include "support/RecordingProgress.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <sys/stat.h>

namespace {
const QDateTime noon(QDate(2030, 5, 1), QTime(12, 0), QTimeZone::utc());

QStringList pathsOf(const QList<ScheduledDeletionItem>& items) {
    QStringList paths;
    for (const ScheduledDeletionItem& item : items)
        paths.append(item.path);
    return paths;
}

// A trash that really takes items away, into a folder of the test's own, so that what a run leaves on disk
// can be seen; the fake's refusals and record still apply.
class FolderTrash : public Trash {
public:
    explicit FolderTrash(QString folder)
        : m_folder(std::move(folder)) {}
    void moveToTrash(const QString& path) override {
        FakePlatform::trash().moveToTrash(path);
        const QString target = m_folder + QLatin1Char('/') + QFileInfo(path).fileName();
        if (!QFile::rename(path, target))
            throw PlatformError(QStringLiteral("cannot move %1").arg(path));
    }

private:
    QString m_folder;
};
} // namespace

class TestScheduledDeletion : public QObject {
    Q_OBJECT
private slots:
    void actionsScheduleAndReplace();
    void missingAndRepeatedSelectionsAreSkipped();
    void emptySelectionIsRefused();
    void fileHoldsDatesAndSurvivesMalformedEntries();
    void unreadableScheduleIsNeverReplaced();
    void cancelDropsOnlyThatEntry();
    void processingTrashesWhatIsDue();
    void onlyTheObjectThatWasScheduledIsTrashed();
    void refusedItemsStayAndAreRetried();
    void runsReportTheDueItemsOnly();
    void stoppedRunLeavesTheRestScheduled();
    void listStoreFollowsChanges();
    void runnerRunsOnItsOwnThreadAndRepeats();
    void runnerReportsToTheReporterItIsGiven();
};

void TestScheduledDeletion::actionsScheduleAndReplace() {
    TestEnvironment environment;
    const QString file = environment.writeFile(QStringLiteral("files/报告 \"final\".txt"), "x");
    const QDateTime before = QDateTime::currentDateTimeUtc();
    FinderActionExecutor::perform(QStringLiteral("scheduleDelete7Days"), {file}, std::nullopt, std::nullopt,
                                  std::nullopt);
    QList<ScheduledDeletionItem> items = ScheduledDeletionStore::items();
    QCOMPARE(items.size(), 1);
    QCOMPARE(items[0].scheduledAt.msecsTo(items[0].deleteAt), qint64(7) * 24 * 3600 * 1000);
    const QString firstID = items[0].id;

    FinderActionExecutor::perform(QStringLiteral("scheduleDelete1Hour"), {file}, std::nullopt, std::nullopt,
                                  std::nullopt);
    const QDateTime after = QDateTime::currentDateTimeUtc();
    items = ScheduledDeletionStore::items();
    QCOMPARE(items.size(), 1); // replaced, not added
    QCOMPARE(items[0].path, file);
    QVERIFY(items[0].id != firstID);
    QVERIFY(!QUuid::fromString(items[0].id).isNull());
    // Property-list dates keep whole seconds.
    QVERIFY(items[0].scheduledAt > before.addSecs(-1) && items[0].scheduledAt <= after);
    QCOMPARE(items[0].scheduledAt.secsTo(items[0].deleteAt), 3600);

    FinderActionExecutor::perform(QStringLiteral("scheduleDelete90Days"), {file}, std::nullopt, std::nullopt,
                                  std::nullopt);
    QCOMPARE(
        ScheduledDeletionStore::items()[0].scheduledAt.daysTo(ScheduledDeletionStore::items()[0].deleteAt),
        90);

    const QString log = environment.logText();
    const QString quoted = QStringLiteral("[\"%1\"]").arg(file);
    QVERIFY(
        log.contains(QStringLiteral("] scheduled deletion interval=7d paths=") + quoted + QLatin1Char('\n')));
    QVERIFY(
        log.contains(QStringLiteral("] scheduled deletion interval=1h paths=") + quoted + QLatin1Char('\n')));
    QVERIFY(log.contains(QStringLiteral("] scheduled deletion interval=90d paths=") + quoted +
                         QLatin1Char('\n')));
    // Scheduling touches nothing on disk but the schedule.
    QCOMPARE(readAll(file), QByteArray("x"));
    QVERIFY(FakePlatform::trash().trashed.isEmpty());
}

void TestScheduledDeletion::missingAndRepeatedSelectionsAreSkipped() {
    TestEnvironment environment;
    const QString kept = environment.writeFile(QStringLiteral("a/-leading dash"), "x");
    const QString folder = environment.makeFolder(QStringLiteral("a/folder\nwith newline"));
    const QString gone = environment.root() + QStringLiteral("/a/gone.txt");
    const QString dangling = environment.root() + QStringLiteral("/a/dangling");
    QVERIFY(QFile::link(gone, dangling));

    const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule(
        {kept, gone, folder + QLatin1Char('/'), kept, QStringLiteral("relative.txt"), dangling}, 3600, noon);
    QCOMPARE(pathsOf(added), QStringList({kept, folder, dangling}));
    QCOMPARE(ScheduledDeletionStore::items(), added);

    // Nothing left of the selection still saves and says so, without an error.
    ScheduledDeletionStore::schedule({gone}, 3600, noon);
    QCOMPARE(ScheduledDeletionStore::items().size(), 3);
}

void TestScheduledDeletion::emptySelectionIsRefused() {
    TestEnvironment environment;
    try {
        FinderActionExecutor::perform(QStringLiteral("scheduleDelete30Days"), {}, environment.root(),
                                      std::nullopt, std::nullopt);
        QFAIL("an empty selection was scheduled");
    } catch (const FinderActionExecutionError& error) {
        QCOMPARE(error.errorDescription(), FinderActionExecutionError::noSelection().errorDescription());
    }
    QVERIFY(!QFile::exists(ScheduledDeletionPersistence::fileURL()));
}

void TestScheduledDeletion::fileHoldsDatesAndSurvivesMalformedEntries() {
    TestEnvironment environment;
    const QString file = environment.writeFile(QStringLiteral("f.txt"), "x");
    ScheduledDeletionStore::schedule({file}, 30.0 * 24 * 3600, noon);

    const std::optional<QVariant> root = PropertyListFile::read(ScheduledDeletionPersistence::fileURL());
    QVERIFY(root && root->typeId() == QMetaType::QVariantList);
    const QVariantMap entry = root->toList().value(0).toMap();
    QCOMPARE(entry.keys(),
             QStringList({"birth", "deleteAt", "device", "id", "inode", "path", "scheduledAt"}));
    QCOMPARE(entry.value("path").toString(), file);
    struct stat status {};
    QCOMPARE(::lstat(QFile::encodeName(file).constData(), &status), 0);
    QCOMPARE(entry.value("device").toULongLong(), quint64(status.st_dev));
    QCOMPARE(entry.value("inode").toULongLong(), quint64(status.st_ino));
    QCOMPARE(entry.value("scheduledAt").toDateTime(), noon);
    QCOMPARE(entry.value("deleteAt").toDateTime(), noon.addDays(30));

    // An entry of the wrong shape is dropped; the good one is kept.
    QVariantList list = root->toList();
    list.append(QVariantMap{{"id", "x"}, {"path", "/p"}, {"scheduledAt", "yesterday"}, {"deleteAt", noon}});
    list.append(QStringLiteral("junk"));
    QVERIFY(PropertyListFile::write(ScheduledDeletionPersistence::fileURL(), list));
    QCOMPARE(pathsOf(ScheduledDeletionStore::items()), QStringList({file}));
}

void TestScheduledDeletion::unreadableScheduleIsNeverReplaced() {
    TestEnvironment environment;
    const QString file = environment.writeFile(QStringLiteral("f.txt"), "x");
    const QString corrupt =
        environment.writeFile(ScheduledDeletionPersistence::fileURL(), "<plist><array><dict>");
    QVERIFY_THROWS_EXCEPTION(std::exception, ScheduledDeletionStore::schedule({file}, 3600, noon));
    QVERIFY_THROWS_EXCEPTION(std::exception, ScheduledDeletionStore::cancel(QStringLiteral("any")));
    ScheduledDeletionStore::processDueItems(noon.addYears(1));
    QCOMPARE(readAll(corrupt), QByteArray("<plist><array><dict>"));
    QVERIFY(environment.logText().contains(QStringLiteral("] scheduled deletion failed: ")));
    QVERIFY(FakePlatform::trash().trashed.isEmpty());

    // Through the action road the failure reaches the caller like any action's.
    QVERIFY_THROWS_EXCEPTION(std::exception,
                             FinderActionExecutor::perform(QStringLiteral("scheduleDelete1Hour"), {file},
                                                           std::nullopt, std::nullopt, std::nullopt));
    QCOMPARE(readAll(corrupt), QByteArray("<plist><array><dict>"));
}

void TestScheduledDeletion::cancelDropsOnlyThatEntry() {
    TestEnvironment environment;
    const QString a = environment.writeFile(QStringLiteral("a"), "a");
    const QString b = environment.writeFile(QStringLiteral("b"), "b");
    const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule({a, b}, 3600, noon);
    ScheduledDeletionStore::cancel(QStringLiteral("not-an-id"));
    QCOMPARE(ScheduledDeletionStore::items(), added);
    ScheduledDeletionStore::cancel(added[0].id);
    QCOMPARE(ScheduledDeletionStore::items(), QList<ScheduledDeletionItem>({added[1]}));
    QCOMPARE(readAll(a), QByteArray("a"));
}

void TestScheduledDeletion::processingTrashesWhatIsDue() {
    TestEnvironment environment;
    const QString due = environment.writeFile(QStringLiteral("due"), "d");
    const QString exact = environment.writeFile(QStringLiteral("exact"), "e");
    const QString later = environment.writeFile(QStringLiteral("later"), "l");
    const QString vanished = environment.writeFile(QStringLiteral("vanished"), "v");
    ScheduledDeletionStore::schedule({due, vanished}, 3600, noon.addSecs(-7200));
    ScheduledDeletionStore::schedule({exact}, 3600, noon.addSecs(-3600)); // due at noon exactly
    const QList<ScheduledDeletionItem> pending =
        ScheduledDeletionStore::schedule({later}, 3600, noon.addSecs(-3599));
    QVERIFY(QFile::remove(vanished));

    ScheduledDeletionStore::processDueItems(noon);
    QCOMPARE(FakePlatform::trash().trashed, QStringList({due, exact}));
    QCOMPARE(ScheduledDeletionStore::items(), pending);
    const QString log = environment.logText();
    QVERIFY(log.contains(QStringLiteral("] scheduled deletion moved to trash path=%1\n").arg(due)));
    QVERIFY(log.contains(QStringLiteral("] scheduled deletion moved to trash path=%1\n").arg(exact)));
    QVERIFY(log.contains(QStringLiteral("] scheduled deletion skipped missing path=%1\n").arg(vanished)));
    QVERIFY(!log.contains(QStringLiteral("path=%1\n").arg(later)));

    // What was handled is not touched again.
    ScheduledDeletionStore::processDueItems(noon);
    QCOMPARE(FakePlatform::trash().trashed, QStringList({due, exact}));
}

void TestScheduledDeletion::refusedItemsStayAndAreRetried() {
    TestEnvironment environment;
    const QString stubborn = environment.writeFile(QStringLiteral("stubborn"), "s");
    const QString fine = environment.writeFile(QStringLiteral("fine"), "f");
    const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule({stubborn, fine}, 3600, noon);
    FakePlatform::trash().refused = QStringList({stubborn});

    ScheduledDeletionStore::processDueItems(noon.addSecs(3600));
    QCOMPARE(FakePlatform::trash().trashed, QStringList({fine}));
    QCOMPARE(ScheduledDeletionStore::items(), QList<ScheduledDeletionItem>({added[0]})); // old deleteAt kept
    QVERIFY(environment.logText().contains(
        QStringLiteral("] scheduled deletion trash failed path=%1 error=trash refused %1\n").arg(stubborn)));

    FakePlatform::trash().refused.clear();
    ScheduledDeletionStore::processDueItems(noon.addSecs(7200));
    QCOMPARE(FakePlatform::trash().trashed, QStringList({fine, stubborn}));
    QVERIFY(ScheduledDeletionStore::items().isEmpty());
}

void TestScheduledDeletion::runsReportTheDueItemsOnly() {
    TestEnvironment environment;
    const QString a = environment.writeFile(QStringLiteral("a"), "a");
    const QString gone = environment.writeFile(QStringLiteral("gone"), "g");
    const QString b = environment.writeFile(QStringLiteral("b"), "b");
    const QString later = environment.writeFile(QStringLiteral("later"), "l");
    ScheduledDeletionStore::schedule({a, gone, b}, 3600, noon);
    ScheduledDeletionStore::schedule({later}, 7200, noon);
    QVERIFY(QFile::remove(gone));

    // Nothing due yet, or nothing scheduled at all: a run says nothing.
    RecordingProgress idle;
    {
        const ActionProgressScope scope(idle);
        ScheduledDeletionStore::processDueItems(noon.addSecs(60));
    }
    QVERIFY(idle.titles.isEmpty());
    QVERIFY(idle.states.isEmpty());
    QCOMPARE(idle.finishedCount, 0);

    // Three due (one of them vanished, which still counts as handled), one not yet.
    RecordingProgress progress;
    {
        const ActionProgressScope scope(progress);
        ScheduledDeletionStore::processDueItems(noon.addSecs(3600));
    }
    QCOMPARE(progress.titles, QStringList({QStringLiteral("定时清理")}));
    QCOMPARE(progress.finishedCount, 1);
    QVERIFY(progress.isMonotonic());
    QCOMPARE(progress.states.constLast().itemsDone, qint64(3));
    QVERIFY(progress.itemsTotalIs(3));
    QCOMPARE(progress.itemsInHand(), QStringList({a, gone, b}));
    QCOMPARE(FakePlatform::trash().trashed, QStringList({a, b}));
    QCOMPARE(pathsOf(ScheduledDeletionStore::items()), QStringList({later}));
}

void TestScheduledDeletion::stoppedRunLeavesTheRestScheduled() {
    TestEnvironment environment;
    const QString trashFolder = environment.makeFolder(QStringLiteral("trash"));
    Platform::setTrash(std::make_shared<FolderTrash>(trashFolder));
    QStringList paths;
    for (const char* name : {"1", "2 refused", "3", "4", "5"})
        paths.append(environment.writeFile(QStringLiteral("files/") + QLatin1String(name), name));
    const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule(paths, 3600, noon);
    FakePlatform::trash().refused = QStringList({paths.at(1)});

    // Stopped after three: the first and third are in the trash; the refused one, like the two never
    // reached, keeps its entry and its place on disk.
    RecordingProgress progress;
    progress.stopAfterItems = 3;
    {
        const ActionProgressScope scope(progress);
        ScheduledDeletionStore::processDueItems(noon.addSecs(3600));
    }
    QCOMPARE(progress.finishedCount, 1);
    QCOMPARE(progress.states.constLast().itemsDone, qint64(3));
    QCOMPARE(FakePlatform::trash().trashed, QStringList({paths.at(0), paths.at(2)}));
    QCOMPARE(ScheduledDeletionStore::items(),
             QList<ScheduledDeletionItem>({added.at(1), added.at(3), added.at(4)}));
    QCOMPARE(QDir(environment.root() + QStringLiteral("/files")).entryList(QDir::Files | QDir::Hidden),
             QStringList({"2 refused", "4", "5"}));
    QCOMPARE(QDir(trashFolder).entryList(QDir::Files | QDir::Hidden), QStringList({"1", "3"}));
    QCOMPARE(readAll(paths.at(4)), QByteArray("5"));
    QVERIFY(environment.logText().contains(QStringLiteral("] scheduled deletion stopped on request")));

    // The next run takes exactly what is left, each once.
    FakePlatform::trash().refused.clear();
    ScheduledDeletionStore::processDueItems(noon.addSecs(7200));
    QCOMPARE(FakePlatform::trash().trashed,
             QStringList({paths.at(0), paths.at(2), paths.at(1), paths.at(3), paths.at(4)}));
    QVERIFY(ScheduledDeletionStore::items().isEmpty());
    QCOMPARE(QDir(trashFolder).entryList(QDir::Files | QDir::Hidden).size(), 5);
}

void TestScheduledDeletion::listStoreFollowsChanges() {
    TestEnvironment environment;
    const QString a = environment.writeFile(QStringLiteral("a"), "a");
    const QString b = environment.writeFile(QStringLiteral("b"), "b");
    ScheduledDeletionStore::schedule({a}, 7 * 24 * 3600, noon);

    ScheduledDeletionListStore list;
    QCOMPARE(pathsOf(list.items()), QStringList({a}));
    QSignalSpy changed(&list, &ScheduledDeletionListStore::itemsChanged);

    // Scheduled by the action road: the list reads the schedule again, earliest first.
    FinderActionExecutor::perform(QStringLiteral("scheduleDelete1Hour"), {b}, std::nullopt, std::nullopt,
                                  std::nullopt);
    QTRY_VERIFY(!changed.isEmpty());
    QCOMPARE(pathsOf(list.items()), QStringList({b, a}));

    changed.clear();
    list.cancel(list.items()[0]);
    QTRY_VERIFY(!changed.isEmpty());
    QCOMPARE(pathsOf(list.items()), QStringList({a}));

    // A cancel that cannot be saved is logged and leaves the schedule as it was.
    QFile::remove(ScheduledDeletionPersistence::fileURL());
    environment.writeFile(ScheduledDeletionPersistence::fileURL(), "not a property list");
    list.cancel(list.items()[0]);
    QVERIFY(environment.logText().contains(QStringLiteral("] scheduled deletion cancel failed: ")));
    QCOMPARE(readAll(ScheduledDeletionPersistence::fileURL()), QByteArray("not a property list"));
}

void TestScheduledDeletion::runnerRunsOnItsOwnThreadAndRepeats() {
    TestEnvironment environment;
    const QString first = environment.writeFile(QStringLiteral("first"), "1");
    ScheduledDeletionStore::schedule({first}, 3600, noon);

    std::atomic<int> runs = 0;
    std::atomic<QThread*> ranOn = nullptr;
    // The clock is a day ahead, so everything scheduled at noon is due.
    ScheduledDeletionRunner runner(nullptr, std::chrono::milliseconds(20), std::chrono::milliseconds(40),
                                   [] { return noon.addDays(1); });
    connect(
        &runner, &ScheduledDeletionRunner::runFinished, this,
        [&] {
            ranOn = QThread::currentThread();
            ++runs;
        },
        Qt::DirectConnection);
    runner.start();
    QTRY_VERIFY(runs.load() >= 1);
    QVERIFY(ranOn.load() != QThread::currentThread());

    // Scheduled while the runner runs: a later run takes it.
    const QString second = environment.writeFile(QStringLiteral("second"), "2");
    ScheduledDeletionStore::schedule({second}, 3600, noon);
    const int seen = runs.load();
    QTRY_VERIFY(runs.load() >= seen + 2);
    runner.stop();
    QCOMPARE(FakePlatform::trash().trashed, QStringList({first, second}));
    QVERIFY(ScheduledDeletionStore::items().isEmpty());
}

void TestScheduledDeletion::runnerReportsToTheReporterItIsGiven() {
    TestEnvironment environment;
    const QString a = environment.writeFile(QStringLiteral("a"), "a");
    const QString b = environment.writeFile(QStringLiteral("b"), "b");
    ScheduledDeletionStore::schedule({a, b}, 3600, noon);

    // One run only: the second would come an hour later.
    RecordingProgress onRunner;
    RecordingProgress onThisThread;
    const ActionProgressScope scope(onThisThread);
    std::atomic<int> runs = 0;
    ScheduledDeletionRunner runner(nullptr, std::chrono::milliseconds(20), std::chrono::hours(1),
                                   [] { return noon.addDays(1); });
    runner.setProgressTracker([&onRunner](const std::function<void()>& work) {
        const ActionProgressScope onItsThread(onRunner);
        work();
    });
    connect(
        &runner, &ScheduledDeletionRunner::runFinished, this, [&] { ++runs; }, Qt::DirectConnection);
    runner.start();
    QTRY_VERIFY(runs.load() >= 1);
    runner.stop();

    QCOMPARE(onRunner.titles, QStringList({QStringLiteral("定时清理")}));
    QCOMPARE(onRunner.finishedCount, 1);
    QCOMPARE(onRunner.states.constLast().itemsDone, qint64(2));
    QVERIFY(onThisThread.titles.isEmpty());
    QCOMPARE(FakePlatform::trash().trashed, QStringList({a, b}));
}

QTEST_GUILESS_MAIN(TestScheduledDeletion)
#include "test_scheduled_deletion.moc"

void TestScheduledDeletion::onlyTheObjectThatWasScheduledIsTrashed() {
    TestEnvironment environment;
    // A shared folder another account can write to, and the user's own folder it would like to reach.
    const QString shared = environment.makeFolder(QStringLiteral("shared"));
    const QString scheduled = environment.writeFile(QStringLiteral("shared/project/notes.txt"), "old");
    const QString replaced = environment.writeFile(QStringLiteral("shared/replaced.txt"), "old");
    const QString victim = environment.writeFile(QStringLiteral("home/Documents/notes.txt"), "precious");
    const QString kept = environment.writeFile(QStringLiteral("shared/kept.txt"), "kept");
    ScheduledDeletionStore::schedule({scheduled, replaced, kept}, 3600, noon);

    // The scheduled folder vanishes and comes back as a link into the user's home; the other file is
    // replaced by a new one of the same name.
    QVERIFY(QDir(shared + QStringLiteral("/project")).removeRecursively());
    QVERIFY(QFile::link(QFileInfo(victim).path(), shared + QStringLiteral("/project")));
    QVERIFY(QFile::remove(replaced));
    const QString newcomer = environment.writeFile(QStringLiteral("shared/replaced.txt"), "new");
    QCOMPARE(QFile(shared + QStringLiteral("/project/notes.txt")).exists(), true);

    ScheduledDeletionStore::processDueItems(noon.addSecs(7200));
    QCOMPARE(FakePlatform::trash().trashed, QStringList({kept}));
    QCOMPARE(readAll(victim), QByteArray("precious"));
    QCOMPARE(readAll(newcomer), QByteArray("new"));
    const QString log = environment.logText();
    QVERIFY(log.contains(QStringLiteral("scheduled deletion skipped changed path=") + scheduled));
    QVERIFY(log.contains(QStringLiteral("scheduled deletion skipped changed path=") + replaced));
    // Both are settled: they are not tried again.
    QVERIFY(ScheduledDeletionStore::items().isEmpty());
}
