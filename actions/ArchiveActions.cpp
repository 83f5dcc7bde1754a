#include "actions/ArchiveActions.h"

#include "actions/FamilyNotBuilt.h"

QStringList ArchiveActions::compressToZIP(const QStringList&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

QStringList ArchiveActions::extractZIPs(const QStringList&, ArchiveExtractionMode)
{
    throw FamilyNotBuilt();
}
