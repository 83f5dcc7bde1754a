#include "stores/ScheduledDeletionNotifier.h"

ScheduledDeletionNotifier& ScheduledDeletionNotifier::instance() {
    static ScheduledDeletionNotifier notifier;
    return notifier;
}
