#include "stores/ScheduledDeletionRunner.h"

#include "stores/ScheduledDeletionStore.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>

ScheduledDeletionRunner::ScheduledDeletionRunner(QObject* parent, std::chrono::milliseconds firstDelay,
                                                 std::chrono::milliseconds interval, Clock clock)
    : QObject(parent)
    , m_firstDelay(firstDelay)
    , m_interval(interval)
    , m_clock(std::move(clock)) {}

ScheduledDeletionRunner::~ScheduledDeletionRunner() {
    stop();
}

void ScheduledDeletionRunner::start() {
    if (m_thread)
        return;
    m_thread = new QThread;
    m_thread->setObjectName(QStringLiteral("app.tandry.Kestro.scheduled-deletions"));
    m_context = new QObject;
    m_context->moveToThread(m_thread);
    connect(m_thread, &QThread::finished, m_context, &QObject::deleteLater);
    m_thread->start();

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
    ScheduledDeletionStore::processDueItems(m_clock());
    emit runFinished();
}

void ScheduledDeletionRunner::stop() {
    if (!m_thread)
        return;
    m_thread->quit();
    QCoreApplication* application = QCoreApplication::instance();
    const bool onMainThread = application && QThread::currentThread() == application->thread();
    // Logging and notifying never wait for the main thread, but keep its events flowing all the same.
    while (!m_thread->wait(QDeadlineTimer(onMainThread ? 20 : -1)))
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    delete m_thread;
    m_thread = nullptr;
    m_context = nullptr;
}
