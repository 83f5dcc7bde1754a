#include "intake/KestroQueueDrain.h"

#include "actions/FinderActionExecutor.h"
#include "intake/FailureNotifier.h"
#include "platform/ActionProgress.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"
#include "platform/KestroPaths.h"
#include "platform/MainThread.h"

#include <QCoreApplication>

#include <algorithm>

namespace {
const QByteArray queueSuffix = QByteArrayLiteral(".json");
const QByteArray claimedSuffix = QByteArrayLiteral(".processing");
// What is in a queue folder but is no request gets this prefix once, and is passed over from then on.
constexpr int settleSeconds = 60;
const QByteArray setAsidePrefix = QByteArrayLiteral(".kestro-set-aside-");

void performWithExecutor(const KestroQueuedAction& action) {
    FinderActionExecutor::perform(action.actionID, action.selectedURLs, action.targetedURL,
                                  action.destinationURL, action.presetID);
}

// No alert is shown for a failed queued action; the report is logged on the main thread, after the
// failure itself, as the URL road does with its own failures.
void reportOnMainThread(const QString& description) {
    FailureNotifier::report(description);
    const QString line = QStringLiteral("suppressed queued action error alert: ") + description;
    if (onMainThread())
        DiagnosticLog::append(line);
    else
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [line] { DiagnosticLog::append(line); }, Qt::QueuedConnection);
}
} // namespace

KestroQueueDrain::KestroQueueDrain(Performer performer)
    : m_performer(performer ? std::move(performer) : Performer(&performWithExecutor)) {}

KestroQueueDrain::Summary KestroQueueDrain::run() {
    Summary summary;
    // The extension's folder is the file manager's to create; the shared one is ours, created private.
    const KestroQueueDirectory extensionQueue(KestroPaths::extensionQueueDirectory(), false);
    const KestroQueueDirectory sharedQueue(KestroPaths::sharedQueueDirectory(), true);

    QList<Candidate> candidates;
    for (const KestroQueueDirectory* directory : {&extensionQueue, &sharedQueue}) {
        QList<KestroQueueDirectory::Entry> entries;
        if (!openDirectory(*directory, entries, summary))
            continue;
        for (const KestroQueueDirectory::Entry& entry : entries) {
            // Hidden names are files still being written (the hand-off writes ".….tmp" and renames it to
            // ".json" when complete) and what was set aside: passed over in silence.
            if (entry.fileName.startsWith('.'))
                continue;
            const QString path = directory->path() + QLatin1Char('/') + entry.name;
            if (m_unmovable.contains(path))
                continue;
            // Exactly ".json" after a non-empty name, and a file only the user's own channel can have
            // written. Anything else is set aside once, never read and never logged again; another name
            // only once nothing has changed it for a while, as a writer may still be busy with it.
            const bool named =
                entry.fileName.size() > queueSuffix.size() && entry.fileName.endsWith(queueSuffix);
            if (!named && !directory->isSettled(entry.fileName, settleSeconds))
                continue;
            ++summary.entriesFound;
            const std::optional<QString> untrusted =
                named ? directory->untrustedReason(entry.fileName) : QStringLiteral("not a .json request");
            if (untrusted)
                setAside(*directory, entry.fileName, path, *untrusted);
            else
                candidates.append({directory, entry.fileName, path});
        }
    }
    if (summary.entriesFound == 0)
        return summary;
    DiagnosticLog::append(QStringLiteral("queue drain found %1 files").arg(summary.entriesFound));

    // Ascending full path: a name that begins with a timestamp runs first in, first out.
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.path < b.path; });
    for (const Candidate& candidate : candidates) {
        if (m_stopRequested)
            break;
        handle(candidate, summary);
    }
    return summary;
}

bool KestroQueueDrain::openDirectory(const KestroQueueDirectory& directory,
                                     QList<KestroQueueDirectory::Entry>& entries, Summary& summary) {
    switch (directory.state()) {
    case KestroQueueDirectory::State::missing:
        m_loggedSkips.remove(directory.path());
        return false;
    case KestroQueueDirectory::State::skipped:
        logSkip(directory.path(), directory.skipReason(), summary);
        return false;
    case KestroQueueDirectory::State::open:
        break;
    }
    try {
        entries = directory.entries();
    } catch (const std::exception& error) {
        logSkip(directory.path(), describeError(error), summary);
        return false;
    }
    m_loggedSkips.remove(directory.path());
    return true;
}

void KestroQueueDrain::logSkip(const QString& directoryPath, const QString& reason, Summary& summary) {
    const QString line =
        QStringLiteral("queue drain skipped: ") + directoryPath + QStringLiteral(" error=") + reason;
    ++summary.skippedFolders;
    summary.problems.append(line);
    if (m_loggedSkips.value(directoryPath) == reason)
        return;
    m_loggedSkips.insert(directoryPath, reason);
    DiagnosticLog::append(line);
}

void KestroQueueDrain::setAside(const KestroQueueDirectory& directory, const QByteArray& fileName,
                                const QString& path, const QString& reason) {
    QString outcome = QStringLiteral("renamed");
    try {
        directory.rename(fileName, setAsidePrefix + fileName);
    } catch (const std::exception& error) {
        // A name too long for the prefix, say: remembered, so that later passes pass over it in silence too.
        m_unmovable.insert(path);
        outcome = QStringLiteral("left in place: ") + describeError(error);
    }
    DiagnosticLog::append(
        QStringLiteral("queue entry set aside: %1 reason=%2 (%3)").arg(path, reason, outcome));
}

void KestroQueueDrain::handle(const Candidate& candidate, Summary& summary) {
    const QByteArray claimedName = candidate.fileName.chopped(queueSuffix.size()) + claimedSuffix;
    try {
        candidate.directory->rename(candidate.fileName, claimedName);
    } catch (const std::exception& error) {
        // Another pass or process claimed it first, or it vanished: not ours to run.
        DiagnosticLog::append(QStringLiteral("queue claim skipped: ") + candidate.path +
                              QStringLiteral(" error=") + describeError(error));
        return;
    }
    // From here on the claimed file goes, whatever happens, so a bad file is never retried.
    const bool succeeded = runClaimed(candidate, claimedName, summary);
    candidate.directory->remove(claimedName);
    if (m_handled)
        m_handled(candidate.path, succeeded);
}

bool KestroQueueDrain::runClaimed(const Candidate& candidate, const QByteArray& claimedName,
                                  Summary& summary) {
    std::optional<QByteArray> bytes;
    try {
        bytes = candidate.directory->read(claimedName, maximumFileSize);
    } catch (const std::exception& error) {
        fail(QStringLiteral("app delegate queued action failed: ") + candidate.path +
                 QStringLiteral(" error=") + describeError(error),
             summary);
        return false;
    }
    const std::optional<KestroQueuedAction> action =
        bytes ? KestroQueuedAction::decode(*bytes) : std::nullopt;
    if (!action) {
        fail(QStringLiteral("queued action invalid: ") + candidate.path, summary);
        return false;
    }

    if (action->handoffError) {
        fail(QStringLiteral("file manager hand-off failed: ") + *action->handoffError, summary);
        reportOnMainThread(*action->handoffError);
        return false;
    }
    DiagnosticLog::append(QStringLiteral("app delegate queued action=%1 selected=%2 target=%3 destination=%4 "
                                         "presetID=%5 file=%6")
                              .arg(action->actionID, DiagnosticLog::listText(action->selectedURLs),
                                   DiagnosticLog::optionalText(action->targetedURL),
                                   DiagnosticLog::optionalText(action->destinationURL),
                                   DiagnosticLog::optionalText(action->presetID), candidate.path));
    try {
        const auto perform = [this, &action] {
            m_performer(*action);
        };
        m_progressTracker ? m_progressTracker(perform) : perform();
    } catch (const ActionCancelled&) {
        DiagnosticLog::append(QStringLiteral("app delegate queued action cancelled: ") + candidate.path);
        return false;
    } catch (const std::exception& error) {
        const QString description = describeError(error);
        fail(QStringLiteral("app delegate queued action failed: ") + candidate.path +
                 QStringLiteral(" error=") + description,
             summary);
        reportOnMainThread(description);
        return false;
    }
    DiagnosticLog::append(QStringLiteral("app delegate queued action succeeded: ") + action->actionID);
    ++summary.succeeded;
    return true;
}

void KestroQueueDrain::fail(const QString& line, Summary& summary) {
    DiagnosticLog::append(line);
    ++summary.failed;
    summary.problems.append(line);
}
