#include "actions/CopyMoveActions.h"

#include "actions/FamilyNotBuilt.h"

QStringList CopyMoveActions::copyFiles(const QStringList&, const QString&)
{
    throw FamilyNotBuilt();
}

QStringList CopyMoveActions::copyFilesToChosenDirectory(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList CopyMoveActions::copyFilesBesideOriginal(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList CopyMoveActions::moveFiles(const QStringList&, const QString&)
{
    throw FamilyNotBuilt();
}

QStringList CopyMoveActions::moveFilesToChosenDirectory(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList CopyMoveActions::moveSelectionToNewFolder(const QStringList&)
{
    throw FamilyNotBuilt();
}
