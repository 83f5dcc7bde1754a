#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

bool onMainThread() {
    const QCoreApplication* application = QCoreApplication::instance();
    return !application || QThread::currentThread() == application->thread();
}

void runOnMainThread(const std::function<void()>& work) {
    if (onMainThread())
        work();
    else
        QMetaObject::invokeMethod(QCoreApplication::instance(), work, Qt::BlockingQueuedConnection);
}
