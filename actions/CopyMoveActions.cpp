#include "actions/CopyMoveActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/UniqueName.h"
#include "platform/ActionProgress.h"
#include "platform/FileTransfer.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

enum class Transfer { copy, move };

QString itemName(const QString& path) {
    return QFileInfo(path).fileName();
}

QStringList transfer(Transfer kind, const QStringList& selectedURLs, const QString& destination) {
    const QStringList sources = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    const QString folder = CopyMoveActions::validatedDestinationDirectory(destination);
    ActionProgressFeed feed(
        QCoreApplication::translate("CopyMoveActions", kind == Transfer::copy ? "复制" : "移动"));
    feed.state().itemsTotal = sources.size();
    QStringList results;
    for (const QString& source : sources) {
        // Between items: what is done stays, and an item is only ever whole under its final name.
        feed.stopIfCancelled();
        feed.state().currentItem = source;
        feed.report();
        const QString target = UniqueName::pathForItemName(folder, itemName(source));
        if (kind == Transfer::copy)
            FileTransfer::copy(source, target);
        else
            FileTransfer::move(source, target);
        results.append(target);
        ++feed.state().itemsDone;
        feed.report();
    }
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

QString chosenDirectory(const char* buttonLabel) {
    const std::optional<QString> chosen = FinderActionExecutor::chooseDestinationDirectory(
        QCoreApplication::translate("CopyMoveActions", buttonLabel));
    if (!chosen)
        throw FinderActionExecutionError::noSelection();
    return *chosen;
}

} // namespace

QString CopyMoveActions::validatedDestinationDirectory(const QString& destination) {
    const QString folder = QDir::cleanPath(destination);
    if (folder.isEmpty() || !QFileInfo(folder).isDir())
        throw FinderActionExecutionError::destinationDirectoryUnavailable(destination);
    return folder;
}

QStringList CopyMoveActions::copyFiles(const QStringList& selectedURLs, const QString& destination) {
    return transfer(Transfer::copy, selectedURLs, destination);
}

QStringList CopyMoveActions::moveFiles(const QStringList& selectedURLs, const QString& destination) {
    return transfer(Transfer::move, selectedURLs, destination);
}

QStringList CopyMoveActions::copyFilesToChosenDirectory(const QStringList& selectedURLs) {
    return copyFiles(selectedURLs, chosenDirectory("复制"));
}

QStringList CopyMoveActions::moveFilesToChosenDirectory(const QStringList& selectedURLs) {
    return moveFiles(selectedURLs, chosenDirectory("移动"));
}

QStringList CopyMoveActions::copyFilesBesideOriginal(const QStringList& selectedURLs) {
    const QStringList sources = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    QStringList results;
    for (const QString& source : sources) {
        const QFileInfo info(source);
        const auto [stem, extension] = UniqueName::splitExtension(info.fileName());
        const QString target =
            UniqueName::path(info.absolutePath(), stem + QStringLiteral(" copy"), extension);
        FileTransfer::copy(source, target);
        results.append(target);
    }
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

QStringList CopyMoveActions::moveSelectionToNewFolder(const QStringList& selectedURLs) {
    // Checked before the folder is made, so a vanished item leaves no empty folder behind.
    const QStringList sources = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    const QString folder = UniqueName::pathForItemName(QFileInfo(sources.first()).absolutePath(),
                                                       QStringLiteral("New Folder With Items"));
    if (::mkdir(QFile::encodeName(folder).constData(), 0777) != 0)
        throw PlatformError(QCoreApplication::translate("CopyMoveActions", "无法创建文件夹“%1”：%2")
                                .arg(folder, QString::fromLocal8Bit(std::strerror(errno))));
    for (const QString& source : sources)
        FileTransfer::move(source, UniqueName::pathForItemName(folder, itemName(source)));
    FinderActionExecutor::revealActionResultsIfWanted({folder});
    return {folder};
}
