#include "actions/ArchiveExtractor.h"

#include "actions/ArchiveDiskWriter.h"
#include "actions/ByteCountText.h"
#include "platform/ActionProgress.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ArchiveExtractor", text);
}

using ReadPointer = std::unique_ptr<archive, int (*)(archive*)>;

// Fails naming the archive; every refusal and every damage is reported the same way.
[[noreturn]] void refuse(const QString& archive, const QString& reason) {
    throw FinderActionExecutionError::commandFailed(
        tr("无法解压“%1”：%2").arg(QFileInfo(archive).fileName(), reason));
}

[[noreturn]] void damaged(const QString& archive, const char* detail) {
    QString message =
        tr("无法解压“%1”：压缩文件已损坏、已加密或无法读取。").arg(QFileInfo(archive).fileName());
    if (detail && *detail)
        message += QLatin1Char('\n') + QString::fromLocal8Bit(detail);
    throw FinderActionExecutionError::commandFailed(message);
}

// The archive, opened without ever waiting on it: a pipe named "x.zip" is refused instead of read.
class ArchiveFile {
public:
    explicit ArchiveFile(const QString& path)
        : m_descriptor(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
        if (m_descriptor < 0)
            damaged(path, std::strerror(errno));
        struct stat status {};
        if (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            ::close(m_descriptor);
            refuse(path, tr("它不是普通文件。"));
        }
        ::fcntl(m_descriptor, F_SETFL, ::fcntl(m_descriptor, F_GETFL) & ~O_NONBLOCK);
        m_size = status.st_size;
    }
    ~ArchiveFile() { ::close(m_descriptor); }
    ArchiveFile(const ArchiveFile&) = delete;
    ArchiveFile& operator=(const ArchiveFile&) = delete;

    int descriptor() const { return m_descriptor; }
    qint64 size() const { return m_size; }

private:
    int m_descriptor;
    qint64 m_size = 0;
};

// A reader for the formats and compressions offered, none of which runs an outside program.
ReadPointer openReader(const QString& path, const ArchiveFile& file) {
    ReadPointer reader(archive_read_new(), archive_read_free);
    if (!reader)
        throw std::bad_alloc();
    archive* a = reader.get();
    // The seekable ZIP reader trusts the central directory, as unzip does, rather than the local headers;
    // the streaming one only takes what the seekable one does not bid for, such as an empty archive.
    archive_read_support_format_zip_seekable(a);
    archive_read_support_format_zip_streamable(a);
    archive_read_support_format_tar(a);
    archive_read_support_format_7zip(a);
    archive_read_support_filter_gzip(a);
    archive_read_support_filter_bzip2(a);
    archive_read_support_filter_xz(a);
    if (archive_read_open_fd(a, file.descriptor(), 64 * 1024) != ARCHIVE_OK)
        damaged(path, archive_error_string(a));
    return reader;
}

bool backslashesSeparate(archive* a) {
    const int format = archive_format(a) & ARCHIVE_FORMAT_BASE_MASK;
    return format == ARCHIVE_FORMAT_ZIP || format == ARCHIVE_FORMAT_7ZIP;
}

// The name's parts without empty and "." ones. Empty result: the archive's own root ("./"), skipped.
// nullopt: absolute or climbing out with "..".
std::optional<QList<QByteArray>> safeParts(QByteArray name, bool backslashes) {
    if (backslashes)
        name.replace('\\', '/');
    if (name.startsWith('/'))
        return std::nullopt;
    QList<QByteArray> parts;
    for (const QByteArray& part : name.split('/')) {
        if (part == "..")
            return std::nullopt;
        if (!part.isEmpty() && part != ".")
            parts.append(part);
    }
    return parts;
}

using Links = QHash<QByteArray, QByteArray>; // relative path of a link -> its target

// Follows target from folder through the links met so far, on paper. The extracted folder is fresh and
// private, so the archive's own links are the only ones in it and this is how the system would resolve it.
bool staysInside(QList<QByteArray> folder, const QByteArray& target, const Links& links) {
    if (target.startsWith('/'))
        return false;
    QList<QByteArray> pending = target.split('/');
    std::reverse(pending.begin(), pending.end());
    int hops = 0;
    while (!pending.isEmpty()) {
        const QByteArray part = pending.takeLast();
        if (part.isEmpty() || part == ".")
            continue;
        if (part == "..") {
            if (folder.isEmpty())
                return false;
            folder.removeLast();
            continue;
        }
        folder.append(part);
        const auto link = links.constFind(folder.join('/'));
        if (link == links.constEnd())
            continue;
        if (++hops > 40 || link->startsWith('/'))
            return false;
        folder.removeLast();
        QList<QByteArray> more = link->split('/');
        std::reverse(more.begin(), more.end());
        pending.append(more);
    }
    return true;
}

// True when a proper prefix of parts is one of the links: writing there would go through it.
bool passesThroughLink(const QList<QByteArray>& parts, const Links& links) {
    QByteArray prefix;
    for (qsizetype i = 0; i + 1 < parts.size(); ++i) {
        prefix += (i ? "/" : "") + parts.at(i);
        if (links.contains(prefix))
            return true;
    }
    return false;
}

// What the smallest item takes on disk, for the caps.
constexpr qint64 blockSize = 4096;

mode_t safePermissions(mode_t mode) {
    return mode & 0777 & ~mode_t(S_IWOTH);
}

} // namespace

const ArchiveExtractor::Limits ArchiveExtractor::defaultLimits = {
    qint64(128) << 30, // 128 GiB unpacked
    200,               // at most 200 unpacked bytes per archive byte ...
    qint64(256) << 20, // ... once past 256 MiB
    1000000,           // entries
};

mode_t ArchiveExtractor::defaultFolderMode() {
    // umask() can only be read by setting it, which would race with other threads creating files.
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly))
        for (const QByteArray& line : status.readAll().split('\n'))
            if (line.startsWith("Umask:"))
                return 0777 & ~mode_t(line.mid(6).trimmed().toUInt(nullptr, 8));
    return 0755;
}

QList<ArchiveExtractor::FolderMode> ArchiveExtractor::extract(const QString& archivePath, int destination,
                                                              const QByteArray& destinationPath,
                                                              ActionProgressFeed& feed,
                                                              const Limits& limits) {
    const ArchiveFile file(archivePath);
    const ReadPointer reader = openReader(archivePath, file);
    archive* a = reader.get();
    ArchiveDiskWriter disk(destination, destinationPath);

    const mode_t folderMode = defaultFolderMode();
    const mode_t umaskBits = ~folderMode & 0777;
    QList<FolderMode> folderModes;
    Links links;
    qint64 entries = 0;
    // What has landed on disk so far, as the caps count it.
    qint64 unpacked = 0;
    const auto charge = [&](qint64 bytes) {
        unpacked += bytes;
        if (unpacked > limits.maximumBytes)
            refuse(archivePath,
                   tr("解压后的内容超过 %1，可能是恶意构造的压缩文件。已停止，解压出的内容都已清除。")
                       .arg(ByteCountText::fileSize(limits.maximumBytes)));
        if (unpacked > limits.ratioFloorBytes &&
            unpacked / std::max<qint64>(file.size(), 1) >= limits.maximumRatio)
            refuse(archivePath, tr("解压后的内容是压缩文件的 %1 "
                                   "倍以上，可能是压缩炸弹。已停止，解压出的内容都已清除。")
                                    .arg(limits.maximumRatio));
    };
    // Progress in archive bytes read, after those of the archives unpacked before this one.
    ActionProgressState& state = feed.state();
    const qint64 base = state.bytesDone;
    state.bytesTotal = std::max(state.bytesTotal, base + file.size());
    feed.report();
    const auto reportRead = [&] {
        const qint64 read = std::clamp(qint64(archive_filter_bytes(a, -1)), qint64(0), file.size());
        state.bytesDone = std::max(state.bytesDone, base + read);
        feed.report();
    };

    archive_entry* entry = nullptr;
    for (;;) {
        feed.stopIfCancelled();
        const int status = archive_read_next_header(a, &entry);
        if (status == ARCHIVE_EOF)
            break;
        if (status < ARCHIVE_WARN)
            damaged(archivePath, archive_error_string(a));
        if (archive_entry_is_encrypted(entry))
            damaged(archivePath, archive_error_string(a));
        if (++entries > limits.maximumEntries)
            refuse(archivePath,
                   tr("它包含超过 %1 个条目，可能是恶意构造的压缩文件。已停止，解压出的内容都已清除。")
                       .arg(limits.maximumEntries));
        const char* rawName = archive_entry_pathname(entry);
        if (!rawName)
            damaged(archivePath, "");
        const QString shownName = QFile::decodeName(rawName);
        const auto parts = safeParts(rawName, backslashesSeparate(a));
        if (!parts)
            refuse(archivePath, tr("其中的“%1”指向解压文件夹之外，已拒绝解压。").arg(shownName));
        if (parts->isEmpty()) {
            archive_read_data_skip(a);
            continue;
        }
        if (passesThroughLink(*parts, links))
            refuse(archivePath, tr("其中的“%1”要经过符号链接写入，已拒绝解压。").arg(shownName));
        const QByteArray relative = parts->join('/');
        state.currentItem = QFile::decodeName(relative);
        // Every entry takes a block at least; a file its whole declared size, holes included, before any
        // of it is written. Data beyond what was declared is charged as it comes.
        const qint64 declared =
            archive_entry_size_is_set(entry) ? std::max<qint64>(archive_entry_size(entry), 0) : 0;
        charge(std::max(declared, blockSize));
        qint64 written = 0;

        timespec modified{};
        const bool timed = archive_entry_mtime_is_set(entry);
        if (timed)
            modified = {archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
        const mode_t type = archive_entry_filetype(entry);
        const char* hardlink = archive_entry_hardlink(entry);
        bool hasData = false;
        if (hardlink) {
            const auto target = safeParts(hardlink, backslashesSeparate(a));
            // A hard link to one of the archive's symbolic links would be that link in another folder,
            // where its relative target may lead elsewhere.
            if (!target || target->isEmpty() || passesThroughLink(*target, links) ||
                links.contains(target->join('/')))
                refuse(archivePath, tr("其中的“%1”指向解压文件夹之外，已拒绝解压。").arg(shownName));
            disk.makeHardLink(relative, target->join('/'));
        } else if (type == AE_IFLNK) {
            const QByteArray target = archive_entry_symlink(entry) ? archive_entry_symlink(entry) : "";
            if (target.isEmpty() || !staysInside(parts->mid(0, parts->size() - 1), target, links))
                refuse(archivePath, tr("其中的符号链接“%1”指向解压文件夹之外，已拒绝解压。").arg(shownName));
            links.insert(relative, target);
            disk.makeSymbolicLink(relative, target);
        } else if (type == AE_IFDIR) {
            // Filled as its owner's; a read-only folder gets its own mode back once complete.
            const mode_t wanted = safePermissions(archive_entry_perm(entry));
            if ((wanted & S_IRWXU) != S_IRWXU)
                folderModes.append({relative, wanted & ~umaskBits});
            disk.makeFolder(relative, wanted | S_IRWXU, timed ? &modified : nullptr);
        } else if (type == AE_IFREG) {
            hasData = disk.beginFile(relative, safePermissions(archive_entry_perm(entry)));
        } else {
            refuse(archivePath,
                   tr("其中的“%1”是特殊文件（管道、设备或套接字），已拒绝解压。").arg(shownName));
        }

        if (hasData) {
            const void* block = nullptr;
            size_t size = 0;
            la_int64_t offset = 0;
            for (;;) {
                // Inside a large entry too: everything unpacked so far is still in the hidden folder.
                feed.stopIfCancelled();
                const int read = archive_read_data_block(a, &block, &size, &offset);
                if (read == ARCHIVE_EOF)
                    break;
                // A warning here is damage: a wrong checksum or size.
                if (read != ARCHIVE_OK)
                    damaged(archivePath, archive_error_string(a));
                const qint64 end = std::max(written, qint64(offset) + qint64(size));
                charge(std::max<qint64>(end - std::max(written, std::max(declared, blockSize)), 0));
                written = end;
                disk.writeFileData(block, size, offset);
                reportRead();
            }
            disk.endFile(archive_entry_size_is_set(entry) ? archive_entry_size(entry) : 0,
                         timed ? &modified : nullptr);
        } else if (archive_read_data_skip(a) < ARCHIVE_WARN) {
            damaged(archivePath, archive_error_string(a));
        }
        // Files and links count as items, folders do not (as when packing).
        if (type != AE_IFDIR)
            ++state.itemsDone;
        reportRead();
    }
    disk.finish();
    // A link may lead through links that came after it in the archive: check them all again as a whole.
    for (auto link = links.constBegin(); link != links.constEnd(); ++link) {
        QList<QByteArray> folder = link.key().split('/');
        folder.removeLast();
        if (!staysInside(folder, link.value(), links))
            refuse(
                archivePath,
                tr("其中的符号链接“%1”指向解压文件夹之外，已拒绝解压。").arg(QFile::decodeName(link.key())));
    }
    state.bytesDone = base + file.size();
    feed.report();
    // Deepest first: a read-only folder is closed only once nothing more goes into it.
    std::stable_sort(folderModes.begin(), folderModes.end(), [](const FolderMode& a, const FolderMode& b) {
        return a.relativePath.count('/') > b.relativePath.count('/');
    });
    return folderModes;
}

QStringList ArchiveExtractor::entryNames(const QString& archivePath) {
    const ArchiveFile file(archivePath);
    const ReadPointer reader = openReader(archivePath, file);
    QStringList names;
    archive_entry* entry = nullptr;
    for (;;) {
        const int status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF)
            return names;
        if (status < ARCHIVE_WARN)
            damaged(archivePath, archive_error_string(reader.get()));
        names.append(QFile::decodeName(archive_entry_pathname(entry)));
        archive_read_data_skip(reader.get());
    }
}
