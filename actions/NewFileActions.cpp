#include "actions/NewFileActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/UniqueName.h"
#include "platform/KestroError.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

QString NewFileActions::createFolder(const QStringList& selectedURLs,
                                     const std::optional<QString>& targetedURL) {
    const QString directory = FinderActionExecutor::targetDirectory(selectedURLs, targetedURL);
    const QString path = UniqueName::path(directory, QStringLiteral("Untitled Folder"), QString());
    // No intermediate folders: a target that vanished is an error, not something to recreate.
    if (::mkdir(QFile::encodeName(path).constData(), 0777) != 0)
        throw PlatformError(QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
    FinderActionExecutor::revealCreatedItemsIfWanted({path});
    return path;
}

QString NewFileActions::createFile(const KestroFileTemplate& fileTemplate, const QStringList& selectedURLs,
                                   const std::optional<QString>& targetedURL) {
    const QString directory = FinderActionExecutor::targetDirectory(selectedURLs, targetedURL);
    const QString path = UniqueName::path(directory, fileTemplate.baseName(), fileTemplate.pathExtension());
    fileTemplate.write(path);
    FinderActionExecutor::revealCreatedItemsIfWanted({path});
    return path;
}
