#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

void runOnMainThread(const std::function<void()>& work) {
    QCoreApplication* application = QCoreApplication::instance();
    if (!application || QThread::currentThread() == application->thread()) {
        work();
        return;
    }
    QMetaObject::invokeMethod(application, work, Qt::BlockingQueuedConnection);
}
