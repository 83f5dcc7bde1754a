#pragma once

#include <QDateTime>
#include <QString>

// One file or folder waiting to be moved to the trash.
struct ScheduledDeletionItem {
    QString id;            // a fresh UUID string per entry
    QString path;          // absolute path of the item
    QDateTime scheduledAt; // when the entry was made
    QDateTime deleteAt;    // when it becomes due: scheduledAt plus the interval chosen

    bool operator==(const ScheduledDeletionItem&) const = default;
};
