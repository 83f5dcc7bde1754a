#pragma once

#include "platform/ActionProgress.h"
#include "platform/WorkerThread.h"

#include <chrono>
#include <functional>
#include <QDateTime>
#include <QObject>

// Moves due entries to the trash on a thread of its own: first a minute after start, then every hour, so an
// entry is moved at the first run after it became due. The host calls start() once at start-up and stop()
// before the application object goes (the destructor stops too).
class ScheduledDeletionRunner : public QObject {
    Q_OBJECT
public:
    using Clock = std::function<QDateTime()>;

    explicit ScheduledDeletionRunner(QObject* parent = nullptr,
                                     std::chrono::milliseconds firstDelay = std::chrono::seconds(60),
                                     std::chrono::milliseconds interval = std::chrono::seconds(3600),
                                     Clock clock = &QDateTime::currentDateTimeUtc);
    ~ScheduledDeletionRunner() override;

    // Where the runs report the entries they move (called on the runner's thread); without one they report
    // to nobody. Set before start().
    void setProgressTracker(ActionProgressTracker tracker) { m_progressTracker = std::move(tracker); }

    void start();
    // Any thread, returns at once: one run now, besides the timer's.
    void processNow();
    // Waits for a run in progress to finish.
    void stop();
    bool isRunning() const { return m_thread.isRunning(); }

signals:
    // From the runner's thread, after each run.
    void runFinished();

private:
    void run();

    std::chrono::milliseconds m_firstDelay;
    std::chrono::milliseconds m_interval;
    Clock m_clock;
    WorkerThread m_thread;
    QObject* m_context = nullptr; // lives in m_thread; owns the timer
    ActionProgressTracker m_progressTracker;
};
