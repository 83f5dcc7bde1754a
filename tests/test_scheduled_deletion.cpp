// Scheduling, replacing, cancelling and running scheduled moves to the trash, with the fake trash and
// times given by the test; what a run takes must still be the very item the user chose.
#include "platform/PropertyListFile.h"
#include "stores/ScheduledDeletionPersistence.h"
#include "stores/ScheduledDeletionRunner.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/ActionRequests.h"
#include "support/RecordingProgress.h"

namespace {
const QDateTime noon(QDate(2030, 5, 1), QTime(12, 0), QTimeZone::utc());

QStringList pathsOf(const QList<ScheduledDeletionItem>& items) {
    QStringList paths;
    for (const ScheduledDeletionItem& item : items)
        paths.append(item.path);
    return paths;
}

void processAt(const QDateTime& now, RecordingProgress* progress = nullptr) {
    RecordingProgress unused;
    const ActionProgressScope scope(progress ? *progress : unused);
    ScheduledDeletionStore::processDueItems(now);
}
} // namespace

class TestScheduledDeletion : public QObject {
    Q_OBJECT

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    void onlyExistingAbsoluteItemsAreScheduledOnce() {
        const QString kept = m_env->writeFile("a/-leading dash", "x");
        const QString folder = m_env->makeFolder("a/folder\nwith newline");
        const QString gone = m_env->root() + "/a/gone.txt";
        const QString dangling = m_env->root() + "/a/dangling";
        QVERIFY(QFile::link(gone, dangling));
        const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule(
            {kept, gone, folder + QLatin1Char('/'), kept, "relative.txt", dangling}, 3600, noon);
        QCOMPARE(pathsOf(added), QStringList({kept, folder, dangling}));
        QCOMPARE(ScheduledDeletionStore::items(), added);
        ScheduledDeletionStore::schedule({gone}, 3600, noon);
        QCOMPARE(ScheduledDeletionStore::items(), added);

        QCOMPARE(caseOf([] { perform("scheduleDelete30Days", {}); }), Case::noSelection);
    }

    // A path whose last place is a link names the link: renaming and trashing act on it, never on what it
    // leads to, whichever way the folder before ".." is reached.
    void aDottedPathActsOnTheLinkItself_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("via");
        for (const char* actionID : {"renameUppercase", "scheduleDelete1Hour"})
            for (const char* via : {"deep/dir", "link"})
                QTest::addRow("%s via %s", actionID, via) << actionID << via;
    }
    void aDottedPathActsOnTheLinkItself() {
        QFETCH(QString, actionID);
        QFETCH(QString, via);
        const QString deep = m_env->makeFolder("deep/dir");
        m_env->writeFile("deep/target.txt", "kept");
        QVERIFY(QFile::link("target.txt", m_env->root() + "/deep/alink"));
        QVERIFY(QFile::link(deep, m_env->root() + "/link"));
        perform(actionID, {m_env->root() + '/' + via + "/../alink"});
        processAt(QDateTime::currentDateTimeUtc().addDays(1));
        const QString folder = m_env->root() + "/deep";
        if (actionID.startsWith(QLatin1String("rename"))) {
            QCOMPARE(namesIn(folder), (QStringList{"ALINK", "dir", "target.txt"}));
            QVERIFY(QFileInfo(folder + "/ALINK").isSymLink());
        } else {
            QCOMPARE(FakePlatform::trash().trashed, QStringList{folder + "/alink"});
        }
        QCOMPARE(readAll(folder + "/target.txt"), QByteArray("kept"));
    }

    void anUnreadableScheduleIsNeverReplaced() {
        const QString file = m_env->writeFile("f.txt", "x");
        const QString corrupt =
            m_env->writeFile(ScheduledDeletionPersistence::fileURL(), "<plist><array><dict>");
        QVERIFY_THROWS_EXCEPTION(std::exception, ScheduledDeletionStore::schedule({file}, 3600, noon));
        QVERIFY_THROWS_EXCEPTION(std::exception, ScheduledDeletionStore::cancel("any"));
        QVERIFY_THROWS_EXCEPTION(std::exception, perform("scheduleDelete1Hour", {file}));
        processAt(noon.addYears(1));
        QCOMPARE(readAll(corrupt), QByteArray("<plist><array><dict>"));
        QVERIFY(FakePlatform::trash().trashed.isEmpty());
    }

    void aRunTrashesWhatIsDueAndReportsIt() {
        const QString due = m_env->writeFile("due", "d");
        const QString exact = m_env->writeFile("exact", "e");
        const QString later = m_env->writeFile("later", "l");
        const QString vanished = m_env->writeFile("vanished", "v");
        ScheduledDeletionStore::schedule({due, vanished}, 3600, noon.addSecs(-7200));
        ScheduledDeletionStore::schedule({exact}, 3600, noon.addSecs(-3600)); // due at noon exactly
        const QList<ScheduledDeletionItem> pending =
            ScheduledDeletionStore::schedule({later}, 3600, noon.addSecs(-3599));
        QVERIFY(QFile::remove(vanished));

        // Nothing due yet: a run says nothing.
        RecordingProgress idle;
        processAt(noon.addSecs(-3601), &idle);
        QVERIFY(idle.titles.isEmpty() && idle.states.isEmpty());

        RecordingProgress progress;
        processAt(noon, &progress);
        QCOMPARE(FakePlatform::trash().trashed, QStringList({due, exact}));
        QCOMPARE(ScheduledDeletionStore::items(), pending);
        checkWholeRun(progress, "定时清理", 3);
        QCOMPARE(progress.itemsInHand(), QStringList({due, vanished, exact}));
    }

    // Something else under the scheduled path (a link on the way, a new file, a new file that got the old
    // one's inode number) is not what the user chose: it is skipped and the entry settled.
    void onlyTheObjectThatWasScheduledIsTrashed() {
        const QString shared = m_env->makeFolder("shared");
        const QString scheduled = m_env->writeFile("shared/project/notes.txt", "old");
        const QString replaced = m_env->writeFile("shared/replaced.txt", "old");
        const QString reborn = m_env->writeFile("shared/reborn.txt", "old");
        const QString victim = m_env->writeFile("home/Documents/notes.txt", "precious");
        const QString kept = m_env->writeFile("shared/kept.txt", "kept");
        ScheduledDeletionStore::schedule({scheduled, replaced, reborn, kept}, 3600, noon);

        QVERIFY(QDir(shared + "/project").removeRecursively());
        QVERIFY(QFile::link(QFileInfo(victim).path(), shared + "/project"));
        QVERIFY(QFile::remove(replaced));
        m_env->writeFile(replaced, "new");
        // The same device and inode number, born at another moment: what a file system hands the next file.
        QVariantList list = PropertyListFile::read(ScheduledDeletionPersistence::fileURL())->toList();
        QVariantMap entry = list[2].toMap();
        QCOMPARE(entry.value("path").toString(), reborn);
        const qint64 birth = entry.value("birth").toLongLong();
        entry.insert("birth", birth + 1);
        list[2] = entry;
        QVERIFY(PropertyListFile::write(ScheduledDeletionPersistence::fileURL(), list));

        processAt(noon.addSecs(7200));
        const QStringList expected = birth ? QStringList{kept} : QStringList{reborn, kept};
        QCOMPARE(FakePlatform::trash().trashed, expected);
        QCOMPARE(readAll(victim), QByteArray("precious"));
        QCOMPARE(readAll(replaced), QByteArray("new"));
        QVERIFY(ScheduledDeletionStore::items().isEmpty());
        if (!birth)
            QSKIP("this file system records no birth times: the inode-reuse case was not checked");
    }

    // Stopped after three: moved ones leave the schedule; the refused one, like those never reached,
    // stays; the next run takes exactly what is left.
    void aStoppedOrRefusedRunLeavesTheRestScheduled() {
        QStringList paths;
        for (const char* name : {"1", "2 refused", "3", "4", "5"})
            paths.append(m_env->writeFile("files/" + QLatin1String(name), name));
        const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule(paths, 3600, noon);
        FakePlatform::trash().refused = QStringList({paths.at(1)});
        RecordingProgress progress;
        progress.stopAfterItems = 3;
        processAt(noon.addSecs(3600), &progress);
        QCOMPARE(progress.finishedCount, 1);
        QCOMPARE(FakePlatform::trash().trashed, QStringList({paths.at(0), paths.at(2)}));
        QCOMPARE(ScheduledDeletionStore::items(),
                 QList<ScheduledDeletionItem>({added.at(1), added.at(3), added.at(4)}));

        FakePlatform::trash().refused.clear();
        processAt(noon.addSecs(7200));
        QCOMPARE(FakePlatform::trash().trashed,
                 QStringList({paths.at(0), paths.at(2), paths.at(1), paths.at(3), paths.at(4)}));
        QVERIFY(ScheduledDeletionStore::items().isEmpty());
    }

    // Runs on a thread of its own, again and again, reporting to the reporter it is given.
    void theRunnerRepeatsOnItsOwnThread() {
        const QString first = m_env->writeFile("first", "1");
        ScheduledDeletionStore::schedule({first}, 3600, noon);
        RecordingProgress onRunner, onThisThread;
        const ActionProgressScope scope(onThisThread);
        ScheduledDeletionRunner runner(nullptr, std::chrono::milliseconds(20), std::chrono::milliseconds(40),
                                       [] { return noon.addDays(1); });
        runner.setProgressTracker([&onRunner](const std::function<void()>& work) {
            const ActionProgressScope onItsThread(onRunner);
            work();
        });
        runner.start();
        // The schedule file, not the fake trash the runner's thread writes to, is watched until it stops.
        QTRY_VERIFY(ScheduledDeletionStore::items().isEmpty());
        const QString second = m_env->writeFile("second", "2");
        ScheduledDeletionStore::schedule({second}, 3600, noon);
        QTRY_VERIFY(ScheduledDeletionStore::items().isEmpty());
        runner.stop();
        QCOMPARE(FakePlatform::trash().trashed, QStringList({first, second}));
        QCOMPARE(onRunner.titles, QStringList({"定时清理", "定时清理"}));
        QVERIFY(onThisThread.titles.isEmpty());
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestScheduledDeletion)
#include "test_scheduled_deletion.moc"
