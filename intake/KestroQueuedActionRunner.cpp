#include "intake/KestroQueuedActionRunner.h"

#include "intake/KestroQueueWorker.h"
#include "platform/ActionQueuedObserver.h"

#include <cstdio>

KestroQueuedActionRunner::KestroQueuedActionRunner(QObject* parent, std::chrono::milliseconds pollInterval,
                                                   KestroQueueDrain::Performer performer)
    : QObject(parent)
    , m_pollInterval(pollInterval)
    , m_performer(std::move(performer))
    , m_thread(QStringLiteral("app.tandry.Kestro.action-runner")) {}

KestroQueuedActionRunner::~KestroQueuedActionRunner() {
    stop();
}

void KestroQueuedActionRunner::start() {
    if (m_thread.isRunning())
        return;
    m_worker = new KestroQueueWorker(m_performer);
    m_worker->setProgressTracker(m_progressTracker);
    connect(m_worker, &KestroQueueWorker::actionHandled, this, &KestroQueuedActionRunner::actionHandled,
            Qt::DirectConnection);
    connect(m_worker, &KestroQueueWorker::passFinished, this, &KestroQueuedActionRunner::passFinished,
            Qt::DirectConnection);
    m_thread.start(m_worker);

    m_worker->requestPass();
    QMetaObject::invokeMethod(m_worker, "startPolling", Qt::QueuedConnection,
                              Q_ARG(qint64, qint64(m_pollInterval.count())));
    m_listening = observeActionQueued(m_worker, SLOT(onActionQueued()));
}

void KestroQueuedActionRunner::drain() {
    if (m_worker)
        m_worker->requestPass();
}

void KestroQueuedActionRunner::stop() {
    if (!m_thread.isRunning())
        return;
    if (m_listening)
        stopObservingActionQueued(m_worker, SLOT(onActionQueued()));
    m_listening = false;
    m_worker->requestStop();
    // An action on the worker may be waiting for the main thread (a prompt): stop() keeps serving it.
    m_thread.stop();
    m_worker = nullptr; // deleted in its own thread when that finished
}

int KestroQueuedActionRunner::drainOnce() {
    KestroQueueDrain drain;
    const KestroQueueDrain::Summary summary = drain.run();
    for (const QString& line : summary.problems)
        std::fprintf(stderr, "%s\n", line.toUtf8().constData());
    return summary.failed == 0 && summary.skippedFolders == 0 ? 0 : 1;
}
