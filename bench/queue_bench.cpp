// Queue road figures, each against a reference measured in the same run:
//  - draining 1,000 queue files of the "completed" action, against the bare file-system work of a claim
//    (rename, read, remove) on as many files;
//  - the time from a queue file to its action done when ActionQueued is announced, against polling alone.
// Runs in a private temporary folder; needs a session bus for the announcement (dbus-run-session).
#include "intake/KestroQueuedActionRunner.h"
#include "intake/KestroQueueDrain.h"
#include "platform/KestroPaths.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace {
void writeQueueFiles(const QString& folder, int count) {
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    for (int index = 0; index < count; ++index) {
        QFile file(QStringLiteral("%1/%2.json").arg(folder).arg(index, 5, 10, QLatin1Char('0')));
        file.open(QIODevice::WriteOnly);
        file.write(
            QStringLiteral(R"({"actionID":"completed","selectedPaths":["/item %1"]})").arg(index).toUtf8());
    }
}

// The floor of any claim-by-rename drain: the same file-system steps, with no decoding, no action, no log.
void bareClaims(const QString& folder) {
    const QStringList names = QDir(folder).entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name);
    for (const QString& name : names) {
        const QString claimed = folder + QLatin1Char('/') + name.chopped(5) + QStringLiteral(".processing");
        QFile::rename(folder + QLatin1Char('/') + name, claimed);
        QFile file(claimed);
        file.open(QIODevice::ReadOnly);
        file.readAll();
        file.close();
        QFile::remove(claimed);
    }
}

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

// Milliseconds from writing one queue file (and announcing it, if asked) to its action done.
QList<double> latencies(bool announce, int trials) {
    std::atomic<int> handled = 0;
    KestroQueuedActionRunner runner;
    QObject::connect(
        &runner, &KestroQueuedActionRunner::actionHandled, &runner, [&] { ++handled; }, Qt::DirectConnection);
    runner.start();
    QDBusConnection announcer =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("bench-announcer"));
    QList<double> result;
    for (int trial = 0; trial < trials; ++trial) {
        // Start at a varying point of the polling second, as real requests do.
        QThread::msleep(137 * (trial + 1) % 1000);
        const int before = handled;
        QElapsedTimer timer;
        timer.start();
        QFile file(KestroPaths::sharedQueueDirectory() + QStringLiteral("/t%1.json").arg(trial));
        file.open(QIODevice::WriteOnly);
        file.write(R"({"actionID":"completed","selectedPaths":["/latency"]})");
        file.close();
        if (announce)
            announcer.send(QDBusMessage::createSignal(QStringLiteral("/app/tandry/Kestro"),
                                                      QStringLiteral("app.tandry.Kestro"),
                                                      QStringLiteral("ActionQueued")));
        while (handled == before) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
            QThread::usleep(200);
        }
        result.append(timer.nsecsElapsed() / 1e6);
    }
    runner.stop();
    QDBusConnection::disconnectFromBus(QStringLiteral("bench-announcer"));
    return result;
}
} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir root;
    for (const char* folder : {"home", "tmp", "kestro-tmp"})
        QDir().mkpath(root.path() + QLatin1Char('/') + QLatin1String(folder));
    qputenv("HOME", (root.path() + QStringLiteral("/home")).toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_DATA_HOME");
    qputenv("TMPDIR", (root.path() + QStringLiteral("/tmp")).toUtf8());
    qputenv("KESTRO_TMPDIR", (root.path() + QStringLiteral("/kestro-tmp")).toUtf8());
    QCoreApplication application(argc, argv);

    const int count = 1000;
    const QString shared = KestroPaths::sharedQueueDirectory();
    QList<double> drainTimes;
    QList<double> bareTimes;
    for (int round = 0; round < 5; ++round) {
        writeQueueFiles(shared, count);
        QElapsedTimer timer;
        timer.start();
        KestroQueueDrain drain;
        const KestroQueueDrain::Summary summary = drain.run();
        drainTimes.append(timer.nsecsElapsed() / 1e9);
        if (summary.succeeded != count) {
            std::fprintf(stderr, "drain ran %d of %d files\n", summary.succeeded, count);
            return 1;
        }
        writeQueueFiles(shared, count);
        timer.restart();
        bareClaims(shared);
        bareTimes.append(timer.nsecsElapsed() / 1e9);
        QFile::remove(KestroPaths::diagnosticLogPath());
    }
    const double drainSeconds = median(drainTimes);
    const double bareSeconds = median(bareTimes);
    std::printf("drain of %d \"completed\" queue files: %.0f files/s (median of 5: %.3f s)\n", count,
                count / drainSeconds, drainSeconds);
    std::printf("  reference, bare rename+read+remove: %.0f files/s; drain takes %.1fx the reference\n",
                count / bareSeconds, drainSeconds / bareSeconds);

    if (!QDBusConnection::sessionBus().isConnected()) {
        std::printf("latency: skipped, no session bus (run under dbus-run-session)\n");
        return 0;
    }
    const int trials = 10;
    const double announced = median(latencies(true, trials));
    const double polled = median(latencies(false, trials));
    std::printf("queue file to action done, median of %d: with ActionQueued %.2f ms, polling alone %.1f ms "
                "(announcement %.0fx faster)\n",
                trials, announced, polled, polled / announced);
    return 0;
}
