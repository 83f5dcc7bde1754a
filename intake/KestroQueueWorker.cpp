#include "intake/KestroQueueWorker.h"

#include <QTimer>

KestroQueueWorker::KestroQueueWorker(KestroQueueDrain::Performer performer)
    : m_drain(std::move(performer)) {
    m_drain.setHandledCallback(
        [this](const QString& path, bool succeeded) { emit actionHandled(path, succeeded); });
}

void KestroQueueWorker::requestPass() {
    if (m_passWaiting.exchange(true))
        return;
    QMetaObject::invokeMethod(this, &KestroQueueWorker::runPass, Qt::QueuedConnection);
}

void KestroQueueWorker::startPolling(qint64 intervalMilliseconds) {
    if (!m_timer) {
        m_timer = new QTimer(this);
        connect(m_timer, &QTimer::timeout, this, &KestroQueueWorker::requestPass);
    }
    m_timer->start(std::chrono::milliseconds(intervalMilliseconds));
}

void KestroQueueWorker::onActionQueued() {
    requestPass();
}

void KestroQueueWorker::runPass() {
    m_passWaiting = false;
    const KestroQueueDrain::Summary summary = m_drain.run();
    emit passFinished(summary.succeeded, summary.failed);
}
