#include "platform/WorkerThread.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

WorkerThread::WorkerThread(QString name)
    : m_name(std::move(name)) {}

WorkerThread::~WorkerThread() {
    stop();
}

void WorkerThread::start(QObject* resident) {
    if (m_thread)
        return;
    m_thread = new QThread;
    m_thread->setObjectName(m_name);
    resident->moveToThread(m_thread);
    QObject::connect(m_thread, &QThread::finished, resident, &QObject::deleteLater);
    m_thread->start();
}

void WorkerThread::stop() {
    if (!m_thread)
        return;
    m_thread->quit();
    QCoreApplication* application = QCoreApplication::instance();
    const bool onMainThread = application && QThread::currentThread() == application->thread();
    while (!m_thread->wait(QDeadlineTimer(onMainThread ? 20 : -1)))
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    delete m_thread;
    m_thread = nullptr;
}
