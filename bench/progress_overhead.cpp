// What showing progress costs an action: copying 10,000 small selected files (and then one folder holding
// them) while the host's board of running actions collects their progress, against the same copy reporting
// to nobody, in the same run, alternating. Aim: at most 2 %. The copies run on a worker thread, as in the
// host, while the main thread runs the board. Because file creation speed wanders from run to run, the cost
// of one report is also measured on its own and put against the copy's time per file.
#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "intake/RunningActions.h"
#include "platform/ActionProgress.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <thread>

namespace {

// Runs work on a thread of its own while this thread keeps serving events; returns its seconds.
double onWorker(const std::function<void()>& work) {
    QEventLoop loop;
    double seconds = 0;
    std::thread worker([&] {
        QElapsedTimer clock;
        clock.start();
        work();
        seconds = clock.nsecsElapsed() / 1e9;
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    return seconds;
}

void copy(const QStringList& sources, const QString& destination) {
    QDir().mkpath(destination);
    FinderActionExecutor::perform(QStringLiteral("copyFilesToFolder"), sources, std::nullopt, destination,
                                  std::nullopt);
}

// Nanoseconds per report, with a board listening or with nobody.
double nanosecondsPerReport(RunningActions* board) {
    constexpr int reports = 2'000'000;
    const auto feed = [] {
        ActionProgressFeed feed(QStringLiteral("复制"));
        feed.state().itemsTotal = reports;
        for (int done = 1; done <= reports; ++done) {
            feed.state().itemsDone = done;
            feed.state().currentItem = QStringLiteral("/source/file.txt");
            feed.report();
            feed.stopIfCancelled();
        }
    };
    const double seconds = onWorker([&] { board ? board->track(feed) : feed(); });
    return seconds * 1e9 / reports;
}

// Counts the reports an action makes.
class CountingProgress : public ActionProgress {
public:
    void started(const QString&) override {}
    void changed(const ActionProgressState&) override { ++reports; }
    bool cancelRequested() override { return false; }
    void finished() override {}
    qint64 reports = 0;
};

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    // In memory where there is a tmpfs: the disk's own wandering would hide a 2 % difference.
    const QString base =
        QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm") : QDir::tempPath();
    QTemporaryDir scratch(base + QStringLiteral("/kestro-bench-XXXXXX"));
    qputenv("HOME", scratch.path().toUtf8());
    AppPreferences quiet;
    quiet.revealActionResults = false;
    AppPreferencesPersistence::save(quiet);
    constexpr int files = 10000;
    QStringList sources;
    QDir().mkpath(scratch.path() + QStringLiteral("/source"));
    for (int index = 0; index < files; ++index) {
        const QString path = scratch.path() + QStringLiteral("/source/file %1.txt").arg(index);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(200, 'x')) != 200)
            return 1;
        sources.append(path);
    }
    RunningActions board;
    // Best of eight alternating rounds, each into a fresh folder removed after: a folder where many files
    // were just deleted gets slower, for whichever side comes second. Returns the silent side's best.
    const auto compare = [&](const char* label, const QStringList& selection) {
        QList<double> silent, shown;
        for (int round = 0; round < 8; ++round) {
            const QString silentFolder = scratch.path() + QStringLiteral("/round %1 silent").arg(round);
            const QString shownFolder = scratch.path() + QStringLiteral("/round %1 shown").arg(round);
            const auto quietly = [&] {
                silent.append(onWorker([&] { copy(selection, silentFolder); }));
            };
            const auto watched = [&] {
                shown.append(onWorker([&] { board.track([&] { copy(selection, shownFolder); }); }));
            };
            if (round % 2 == 0) {
                quietly();
                watched();
            } else {
                watched();
                quietly();
            }
            QDir(silentFolder).removeRecursively();
            QDir(shownFolder).removeRecursively();
        }
        const double best = *std::min_element(silent.cbegin(), silent.cend());
        const double withProgress = *std::min_element(shown.cbegin(), shown.cend());
        std::printf("%-44s %10.1f ms   %-28s %10.1f ms   ratio %6.3f\n", label, withProgress * 1000,
                    "no one listening", best * 1000, withProgress / best);
        return best;
    };
    const double best = compare("copy 10,000 selected files, progress shown", sources);
    // One selected folder is counted first (its bytes), so that its copy can show how far it is.
    compare("copy a folder of 10,000 files, progress shown", {scratch.path() + QStringLiteral("/source")});

    const double listened = nanosecondsPerReport(&board);
    const double unheard = nanosecondsPerReport(nullptr);
    const double perFile = best * 1e9 / files;
    std::printf("%-44s %10.1f ns   %-28s %10.1f ns   ratio %6.3f\n", "one report, progress shown", listened,
                "no one listening", unheard, listened / unheard);
    CountingProgress counting;
    {
        const ActionProgressScope scope(counting);
        copy(sources, scratch.path() + QStringLiteral("/counted"));
    }
    const double reportsPerFile = double(counting.reports) / files;
    std::printf("%-44s %10.1f ns   %-28s %10.1f ns   ratio %6.4f\n",
                qPrintable(QStringLiteral("reporting one file (%1 reports)").arg(reportsPerFile)),
                listened * reportsPerFile, "copying one file", perFile,
                1 + listened * reportsPerFile / perFile);
    return 0;
}
