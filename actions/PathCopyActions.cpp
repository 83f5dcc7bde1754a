#include "actions/PathCopyActions.h"

#include "actions/FamilyNotBuilt.h"

void PathCopyActions::copyPaths(const QStringList&, const std::optional<QString>&, KestroPathCopyFormat)
{
    throw FamilyNotBuilt();
}

void PathCopyActions::copyToPasteboard(const QString&)
{
    throw FamilyNotBuilt();
}
