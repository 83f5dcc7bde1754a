#include "stores/ScheduledDeletionRunner.h"

#include "stores/ScheduledDeletionStore.h"

#include <QTimer>

ScheduledDeletionRunner::ScheduledDeletionRunner(QObject* parent, std::chrono::milliseconds firstDelay,
                                                 std::chrono::milliseconds interval, Clock clock)
    : QObject(parent)
    , m_firstDelay(firstDelay)
    , m_interval(interval)
    , m_clock(std::move(clock))
    , m_thread(QStringLiteral("app.tandry.Kestro.scheduled-deletions")) {}

ScheduledDeletionRunner::~ScheduledDeletionRunner() {
    stop();
}

void ScheduledDeletionRunner::start() {
    if (m_thread.isRunning())
        return;
    m_context = new QObject;
    m_thread.start(m_context);

    const std::chrono::milliseconds firstDelay = m_firstDelay;
    const std::chrono::milliseconds interval = m_interval;
    // The timer is made in the thread it fires in.
    QMetaObject::invokeMethod(m_context, [this, firstDelay, interval] {
        auto* timer = new QTimer(m_context);
        timer->setTimerType(Qt::CoarseTimer);
        timer->setInterval(firstDelay);
        connect(timer, &QTimer::timeout, m_context, [this, timer, interval] {
            if (timer->interval() != interval.count())
                timer->setInterval(interval);
            run();
        });
        timer->start();
    });
}

void ScheduledDeletionRunner::processNow() {
    if (m_context)
        QMetaObject::invokeMethod(m_context, [this] { run(); });
}

void ScheduledDeletionRunner::run() {
    const auto process = [this] {
        ScheduledDeletionStore::processDueItems(m_clock());
    };
    m_progressTracker ? m_progressTracker(process) : process();
    emit runFinished();
}

void ScheduledDeletionRunner::stop() {
    if (!m_thread.isRunning())
        return;
    m_thread.stop();
    m_context = nullptr; // deleted in its own thread when that finished
}
