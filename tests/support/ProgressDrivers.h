#pragma once

#include "intake/RunningActions.h"

#include <atomic>
#include <QFile>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QString>
#include <thread>

// A long action of the test's own on a thread of its own, tracked by a board: it reports `items` items and
// waits before each until the test lets it go on, so a test sees every step. It stops when cancelled, as
// real actions do, at the next boundary.
class SteppedAction {
public:
    SteppedAction(RunningActions& board, const QString& title, int items)
        : m_thread([this, &board, title, items] {
            board.track([&] {
                try {
                    ActionProgressFeed feed(title);
                    feed.state().itemsTotal = items;
                    feed.report();
                    for (int item = 1; item <= items; ++item) {
                        m_go.acquire();
                        feed.stopIfCancelled();
                        feed.state().itemsDone = item;
                        feed.state().currentItem = QStringLiteral("/folder/item %1").arg(item);
                        feed.report();
                    }
                } catch (const ActionCancelled&) {
                    m_cancelled = true;
                }
            });
            m_done = true;
        }) {}
    ~SteppedAction() {
        m_go.release(1 << 20);
        m_thread.join();
    }

    void step(int count = 1) { m_go.release(count); }
    bool isDone() const { return m_done; }
    bool wasCancelled() const { return m_cancelled; }

private:
    QSemaphore m_go;
    std::atomic<bool> m_done = false;
    std::atomic<bool> m_cancelled = false;
    std::thread m_thread;
};

// A file of pseudo-random bytes (which no compressor can shrink, so packing it takes real time).
inline bool writeRandomFile(const QString& path, int mebibytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QRandomGenerator random(42);
    QByteArray block(1024 * 1024, Qt::Uninitialized);
    for (int index = 0; index < mebibytes; ++index) {
        random.fillRange(reinterpret_cast<quint32*>(block.data()), block.size() / 4);
        if (file.write(block) != block.size())
            return false;
    }
    return true;
}
