#pragma once

#include <QDateTime>
#include <QString>

// One file or folder waiting to be moved to the trash.
struct ScheduledDeletionItem {
    QString id;            // a fresh UUID string per entry
    QString path;          // absolute path of the item
    QDateTime scheduledAt; // when the entry was made
    QDateTime deleteAt;    // when it becomes due: scheduledAt plus the interval chosen
    // The item's identity when it was scheduled (0 and 0 for entries older than this record): the trash
    // takes it only if the very same object is still there.
    quint64 device = 0;
    quint64 inode = 0;
    qint64 birth = 0; // the item's birth time in nanoseconds, where the file system records one

    bool operator==(const ScheduledDeletionItem&) const = default;
};
