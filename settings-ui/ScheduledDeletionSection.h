#pragma once

#include "settings-ui/UserListSection.h"

class ScheduledDeletionListStore;

// The files waiting to go to the trash, earliest first, each with its date; the selected one can be
// cancelled. Follows the schedule whenever it changes in this process.
class ScheduledDeletionSection : public UserListSection {
    Q_OBJECT
public:
    explicit ScheduledDeletionSection(ScheduledDeletionListStore& store, QWidget* parent = nullptr);

private:
    ScheduledDeletionListStore& m_store;
};
