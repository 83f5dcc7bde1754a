#include "actions/ArchiveActions.h"

#include "actions/ArchiveExtractor.h"
#include "actions/ArchivePacker.h"
#include "actions/FinderActionExecutor.h"
#include "actions/FinderNameOrder.h"
#include "actions/PathParts.h"
#include "actions/StagingDirectory.h"
#include "actions/UniqueName.h"
#include "actions/UniqueNameMove.h"
#include "platform/ActionProgress.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ArchiveActions", text);
}

using PathParts::nameOf;
using PathParts::parentOf;

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
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

// A new archive's bytes go to a hidden file beside its final name, created exclusively; the finished
// archive then claims the first free name, and an unfinished one is removed.
class PendingArchive {
public:
    explicit PendingArchive(const QString& folder)
        : m_path(folder + QStringLiteral("/.kestro-archive-") +
                 QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + QStringLiteral(".zip"))
        , m_descriptor(
              ::open(QFile::encodeName(m_path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
        if (m_descriptor < 0)
            throw PlatformError(tr("无法在“%1”中创建压缩文件：%2").arg(folder, systemMessage(errno)));
    }
    ~PendingArchive() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        if (!m_path.isEmpty())
            QFile::remove(m_path);
    }
    int descriptor() const { return m_descriptor; }
    const QString& path() const { return m_path; }
    void close() {
        const int descriptor = std::exchange(m_descriptor, -1);
        if (::close(descriptor) != 0)
            throw PlatformError(tr("无法写入压缩文件：%1").arg(systemMessage(errno)));
    }
    void release() { m_path.clear(); }

private:
    QString m_path;
    int m_descriptor;
};

QStringList archivesIn(const QStringList& selectedURLs) {
    QStringList archives;
    for (const QString& url : selectedURLs) {
        const QString path = QDir::cleanPath(QFileInfo(url).absoluteFilePath());
        if (ArchiveActions::unpackedName(nameOf(path)))
            archives.append(path);
    }
    if (archives.isEmpty())
        throw FinderActionExecutionError::noSelection();
    archives = FinderActionExecutor::validatedSourceURLs(archives);
    archives.removeDuplicates();
    return archives;
}

// Gives a folder its mode back. Only a folder: if the archive put a link where it also listed a folder,
// the link is left alone rather than followed to whatever it names.
void setFolderMode(const QByteArray& path, mode_t mode) {
    struct stat status {};
    if (::lstat(path.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
        return;
    if (::chmod(path.constData(), mode) != 0)
        throw PlatformError(tr("无法设置“%1”的权限：%2").arg(QFile::decodeName(path), systemMessage(errno)));
}

// Unpacks one archive through a hidden folder beside it (same file system), so a damaged or hostile
// archive leaves nothing behind and the unpacked items arrive by renames that never replace anything.
QStringList extractArchive(const QString& archive, ArchiveExtractionMode mode, ActionProgressFeed& feed) {
    const QString folder = parentOf(archive);
    StagingDirectory staging(QStringLiteral(".kestro-unpack-"), folder);
    const QByteArray stagingBytes = QFile::encodeName(staging.path());
    const QList<ArchiveExtractor::FolderMode> folderModes =
        ArchiveExtractor::extract(archive, stagingBytes, feed);

    // Read-only folders were written into as their owner's; they close again once complete. Top-level
    // ones only after they have moved: moving a folder to another parent needs write access to it.
    QList<ArchiveExtractor::FolderMode> topLevel;
    for (const auto& [relative, folderMode] : folderModes) {
        if (mode == ArchiveExtractionMode::currentFolder && !relative.contains('/'))
            topLevel.append({relative, folderMode});
        else
            setFolderMode(stagingBytes + '/' + relative, folderMode);
    }

    if (mode == ArchiveExtractionMode::sameNameFolder) {
        setFolderMode(stagingBytes, ArchiveExtractor::defaultFolderMode());
        const QString moved = UniqueNameMove::move(staging.path(), folder,
                                                   *ArchiveActions::unpackedName(nameOf(archive)), QString());
        staging.release();
        return {moved};
    }

    QStringList moved;
    for (const QByteArray& name : rawChildNames(staging.path())) {
        const auto [stem, extension] = UniqueName::splitExtension(QFile::decodeName(name));
        const QString path = UniqueNameMove::move(stagingBytes + '/' + name, folder, stem, extension);
        moved.append(path);
        for (const auto& [relative, folderMode] : topLevel)
            if (relative == name)
                setFolderMode(QFile::encodeName(path), folderMode);
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

    ActionProgressFeed feed(tr("压缩为 ZIP"));
    // Everything is listed, and special files refused, before the archive is begun.
    const ArchivePacker packer(items);
    PendingArchive pending(folder);
    packer.write(pending.descriptor(), baseName + QStringLiteral(".zip"), feed);
    pending.close();
    const QString archive = UniqueNameMove::move(pending.path(), folder, baseName, QStringLiteral("zip"));
    pending.release();

    DiagnosticLog::append(QStringLiteral("compressed ZIP=") + archive + QStringLiteral(" entries=") +
                          DiagnosticLog::listText(zipEntries(archive)));
    FinderActionExecutor::revealActionResultsIfWanted({archive});
    return {archive};
}

QStringList ArchiveActions::extractZIPs(const QStringList& selectedURLs, ArchiveExtractionMode mode) {
    const QStringList archives = archivesIn(selectedURLs);
    ActionProgressFeed feed(tr("解压"));
    feed.state().bytesTotal = 0;
    for (const QString& archive : archives)
        feed.state().bytesTotal += QFileInfo(archive).size();
    QStringList results;
    for (const QString& archive : archives)
        results.append(extractArchive(archive, mode, feed));
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

QStringList ArchiveActions::zipEntries(const QString& archive) {
    try {
        return ArchiveExtractor::entryNames(archive);
    } catch (const std::exception&) {
        return {};
    }
}

const QStringList& ArchiveActions::unpackableExtensions() {
    static const QStringList extensions = {
        QStringLiteral("tar.bz2"), QStringLiteral("tar.gz"), QStringLiteral("tar.xz"), QStringLiteral("tgz"),
        QStringLiteral("tar"),     QStringLiteral("zip"),    QStringLiteral("7z")};
    return extensions;
}

std::optional<QString> ArchiveActions::unpackedName(const QString& archiveName) {
    for (const QString& extension : unpackableExtensions()) {
        const qsizetype stemLength = archiveName.size() - extension.size() - 1;
        // A name that is only the ending (".zip") is a hidden file, not an archive with an empty name.
        if (stemLength > 0 && archiveName.at(stemLength) == QLatin1Char('.') &&
            archiveName.endsWith(extension, Qt::CaseInsensitive))
            return archiveName.left(stemLength);
    }
    return std::nullopt;
}
