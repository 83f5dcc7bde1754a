#include "stores/ScheduledDeletionStore.h"

#include "platform/ActionProgress.h"
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
#include <QFileInfo>
#include <QLockFile>
#include <QMutex>
#include <QSet>
#include <QTimeZone>
#include <QUuid>

#include <algorithm>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

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

// The path under which an item is kept: its folder's real path and its own name, so that the route to it
// holds no link at all and a link that shows up on that route later is a change, not the way there.
// The folder resolved by the file system ("link/.." is where the link leads, not where it stands), the
// item's own name kept: an item that is a link is the link.
std::optional<QString> realRoute(QString path) {
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    if (path.endsWith(QLatin1String("/.")) || path.endsWith(QLatin1String("/..")))
        path = QFileInfo(path).canonicalFilePath();
    const QFileInfo info(path);
    const QString folder = QFileInfo(info.path()).canonicalFilePath();
    if (folder.isEmpty() || info.fileName().isEmpty())
        return std::nullopt;
    return (folder == QLatin1String("/") ? QString() : folder) + QLatin1Char('/') + info.fileName();
}

struct Identity {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 birth = 0; // nanoseconds; 0 where the file system does not record it
};

// What the path leads to now, reached folder by folder without following any link; nothing when the item
// is gone or the route passes through a link.
std::optional<Identity> identityAlongRoute(const QString& path) {
    const QStringList components = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (!path.startsWith(QLatin1Char('/')) || components.isEmpty())
        return std::nullopt;
    int folder = ::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
    for (qsizetype index = 0; folder >= 0 && index + 1 < components.size(); ++index) {
        const int next = ::openat(folder, QFile::encodeName(components.at(index)).constData(),
                                  O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        ::close(folder);
        folder = next;
    }
    if (folder < 0)
        return std::nullopt;
    // A file system hands a freed inode number to the next new file at once, so the birth time tells a
    // newcomer under the old number from the original.
    struct statx status {};
    const int result = ::statx(folder, QFile::encodeName(components.constLast()).constData(),
                               AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_BTIME, &status);
    ::close(folder);
    if (result != 0)
        return std::nullopt;
    const qint64 birth = (status.stx_mask & STATX_BTIME)
                             ? qint64(status.stx_btime.tv_sec) * 1000000000 + status.stx_btime.tv_nsec
                             : 0;
    return Identity{quint64(makedev(status.stx_dev_major, status.stx_dev_minor)), quint64(status.stx_ino),
                    birth};
}

enum class DueState { gone, changed, same };

DueState stateOf(const ScheduledDeletionItem& item) {
    if (!itemExists(item.path))
        return DueState::gone;
    const std::optional<Identity> now = identityAlongRoute(item.path);
    if (!now)
        return DueState::changed;
    // Entries made before identities were kept have only the route to go by.
    if (item.inode != 0 &&
        (now->device != item.device || now->inode != item.inode || now->birth != item.birth))
        return DueState::changed;
    return DueState::same;
}

// Moves one due entry's item to the trash; the ids of entries that are settled go into finished, entries the
// trash refused stay out of it and are retried next time.
void processDueItem(const ScheduledDeletionItem& item, QSet<QString>& finished) {
    switch (stateOf(item)) {
    case DueState::gone:
        DiagnosticLog::append(QStringLiteral("scheduled deletion skipped missing path=") + item.path);
        finished.insert(item.id);
        return;
    case DueState::changed:
        // Another item now answers to this path (the original went, something else took its place, or a
        // link appeared on the way): that is not what the user chose.
        DiagnosticLog::append(QStringLiteral("scheduled deletion skipped changed path=") + item.path);
        finished.insert(item.id);
        return;
    case DueState::same:
        break;
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
} // namespace

QList<ScheduledDeletionItem> ScheduledDeletionStore::schedule(const QStringList& paths, double interval,
                                                              const QDateTime& now) {
    if (paths.isEmpty())
        throw FinderActionExecutionError::noSelection();
    // The file keeps whole seconds; what is returned is what will be read back.
    const QDateTime scheduledAt = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), QTimeZone::utc());
    const QDateTime deleteAt = scheduledAt.addMSecs(qint64(interval * 1000));

    QStringList newPaths;
    QList<ScheduledDeletionItem> added;
    for (const QString& path : paths) {
        const std::optional<QString> route = QDir::isAbsolutePath(path) ? realRoute(path) : std::nullopt;
        const std::optional<Identity> identity = route ? identityAlongRoute(*route) : std::nullopt;
        // A path named twice in one selection still gets one entry.
        if (!identity || newPaths.contains(*route))
            continue;
        newPaths.append(*route);
        added.append({QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(), *route, scheduledAt,
                      deleteAt, identity->device, identity->inode, identity->birth});
    }
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
        QList<ScheduledDeletionItem> due;
        for (const ScheduledDeletionItem& item : items)
            if (item.deleteAt <= now)
                due.append(item);
        QSet<QString> finished;
        // A run with nothing due says nothing; one that has work shows it item by item.
        std::optional<ActionProgressFeed> feed;
        if (!due.isEmpty()) {
            feed.emplace(QCoreApplication::translate("ScheduledDeletion", "定时清理"));
            feed->state().itemsTotal = due.size();
        }
        try {
            for (const ScheduledDeletionItem& item : due) {
                // Between items: what was moved is dropped from the schedule below, the rest stays for the
                // next run just like an item the trash refused.
                feed->stopIfCancelled();
                feed->state().currentItem = item.path;
                feed->report();
                processDueItem(item, finished);
                ++feed->state().itemsDone;
                feed->report();
            }
        } catch (const ActionCancelled&) {
            DiagnosticLog::append(QStringLiteral("scheduled deletion stopped on request, not handled=%1")
                                      .arg(due.size() - feed->state().itemsDone));
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
