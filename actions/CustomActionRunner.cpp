#include "actions/CustomActionRunner.h"

#include "actions/FamilyNotBuilt.h"

void CustomActionRunner::runCustomShortcut(const QString&, const QStringList&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

void CustomActionRunner::runCustomScript(const QString&, const QStringList&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}
