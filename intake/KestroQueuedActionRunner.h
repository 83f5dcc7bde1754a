#pragma once

#include "intake/KestroQueueDrain.h"
#include "platform/WorkerThread.h"

#include <chrono>
#include <QObject>

class KestroQueueWorker;

// The queue road: runs the requests the file-manager side leaves as JSON files in the queue folders, on
// one worker thread of its own. Passes come from start(), from polling (every second) and from the
// ActionQueued announcement; see KestroQueueDrain for what one pass does.
//
// The host: construct one, call start() at start-up, drain() again when launching has finished, and stop()
// before the application object goes (the destructor stops too).
class KestroQueuedActionRunner : public QObject {
    Q_OBJECT
public:
    explicit KestroQueuedActionRunner(QObject* parent = nullptr,
                                      std::chrono::milliseconds pollInterval = std::chrono::seconds(1),
                                      KestroQueueDrain::Performer performer = {});
    ~KestroQueuedActionRunner() override;

    // Starts the worker thread, queues the first pass, starts polling (first one interval from now) and
    // listens for the announcement. Calling it while running does nothing.
    void start();
    // Where each queued action's progress is shown; takes effect at the next start().
    void setProgressTracker(ActionProgressTracker tracker) { m_progressTracker = std::move(tracker); }
    // Any thread; returns at once. Queues one more pass.
    void drain();
    // Stops polling and listening and ends the worker thread after the action in hand has finished; files
    // not yet claimed stay for the next start. Keeps the main thread's events flowing meanwhile, so an
    // action waiting for a prompt on the main thread can finish.
    void stop();

    bool isRunning() const { return m_thread.isRunning(); }
    // Whether the announcement is heard (a session bus exists); polling works either way.
    bool isListening() const { return m_listening; }

    // One pass on the calling thread, for `kestro --drain`: every failure and skipped folder is written to
    // standard error as logged. Returns the exit status: 0 when nothing failed, else 1.
    static int drainOnce();

signals:
    // From the worker thread, after each handled file has been removed.
    void actionHandled(const QString& path, bool succeeded);
    void passFinished(int succeeded, int failed);

private:
    std::chrono::milliseconds m_pollInterval;
    KestroQueueDrain::Performer m_performer;
    ActionProgressTracker m_progressTracker;
    WorkerThread m_thread;
    KestroQueueWorker* m_worker = nullptr; // lives in m_thread
    bool m_listening = false;
};
