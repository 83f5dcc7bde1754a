// Copying 10,000 small selected files with a progress reporter listening against the silent default, in
// the same run, alternating: what reporting progress costs an action. Aim: at most 2 %.
#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/ActionProgress.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMutex>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

// What the shell's reporter does with each change: hand a copy of the state over under a lock.
class ListeningProgress : public ActionProgress {
public:
    void started(const QString& title) override { m_title = title; }
    void changed(const ActionProgressState& state) override {
        const QMutexLocker locker(&m_mutex);
        m_latest = state;
    }
    bool cancelRequested() override { return false; }
    void finished() override {}

private:
    QString m_title;
    QMutex m_mutex;
    ActionProgressState m_latest;
};

// Into a fresh folder each time: creating files where many were just deleted gets slower round by round,
// for whichever side comes second.
double copySeconds(const QStringList& sources, const QString& destination) {
    QDir().mkpath(destination);
    QElapsedTimer clock;
    clock.start();
    FinderActionExecutor::perform(QStringLiteral("copyFilesToFolder"), sources, std::nullopt, destination,
                                  std::nullopt);
    return clock.nsecsElapsed() / 1e9;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    QTemporaryDir scratch;
    qputenv("HOME", scratch.path().toUtf8());
    AppPreferences quiet;
    quiet.revealActionResults = false;
    AppPreferencesPersistence::save(quiet);
    QStringList sources;
    QDir().mkpath(scratch.path() + QStringLiteral("/source"));
    for (int index = 0; index < 10000; ++index) {
        const QString path = scratch.path() + QStringLiteral("/source/file %1.txt").arg(index);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(200, 'x')) != 200)
            return 1;
        sources.append(path);
    }
    ListeningProgress listening;
    QList<double> silent, reported;
    for (int round = 0; round < 6; ++round) {
        const QString prefix = scratch.path() + QStringLiteral("/round %1 ").arg(round);
        const auto quietly = [&] {
            silent.append(copySeconds(sources, prefix + QStringLiteral("silent")));
        };
        const auto listened = [&] {
            const ActionProgressScope scope(listening);
            reported.append(copySeconds(sources, prefix + QStringLiteral("reported")));
        };
        // Alternating which goes first.
        if (round % 2 == 0) {
            quietly();
            listened();
        } else {
            listened();
            quietly();
        }
    }
    const double best = *std::min_element(silent.cbegin(), silent.cend());
    const double withProgress = *std::min_element(reported.cbegin(), reported.cend());
    std::printf("%-44s %10.1f ms   %-28s %10.1f ms   ratio %6.3f\n", "copy 10,000 files, progress reported",
                withProgress * 1000, "no one listening", best * 1000, withProgress / best);
    return 0;
}
