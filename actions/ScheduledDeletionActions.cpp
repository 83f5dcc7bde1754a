#include "actions/ScheduledDeletionActions.h"

#include "actions/FamilyNotBuilt.h"

void ScheduledDeletionActions::scheduleDeletion(const QStringList&, double, const QString&)
{
    throw FamilyNotBuilt();
}

void ScheduledDeletionActions::scheduleDeletion(const QStringList&, int)
{
    throw FamilyNotBuilt();
}
