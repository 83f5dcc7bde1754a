#pragma once

#include "stores/ScheduledDeletionItem.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

// The schedule of moves to the trash, kept in ScheduledDeletions.plist; the file is the only state.
// Every change is saved at once and announced through ScheduledDeletionNotifier. Changes from several
// threads or processes are serialised by a lock beside the file, so none overwrites another's.
class ScheduledDeletionStore {
public:
    // Schedules the paths that exist (the others are skipped without a word) to be due interval seconds
    // after now; a path already scheduled gets the new time instead of a second entry. Returns the new
    // entries. Throws FinderActionExecutionError::noSelection when paths is empty, PlatformError when the
    // schedule cannot be read or saved.
    static QList<ScheduledDeletionItem> schedule(const QStringList& paths, double interval,
                                                 const QDateTime& now = QDateTime::currentDateTimeUtc());
    // Drops the entry with this id (an unknown id drops nothing). Throws PlatformError.
    static void cancel(const QString& id);
    // Moves what is due at now to the trash, on the caller's thread. Due entries whose item vanished are
    // dropped; entries the trash refuses stay and are retried next time. Logs every outcome; never throws.
    // When something is due, reports entry by entry to the calling thread's progress reporter; a stop it
    // asks for between entries leaves the entries not yet reached scheduled, as a refusal would.
    static void processDueItems(const QDateTime& now = QDateTime::currentDateTimeUtc());
    // The schedule, earliest deleteAt first. Throws PlatformError when it cannot be read.
    static QList<ScheduledDeletionItem> items();

private:
    static void saveItems(const QList<ScheduledDeletionItem>& items);
    static void notifyChanged();
};
