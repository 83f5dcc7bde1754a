// The board of running actions between real threads, and a queued pack that the user stops (the URL road
// is stopped from the progress window in test_progress_window).
#include "intake/FailureNotifier.h"
#include "intake/KestroQueueDrain.h"
#include "intake/RunningActions.h"
#include "platform/KestroPaths.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/ProgressDrivers.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

namespace {

// A folder holding one file that takes seconds to pack.
QString bigFolder(const TestEnvironment& environment) {
    const QString folder = environment.makeFolder(QStringLiteral("大 folder 'to pack'"));
    if (!writeRandomFile(folder + QStringLiteral("/data.bin"), 160))
        return {};
    return folder;
}

// Waits until the board lists one action that has begun moving, and returns it.
quint64 firstMovingAction(const RunningActions& board) {
    if (!QTest::qWaitFor(
            [&] { return board.actions().size() == 1 && board.actions().constFirst().state.bytesDone > 0; },
            30000))
        return 0;
    return board.actions().constFirst().id;
}

} // namespace

class TestRunningActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        FakePlatform::install();
        FailureNotifier::startNewBurst();
    }

    void theLatestReportAlwaysArrivesAndABurstDoesNotFloodTheBoard() {
        RunningActions board;
        QSignalSpy changes(&board, &RunningActions::actionsChanged);
        QSemaphore stalled, goOn;
        constexpr int burst = 20000;
        QElapsedTimer burstTime;
        std::thread action([&] {
            board.track([&] {
                ActionProgressFeed feed(QStringLiteral("计算 SHA-256"));
                feed.state().bytesTotal = burst;
                feed.state().currentItem = QStringLiteral("/data/first.iso");
                feed.report();
                // An action that then works for long without a word: its last report must still show.
                stalled.release();
                goOn.acquire();
                burstTime.start();
                for (int done = 1; done <= burst - 1; ++done) {
                    feed.state().bytesDone = done;
                    feed.report();
                }
                stalled.release();
                goOn.acquire();
            });
        });
        stalled.acquire();
        QTRY_COMPARE(board.actions().size(), 1);
        QTRY_COMPARE(board.actions().constFirst().state.currentItem, QStringLiteral("/data/first.iso"));
        QCOMPARE(board.actions().constFirst().title, QStringLiteral("计算 SHA-256"));
        QCOMPARE(board.actions().constFirst().state.percent(), 0);

        const qsizetype before = changes.size();
        goOn.release();
        stalled.acquire();
        const qint64 burstMilliseconds = burstTime.elapsed();
        QTRY_COMPARE(board.actions().constFirst().state.bytesDone, qint64(burst - 1));
        // One update per collection at most, not one per report.
        QVERIFY2(changes.size() - before <= burstMilliseconds / RunningActions::updateInterval.count() + 3,
                 qPrintable(QStringLiteral("%1 updates for a burst of %2 ms")
                                .arg(changes.size() - before)
                                .arg(burstMilliseconds)));
        goOn.release();
        action.join();
        QTRY_VERIFY(board.actions().isEmpty());
    }

    void onlyTheOutermostFeedIsListedAndSilentWorkIsNot() {
        RunningActions board;
        QSignalSpy started(&board, &RunningActions::actionStarted);
        QSemaphore inside, goOn;
        std::thread action([&] {
            board.track([] { /* a quick action that reports nothing */ });
            board.track([&] {
                ActionProgressFeed outer(QStringLiteral("复制"));
                outer.state().itemsTotal = 4;
                outer.state().itemsDone = 1;
                outer.report();
                {
                    ActionProgressFeed inner(QStringLiteral("校验"));
                    inner.state().itemsTotal = 1;
                    inner.state().itemsDone = 1;
                    inner.report();
                }
                inside.release();
                goOn.acquire();
            });
        });
        inside.acquire();
        QTRY_COMPARE(board.actions().size(), 1);
        QTest::qWait(int(RunningActions::updateInterval.count()) * 2);
        QCOMPARE(started.size(), 1);
        QCOMPARE(board.actions().constFirst().title, QStringLiteral("复制"));
        QCOMPARE(board.actions().constFirst().state.itemsTotal, qint64(4));
        QCOMPARE(board.actions().constFirst().state.percent(), 25);
        goOn.release();
        action.join();
        QTRY_VERIFY(board.actions().isEmpty());

        // An action that throws past its feed leaves the list too.
        std::thread failing([&] {
            try {
                board.track([] {
                    ActionProgressFeed feed(QStringLiteral("解压"));
                    throw std::runtime_error("broken archive");
                });
            } catch (const std::runtime_error&) {
            }
        });
        failing.join();
        QTRY_COMPARE(started.size(), 2);
        QTRY_VERIFY(board.actions().isEmpty());
    }

    void cancelStopsAtTheNextBoundaryAndOthersGoOn() {
        RunningActions board;
        SteppedAction first(board, QStringLiteral("复制"), 10);
        SteppedAction second(board, QStringLiteral("移动"), 3);
        first.step(2);
        QTRY_COMPARE(board.actions().size(), 2);
        // The two threads started in either order.
        const quint64 firstID = board.actions().constFirst().title == QStringLiteral("复制")
                                    ? board.actions().constFirst().id
                                    : board.actions().constLast().id;
        QTRY_COMPARE(board.find(firstID)->state.itemsDone, qint64(2));

        board.cancel(firstID);
        QVERIFY(board.find(firstID)->cancelling);
        // Listed until it has really stopped, which it does only at its next boundary.
        QTest::qWait(int(RunningActions::updateInterval.count()) * 2);
        QVERIFY(board.find(firstID));
        QVERIFY(!first.isDone());
        first.step();
        QTRY_VERIFY(first.isDone());
        QVERIFY(first.wasCancelled());
        QTRY_VERIFY(!board.find(firstID));

        second.step(3);
        QTRY_VERIFY(second.isDone());
        QVERIFY(!second.wasCancelled());
        QTRY_VERIFY(board.actions().isEmpty());
    }

    void aQueuedRequestTheUserStopsIsNotAFailure() {
        TestEnvironment environment;
        const QString folder = bigFolder(environment);
        QVERIFY(!folder.isEmpty());
        const QString parent = QFileInfo(folder).absolutePath();
        const QStringList before = namesIn(parent);
        const QByteArray request =
            QJsonDocument(QJsonObject{{"actionID", "compressToZIP"}, {"selectedPaths", QJsonArray{folder}}})
                .toJson();
        environment.writeFile(KestroPaths::sharedQueueDirectory() + QStringLiteral("/request.json"), request);

        RunningActions board;
        KestroQueueDrain drain;
        drain.setProgressTracker(board.tracker());
        KestroQueueDrain::Summary summary;
        std::thread pass([&] { summary = drain.run(); });
        const quint64 id = firstMovingAction(board);
        if (id != 0)
            board.cancel(id);
        pass.join();
        QVERIFY(id != 0);
        QCOMPARE(summary.cancelled, 1);
        QCOMPARE(summary.failed, 0);
        QCOMPARE(summary.succeeded, 0);
        QTRY_VERIFY(board.actions().isEmpty());

        QCOMPARE(namesIn(parent), before);
        QVERIFY(QDir(KestroPaths::sharedQueueDirectory()).isEmpty());
        const QString log = environment.logText();
        QVERIFY(log.contains(QStringLiteral("app delegate queued action cancelled: ")));
        QVERIFY(!log.contains(QStringLiteral("app delegate queued action failed: ")));
        QTest::qWait(int(FailureNotifier::gatherTime.count()) + 300);
        QCOMPARE(FakePlatform::desktopNotifications().shown.size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestRunningActions)
#include "test_running_actions.moc"
