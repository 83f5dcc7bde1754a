#include "actions/ArchiveActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/FinderNameOrder.h"
#include "actions/PathParts.h"
#include "actions/StagingDirectory.h"
#include "actions/UniqueName.h"
#include "actions/UniqueNameMove.h"
#include "actions/ZipTools.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <dirent.h>
#include <filesystem>
#include <memory>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ArchiveActions", text);
}

using PathParts::nameOf;
using PathParts::parentOf;

std::filesystem::path nativePath(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

// Copies an item as the file manager would: folders recursively, symbolic links as links.
void copyItem(const QString& source, const QString& destination) {
    std::error_code error;
    std::filesystem::copy(
        nativePath(source), nativePath(destination),
        std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks, error);
    if (error)
        throw PlatformError(tr("无法复制“%1”：%2").arg(source, QString::fromStdString(error.message())));
}

// The names in a folder as the file system stores them, hidden ones included; a name that is not valid
// UTF-8 must still be found again to be moved.
QList<QByteArray> rawChildNames(const QString& folder) {
    QList<QByteArray> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(QFile::encodeName(folder).constData()),
                                                        ::closedir);
    if (!directory)
        throw PlatformError(tr("无法读取文件夹“%1”。").arg(folder));
    while (const dirent* entry = ::readdir(directory.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
    }
    return names;
}

// Removes a file of ours when the operation ends, unless it has been handed on.
class PendingFile {
public:
    explicit PendingFile(QString path)
        : m_path(std::move(path)) {}
    ~PendingFile() {
        if (!m_path.isEmpty())
            QFile::remove(m_path);
    }
    const QString& path() const { return m_path; }
    void release() { m_path.clear(); }

private:
    QString m_path;
};

QStringList zipArchives(const QStringList& selectedURLs) {
    QStringList archives;
    for (const QString& url : selectedURLs) {
        const QString path = QDir::cleanPath(QFileInfo(url).absoluteFilePath());
        if (UniqueName::splitExtension(nameOf(path)).second.toLower() == QLatin1String("zip"))
            archives.append(path);
    }
    if (archives.isEmpty())
        throw FinderActionExecutionError::noSelection();
    archives = FinderActionExecutor::validatedSourceURLs(archives);
    archives.removeDuplicates();
    return archives;
}

// Unpacks one archive through a hidden folder beside it (same file system), so a damaged archive leaves
// nothing behind and the unpacked items arrive by renames that never replace anything.
QStringList extractZIP(const QString& archive, ArchiveExtractionMode mode) {
    const QString folder = parentOf(archive);
    StagingDirectory staging(QStringLiteral(".kestro-unpack-"), folder);
    ZipTools::unpack(archive, staging.path());

    if (mode == ArchiveExtractionMode::sameNameFolder) {
        const QString stem = UniqueName::splitExtension(nameOf(archive)).first;
        return {UniqueNameMove::move(staging.path(), folder, stem, QString())};
    }

    const QByteArray stagingBytes = QFile::encodeName(staging.path());
    QStringList moved;
    for (const QByteArray& name : rawChildNames(staging.path())) {
        const auto [stem, extension] = UniqueName::splitExtension(QFile::decodeName(name));
        moved.append(UniqueNameMove::move(stagingBytes + '/' + name, folder, stem, extension));
    }
    FinderNameOrder::sortByName(moved);
    // An empty archive produced nothing: its folder stands in for the results.
    return moved.isEmpty() ? QStringList{folder} : moved;
}

} // namespace

QStringList ArchiveActions::compressToZIP(const QStringList& selectedURLs,
                                          const std::optional<QString>& targetedURL) {
    const QStringList requested = FinderActionExecutor::effectiveURLs(selectedURLs, targetedURL);
    if (requested.isEmpty())
        throw FinderActionExecutionError::noSelection();
    QStringList items;
    for (const QString& item : FinderActionExecutor::validatedSourceURLs(requested))
        items.append(QDir::cleanPath(QFileInfo(item).absoluteFilePath()));

    const QString folder = parentOf(items.first());
    QString baseName =
        items.size() == 1 ? UniqueName::splitExtension(nameOf(items.first())).first : QString();
    if (baseName.isEmpty())
        baseName = QStringLiteral("Archive");

    StagingDirectory staging(QStringLiteral("kestro-archive-"));
    const QString contents = staging.path() + QStringLiteral("/contents");
    if (!QDir().mkdir(contents))
        throw PlatformError(tr("无法创建临时文件夹：%1").arg(contents));
    for (const QString& item : items)
        copyItem(item, UniqueName::pathForItemName(contents, nameOf(item)));

    // zip adds to an archive that already exists, so it writes under a private name and the finished archive
    // then claims the first free name without ever replacing what may have appeared there meanwhile.
    PendingFile pending(folder + QStringLiteral("/.kestro-archive-") +
                        QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() +
                        QStringLiteral(".zip"));
    ZipTools::pack(contents, pending.path());
    const QString archive = UniqueNameMove::move(pending.path(), folder, baseName, QStringLiteral("zip"));
    pending.release();

    DiagnosticLog::append(QStringLiteral("compressed ZIP=") + archive + QStringLiteral(" entries=") +
                          DiagnosticLog::listText(zipEntries(archive)));
    FinderActionExecutor::revealActionResultsIfWanted({archive});
    return {archive};
}

QStringList ArchiveActions::extractZIPs(const QStringList& selectedURLs, ArchiveExtractionMode mode) {
    QStringList results;
    for (const QString& archive : zipArchives(selectedURLs))
        results.append(extractZIP(archive, mode));
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

QStringList ArchiveActions::zipEntries(const QString& archive) {
    try {
        return ZipTools::entryNames(archive);
    } catch (const std::exception&) {
        return {};
    }
}
