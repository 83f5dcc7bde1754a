#pragma once

#include "stores/ScheduledDeletionItem.h"

#include <QList>
#include <QString>

// ScheduledDeletions.plist in the application's folder: an array of dictionaries with "id", "path"
// (strings), "scheduledAt" and "deleteAt" (dates). Only the host reads it, so it has no second copy.
class ScheduledDeletionPersistence {
public:
    static QString fileName();
    static QString fileURL();
    // A missing file is an empty schedule; an entry without all four keys of the right type is dropped.
    // Throws PlatformError when the file exists but cannot be read or is not such an array: a schedule
    // that cannot be read must not be replaced by an empty one.
    static QList<ScheduledDeletionItem> load();
    // As load; leftSomethingOut tells whether an entry was dropped.
    static QList<ScheduledDeletionItem> load(bool& leftSomethingOut);
    // Creates the folder, then writes atomically. Throws PlatformError when it cannot.
    static void save(const QList<ScheduledDeletionItem>& items);
};
