#include "actions/ImageActions.h"

#include "actions/FamilyNotBuilt.h"

QStringList ImageActions::convertImages(const QStringList&, const QString&, const QString&, const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList ImageActions::resizeImages(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList ImageActions::stripImageMetadata(const QStringList&)
{
    throw FamilyNotBuilt();
}
