#include "actions/ScheduledDeletionActions.h"

#include "platform/DiagnosticLog.h"
#include "stores/ScheduledDeletionStore.h"

void ScheduledDeletionActions::scheduleDeletion(const QStringList& selectedURLs, double timeInterval,
                                                const QString& label) {
    const QList<ScheduledDeletionItem> added = ScheduledDeletionStore::schedule(selectedURLs, timeInterval);
    QStringList paths;
    for (const ScheduledDeletionItem& item : added)
        paths.append(item.path);
    DiagnosticLog::append(QStringLiteral("scheduled deletion interval=") + label + QStringLiteral(" paths=") +
                          DiagnosticLog::listText(paths));
}

void ScheduledDeletionActions::scheduleDeletion(const QStringList& selectedURLs, int days) {
    scheduleDeletion(selectedURLs, double(days) * 24 * 60 * 60, QString::number(days) + QLatin1Char('d'));
}
