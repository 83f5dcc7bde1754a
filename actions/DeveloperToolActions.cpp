#include "actions/DeveloperToolActions.h"

#include "actions/FamilyNotBuilt.h"

void DeveloperToolActions::copyChecksums(const QStringList&, ChecksumAlgorithm)
{
    throw FamilyNotBuilt();
}

void DeveloperToolActions::copyFileSizes(const QStringList&)
{
    throw FamilyNotBuilt();
}

void DeveloperToolActions::toggleHiddenFiles()
{
    throw FamilyNotBuilt();
}
