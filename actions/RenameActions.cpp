#include "actions/RenameActions.h"

#include "actions/FamilyNotBuilt.h"

QStringList RenameActions::renameFiles(const QStringList&, RenameMode)
{
    throw FamilyNotBuilt();
}
