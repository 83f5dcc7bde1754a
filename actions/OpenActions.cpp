#include "actions/OpenActions.h"

#include "actions/FamilyNotBuilt.h"

void OpenActions::openInTerminal(const QStringList&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

void OpenActions::openInApplication(KestroExternalApplication, const QStringList&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

void OpenActions::openWithApplicationPath(const QStringList&, const std::optional<QString>&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

void OpenActions::quickOpenFolder(const QString&, const std::optional<QString>&)
{
    throw FamilyNotBuilt();
}

void OpenActions::quickOpenTypedPath()
{
    throw FamilyNotBuilt();
}

void OpenActions::quickOpenClipboardPath()
{
    throw FamilyNotBuilt();
}
