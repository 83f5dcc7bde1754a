#include "stores/ScheduledDeletionListStore.h"

#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"
#include "stores/ScheduledDeletionNotifier.h"
#include "stores/ScheduledDeletionStore.h"

ScheduledDeletionListStore::ScheduledDeletionListStore(QObject* parent)
    : QObject(parent) {
    try {
        m_items = ScheduledDeletionStore::items();
    } catch (const std::exception&) {
        // An unreadable schedule shows as empty; the hourly run logs why.
    }
    // Queued even from this thread, so that a change always reaches the list on its own thread's turn.
    connect(&ScheduledDeletionNotifier::instance(), &ScheduledDeletionNotifier::changed, this,
            &ScheduledDeletionListStore::reload, Qt::QueuedConnection);
}

void ScheduledDeletionListStore::reload() {
    try {
        m_items = ScheduledDeletionStore::items();
    } catch (const std::exception&) {
        m_items.clear();
    }
    emit itemsChanged();
}

void ScheduledDeletionListStore::cancel(const ScheduledDeletionItem& item) {
    try {
        ScheduledDeletionStore::cancel(item.id);
    } catch (const std::exception& error) {
        DiagnosticLog::append(QStringLiteral("scheduled deletion cancel failed: ") + describeError(error));
    }
}
