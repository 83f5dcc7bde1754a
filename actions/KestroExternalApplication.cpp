#include "actions/KestroExternalApplication.h"

#include "platform/FinderActionExecutionError.h"
#include "platform/Platform.h"

#include <QFileInfo>

QString KestroExternalApplication::bundleIdentifier() const {
    return m_case == visualStudioCode ? QStringLiteral("com.microsoft.VSCode")
                                      : QStringLiteral("com.todesktop.230313mzl4w4u92");
}

QString KestroExternalApplication::displayName() const {
    return m_case == visualStudioCode ? QStringLiteral("Visual Studio Code") : QStringLiteral("Cursor");
}

QString KestroExternalApplication::commandName() const {
    return m_case == visualStudioCode ? QStringLiteral("code") : QStringLiteral("cursor");
}

QString KestroExternalApplication::fallbackPath() const {
    return QStringLiteral("/Applications/") + displayName() + QStringLiteral(".app");
}

QString KestroExternalApplication::installedURL() const {
    Workspace& workspace = Platform::workspace();
    // The registered copy wins over the usual place; each system answers only the lookups it knows.
    for (const QString& identifier : {bundleIdentifier(), commandName()}) {
        const QString path = workspace.applicationPath(identifier);
        if (!path.isEmpty())
            return path;
    }
    if (QFileInfo::exists(fallbackPath()))
        return fallbackPath();
    throw FinderActionExecutionError::applicationNotFound(displayName());
}
