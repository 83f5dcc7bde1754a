#include "actions/FinderViewPresetActions.h"

#include "actions/FamilyNotBuilt.h"

void FinderViewPresetActions::applyFinderViewPreset(const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

void FinderViewPresetActions::setFinderViewMode(const QString&)
{
    throw FamilyNotBuilt();
}

void FinderViewPresetActions::setFinderSortColumn(const QString&)
{
    throw FamilyNotBuilt();
}
