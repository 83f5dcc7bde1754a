#pragma once

#include <QString>

class QObject;
class QThread;

// One named thread with one object living in it. start() moves the object into a new thread, which deletes
// it when the thread has finished; stop() ends the thread's event loop and waits for the work in hand,
// keeping the main thread's events flowing meanwhile so that work waiting for the main thread can finish.
class WorkerThread {
public:
    explicit WorkerThread(QString name);
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // Takes resident (which must have no parent) into a new thread and starts it. Does nothing while running.
    void start(QObject* resident);
    // Returns when the thread has finished; the resident is gone then. Does nothing when not running.
    void stop();
    bool isRunning() const { return m_thread != nullptr; }

private:
    QString m_name;
    QThread* m_thread = nullptr;
};
