#include "actions/ArchiveActions.h"

#include "actions/ArchiveDiskWriter.h"
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
#include <vector>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ArchiveActions", text);
}

using PathParts::nameOf;
using PathParts::parentOf;

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// The names in an open folder as the file system stores them, hidden ones included; a name that is not
// valid UTF-8 must still be found again to be moved.
QList<QByteArray> rawChildNames(int folder, const QString& shownPath) {
    QList<QByteArray> names;
    const int listing = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(listing < 0 ? nullptr : ::fdopendir(listing),
                                                        ::closedir);
    if (!directory) {
        if (listing >= 0)
            ::close(listing);
        throw PlatformError(tr("无法读取文件夹“%1”。").arg(shownPath));
    }
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

// Gives an open folder its mode back.
void setFolderMode(int folder, mode_t mode, const QString& shownPath) {
    if (::fchmod(folder, mode) != 0)
        throw PlatformError(tr("无法设置“%1”的权限：%2").arg(shownPath, systemMessage(errno)));
}

// The folder relative inside root, opened without following any link, or -1 when that is no folder: if
// the archive put a link where it also listed a folder, the link is left alone.
struct HeldFolder {
    HeldFolder(int root, const ArchiveExtractor::FolderMode& folder)
        : descriptor(ArchiveDiskWriter::openFolderBeneath(root, folder.relativePath))
        , folder(folder) {}
    ~HeldFolder() {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    HeldFolder(const HeldFolder&) = delete;
    HeldFolder& operator=(const HeldFolder&) = delete;
    int descriptor;
    ArchiveExtractor::FolderMode folder; // its name in the archive and the mode it is to get
};

// Unpacks one archive through a hidden folder beside it (same file system), so a damaged or hostile
// archive leaves nothing behind and the unpacked items arrive by renames that never replace anything.
// Another account that can write to the archive's folder may swap the hidden folder for a link while this
// runs: from its creation on, everything goes through held descriptors, never a path.
QStringList extractArchive(const QString& archive, ArchiveExtractionMode mode, ActionProgressFeed& feed) {
    const QString folder = parentOf(archive);
    StagingDirectory staging(QStringLiteral(".kestro-unpack-"), folder);
    const int unpacked = staging.descriptor();
    const QList<ArchiveExtractor::FolderMode> folderModes =
        ArchiveExtractor::extract(archive, unpacked, QFile::encodeName(staging.path()), feed);

    // Read-only folders were written into as their owner's; they close again once complete. Top-level
    // ones only after they have moved: moving a folder to another parent needs write access to it. They
    // are held open meanwhile, so the mode lands on them wherever they are.
    std::vector<std::unique_ptr<HeldFolder>> topLevel;
    for (const ArchiveExtractor::FolderMode& folderMode : folderModes) {
        auto held = std::make_unique<HeldFolder>(unpacked, folderMode);
        if (held->descriptor < 0)
            continue;
        if (mode == ArchiveExtractionMode::currentFolder && !folderMode.relativePath.contains('/'))
            topLevel.push_back(std::move(held));
        else
            setFolderMode(held->descriptor, folderMode.mode,
                          staging.path() + QLatin1Char('/') + QFile::decodeName(folderMode.relativePath));
    }
    const auto movedAway = [&] {
        return FinderActionExecutionError::commandFailed(
            tr("无法解压“%1”：解压用的临时文件夹被其他程序替换，已停止。").arg(nameOf(archive)));
    };

    if (mode == ArchiveExtractionMode::sameNameFolder) {
        setFolderMode(unpacked, ArchiveExtractor::defaultFolderMode(), staging.path());
        if (!staging.isStillInPlace())
            throw movedAway();
        const QString moved =
            UniqueNameMove::moveAt(staging.parentDescriptor(), staging.name(), staging.parentDescriptor(),
                                   folder, *ArchiveActions::unpackedName(nameOf(archive)), QString());
        // What was renamed must have been our folder: the name could have been swapped just before.
        struct stat before {
        }, after{};
        if (::fstat(unpacked, &before) != 0 ||
            ::fstatat(staging.parentDescriptor(), QFile::encodeName(nameOf(moved)).constData(), &after,
                      AT_SYMLINK_NOFOLLOW) != 0 ||
            before.st_ino != after.st_ino || before.st_dev != after.st_dev)
            throw movedAway();
        staging.release();
        return {moved};
    }

    QStringList moved;
    for (const QByteArray& name : rawChildNames(unpacked, staging.path())) {
        const auto [stem, extension] = UniqueName::splitExtension(QFile::decodeName(name));
        moved.append(
            UniqueNameMove::moveAt(unpacked, name, staging.parentDescriptor(), folder, stem, extension));
        for (const auto& held : topLevel)
            if (held->folder.relativePath == name)
                setFolderMode(held->descriptor, held->folder.mode, moved.last());
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
