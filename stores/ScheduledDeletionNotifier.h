#pragma once

#include <QObject>

// The in-process announcement that the schedule changed (scheduled, cancelled or processed). Emitted from
// whichever thread made the change; receivers on the main thread get it queued there.
class ScheduledDeletionNotifier : public QObject {
    Q_OBJECT
public:
    static ScheduledDeletionNotifier& instance();
    void post() { emit changed(); }

signals:
    void changed();
};
