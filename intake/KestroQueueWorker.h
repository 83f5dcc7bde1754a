#pragma once

#include "intake/KestroQueueDrain.h"

#include <atomic>
#include <chrono>
#include <QObject>

class QTimer;

// Lives in the queue's worker thread: its timer fires there and every pass runs there, one after the
// other, so two queued actions never run at the same time.
class KestroQueueWorker : public QObject {
    Q_OBJECT
public:
    explicit KestroQueueWorker(KestroQueueDrain::Performer performer);

    // Any thread. Queues one pass unless one is already waiting to start: triggers that arrive together
    // (timer, announcement, start) share it, and a file written after a pass began is found by the next.
    void requestPass();
    // Any thread. The running pass stops before its next file; the file in hand finishes.
    void requestStop() { m_drain.requestStop(); }
    // Before the worker's thread starts.
    void setProgressTracker(ActionProgressTracker tracker) { m_drain.setProgressTracker(std::move(tracker)); }

public slots:
    void startPolling(qint64 intervalMilliseconds);
    void onActionQueued();

signals:
    void actionHandled(const QString& path, bool succeeded);
    void passFinished(int succeeded, int failed);

private:
    void runPass();

    KestroQueueDrain m_drain;
    QTimer* m_timer = nullptr;
    std::atomic<bool> m_passWaiting = false;
};
