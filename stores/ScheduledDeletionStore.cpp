#include "stores/ScheduledDeletionStore.h"

#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"
#include "platform/KestroPaths.h"
#include "platform/Platform.h"
#include "platform/StoredFileBackup.h"
#include "stores/ScheduledDeletionNotifier.h"
#include "stores/ScheduledDeletionPersistence.h"

#include <QCoreApplication>
#include <QDir>
#include <QLockFile>
#include <QMutex>
#include <QSet>
#include <QTimeZone>
#include <QUuid>

#include <algorithm>
#include <sys/stat.h>

namespace {
// Reading, changing and saving the file is one step: threads of this process queue on the mutex, other
// processes (a second Kestro, `kestro --perform`) on the lock file.
class ScheduleLock {
public:
    ScheduleLock()
        : m_locker(&mutex())
        , m_file(ScheduledDeletionPersistence::fileURL() + QStringLiteral(".lock")) {
        QDir().mkpath(KestroPaths::applicationSupportDirectory());
        if (!m_file.tryLock(10000))
            throw PlatformError(
                QCoreApplication::translate("ScheduledDeletion", "计划删除列表正被其他进程使用：%1")
                    .arg(ScheduledDeletionPersistence::fileURL()));
    }

private:
    static QMutex& mutex() {
        static QMutex instance;
        return instance;
    }
    QMutexLocker<QMutex> m_locker;
    QLockFile m_file;
};

// The schedule as read for a change. A file with entries that did not load is kept aside before the change
// writes over it; when that copy cannot be made, nothing is changed.
QList<ScheduledDeletionItem> loadForChange() {
    bool leftSomethingOut = false;
    QList<ScheduledDeletionItem> items = ScheduledDeletionPersistence::load(leftSomethingOut);
    if (leftSomethingOut && StoredFileBackup::keepCopy(ScheduledDeletionPersistence::fileName()).isEmpty())
        throw PlatformError(QCoreApplication::translate("ScheduledDeletion", "计划删除列表无法备份：%1")
                                .arg(ScheduledDeletionPersistence::fileURL()));
    return items;
}

// Something is there, even a link whose target is gone: that is what the trash would take.
bool itemExists(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}
} // namespace

QList<ScheduledDeletionItem> ScheduledDeletionStore::schedule(const QStringList& paths, double interval,
                                                              const QDateTime& now) {
    if (paths.isEmpty())
        throw FinderActionExecutionError::noSelection();
    // The file keeps whole seconds; what is returned is what will be read back.
    const QDateTime scheduledAt = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), QTimeZone::utc());
    const QDateTime deleteAt = scheduledAt.addMSecs(qint64(interval * 1000));

    QStringList newPaths;
    for (const QString& path : paths) {
        const QString cleaned = QDir::cleanPath(path);
        // A path named twice in one selection still gets one entry.
        if (QDir::isAbsolutePath(cleaned) && !newPaths.contains(cleaned) && itemExists(cleaned))
            newPaths.append(cleaned);
    }

    QList<ScheduledDeletionItem> added;
    for (const QString& path : newPaths)
        added.append(
            {QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(), path, scheduledAt, deleteAt});
    {
        const ScheduleLock lock;
        QList<ScheduledDeletionItem> items = loadForChange();
        const QSet<QString> replaced(newPaths.cbegin(), newPaths.cend());
        items.removeIf([&](const ScheduledDeletionItem& item) { return replaced.contains(item.path); });
        items.append(added);
        saveItems(items);
    }
    notifyChanged();
    return added;
}

void ScheduledDeletionStore::cancel(const QString& id) {
    {
        const ScheduleLock lock;
        QList<ScheduledDeletionItem> items = loadForChange();
        items.removeIf([&](const ScheduledDeletionItem& item) { return item.id == id; });
        saveItems(items);
    }
    notifyChanged();
}

void ScheduledDeletionStore::processDueItems(const QDateTime& now) {
    try {
        // The trash may take a while; the lock is held only to write back, and what was scheduled or
        // cancelled meanwhile is kept as it is.
        const QList<ScheduledDeletionItem> items = ScheduledDeletionPersistence::load();
        QSet<QString> finished;
        for (const ScheduledDeletionItem& item : items) {
            if (item.deleteAt > now)
                continue;
            if (!itemExists(item.path)) {
                DiagnosticLog::append(QStringLiteral("scheduled deletion skipped missing path=") + item.path);
                finished.insert(item.id);
                continue;
            }
            try {
                Platform::trash().moveToTrash(item.path);
                DiagnosticLog::append(QStringLiteral("scheduled deletion moved to trash path=") + item.path);
                finished.insert(item.id);
            } catch (const std::exception& error) {
                DiagnosticLog::append(QStringLiteral("scheduled deletion trash failed path=") + item.path +
                                      QStringLiteral(" error=") + describeError(error));
            }
        }
        if (!finished.isEmpty()) {
            const ScheduleLock lock;
            QList<ScheduledDeletionItem> current = loadForChange();
            current.removeIf([&](const ScheduledDeletionItem& item) { return finished.contains(item.id); });
            saveItems(current);
        }
    } catch (const std::exception& error) {
        DiagnosticLog::append(QStringLiteral("scheduled deletion failed: ") + describeError(error));
        return;
    }
    notifyChanged();
}

QList<ScheduledDeletionItem> ScheduledDeletionStore::items() {
    QList<ScheduledDeletionItem> items = ScheduledDeletionPersistence::load();
    std::stable_sort(items.begin(), items.end(),
                     [](const ScheduledDeletionItem& a, const ScheduledDeletionItem& b) {
                         return a.deleteAt < b.deleteAt;
                     });
    return items;
}

void ScheduledDeletionStore::saveItems(const QList<ScheduledDeletionItem>& items) {
    ScheduledDeletionPersistence::save(items);
}

void ScheduledDeletionStore::notifyChanged() {
    ScheduledDeletionNotifier::instance().post();
}
