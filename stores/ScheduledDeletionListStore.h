#pragma once

#include "stores/ScheduledDeletionItem.h"

#include <QList>
#include <QObject>

// The pending entries as the settings window shows them, earliest first. Reads the schedule again whenever
// it changes in this process (an action scheduled, an hourly run, a cancel). Main thread.
class ScheduledDeletionListStore : public QObject {
    Q_OBJECT
public:
    explicit ScheduledDeletionListStore(QObject* parent = nullptr);

    const QList<ScheduledDeletionItem>& items() const { return m_items; }
    // A failure is logged and changes nothing.
    void cancel(const ScheduledDeletionItem& item);

signals:
    void itemsChanged();

private:
    void reload();

    QList<ScheduledDeletionItem> m_items;
};
