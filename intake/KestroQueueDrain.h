#pragma once

#include "intake/KestroQueuedAction.h"
#include "intake/KestroQueueDirectory.h"
#include "platform/ActionProgress.h"

#include <atomic>
#include <functional>
#include <QHash>
#include <QSet>
#include <QStringList>

// One pass over the queue folders: the extension's queue, then the shared one under the temporary root.
// Each ".json" file is claimed by renaming it to ".processing" (only one rename of a name can succeed, so
// two passes or two processes never run the same file), decoded, run, logged and removed. Whatever is
// bad about a request's content is logged and the file removed, so it is never retried. Anything that is
// not a request of the user's own (another name, a folder, a link, a file someone else can write or has a
// second name for) is set aside once under a hidden name and logged once.
class KestroQueueDrain {
public:
    using Performer = std::function<void(const KestroQueuedAction&)>;
    using HandledCallback = std::function<void(const QString& path, bool succeeded)>;

    struct Summary {
        int entriesFound = 0;
        int succeeded = 0;
        int failed = 0; // the action threw, or the file could not be read or decoded
        int skippedFolders = 0;
        QStringList problems; // one line per failure or skipped folder, as logged
    };

    // Queue files larger than this are not read: they are logged as invalid and removed.
    static constexpr qint64 maximumFileSize = 1024 * 1024;

    // Runs each request through FinderActionExecutor::perform unless told otherwise.
    explicit KestroQueueDrain(Performer performer = {});

    Summary run();
    // Makes a running pass stop before its next file (the file in hand finishes); later passes run again.
    void requestStop() { m_stopRequested = true; }
    void clearStop() { m_stopRequested = false; }
    void setHandledCallback(HandledCallback callback) { m_handled = std::move(callback); }
    // Where each action's progress is shown; without one it goes nowhere.
    void setProgressTracker(ActionProgressTracker tracker) { m_progressTracker = std::move(tracker); }

private:
    struct Candidate {
        const KestroQueueDirectory* directory;
        QByteArray fileName;
        QString path;
    };

    bool openDirectory(const KestroQueueDirectory& directory, QList<KestroQueueDirectory::Entry>& entries,
                       Summary& summary);
    void logSkip(const QString& directoryPath, const QString& reason, Summary& summary);
    void setAside(const KestroQueueDirectory& directory, const QByteArray& fileName, const QString& path,
                  const QString& reason);
    void handle(const Candidate& candidate, Summary& summary);
    bool runClaimed(const Candidate& candidate, const QByteArray& claimedName, Summary& summary);
    void fail(const QString& line, Summary& summary);

    Performer m_performer;
    HandledCallback m_handled;
    ActionProgressTracker m_progressTracker;
    std::atomic<bool> m_stopRequested = false;
    // The reason last logged per folder: a folder that stays unsafe is logged once, not every second.
    QHash<QString, QString> m_loggedSkips;
    // Entries that could not be set aside, so that each is logged only once.
    QSet<QString> m_unmovable;
};
