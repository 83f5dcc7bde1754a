#include "actions/ArchivePacker.h"

#include "actions/PathParts.h"
#include "actions/UniqueName.h"
#include "actions/ZipWriter.h"
#include "platform/ActionProgress.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QFile>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ArchivePacker", text);
}

QString shown(const QByteArray& path) {
    return QFile::decodeName(path);
}

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QList<QByteArray> sortedChildNames(const QByteArray& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.constData()), ::closedir);
    if (!listing)
        throw PlatformError(tr("无法读取文件夹“%1”：%2").arg(shown(folder), systemMessage(errno)));
    QList<QByteArray> names;
    while (const dirent* entry = ::readdir(listing.get()))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.append(QByteArray(entry->d_name));
    std::sort(names.begin(), names.end());
    return names;
}

QByteArray readLink(const QByteArray& path) {
    QByteArray target(PATH_MAX, Qt::Uninitialized);
    const ssize_t length = ::readlink(path.constData(), target.data(), size_t(target.size()));
    if (length < 0)
        throw PlatformError(tr("无法读取符号链接“%1”：%2").arg(shown(path), systemMessage(errno)));
    target.truncate(length);
    return target;
}

struct OpenFile {
    int descriptor;
    ~OpenFile() { ::close(descriptor); }
};

// Opens a file that was a regular file when listed, without waiting on it if it has become a pipe since.
int openRegularFile(const QByteArray& path) {
    const int descriptor = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        throw PlatformError(tr("无法读取“%1”：%2").arg(shown(path), systemMessage(errno)));
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        throw PlatformError(tr("“%1”在压缩时被替换成了别的东西。").arg(shown(path)));
    }
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return descriptor;
}

} // namespace

ArchivePacker::ArchivePacker(const QStringList& items) {
    QSet<QString> topLevelNames;
    for (const QString& item : items) {
        const auto [stem, extension] = UniqueName::splitExtension(PathParts::nameOf(item));
        const QString name = UniqueName::firstFreeName(
            stem, extension, [&](const QString& candidate) { return topLevelNames.contains(candidate); });
        topLevelNames.insert(name);
        addTree(QFile::encodeName(item), QFile::encodeName(name));
    }
}

void ArchivePacker::addTree(const QByteArray& path, const QByteArray& name) {
    struct stat status {};
    if (::lstat(path.constData(), &status) != 0)
        throw PlatformError(tr("无法读取“%1”：%2").arg(shown(path), systemMessage(errno)));
    const mode_t type = status.st_mode & S_IFMT;
    if (type != S_IFREG && type != S_IFDIR && type != S_IFLNK)
        throw PlatformError(tr("“%1”是特殊文件（管道、设备或套接字），不能压缩。").arg(shown(path)));
    const qint64 size = type == S_IFREG ? qint64(status.st_size) : 0;
    m_entries.append({path, name, status.st_mode, status.st_mtime, size});
    m_bytes += size;
    if (type == S_IFDIR)
        for (const QByteArray& child : sortedChildNames(path))
            addTree(path + '/' + child, name + '/' + child);
}

void ArchivePacker::write(int descriptor, const QString& archiveName, ActionProgressFeed& feed) const {
    ActionProgressState& state = feed.state();
    // Items are the files (and links) the user sees in the selection; a folder holding five files is five
    // items, not six.
    state.itemsTotal = std::count_if(m_entries.cbegin(), m_entries.cend(),
                                     [](const Entry& entry) { return (entry.mode & S_IFMT) != S_IFDIR; });
    state.bytesTotal = m_bytes;
    feed.report();

    ZipWriter zip(descriptor, archiveName);
    constexpr qsizetype blockSize = 1024 * 1024;
    QByteArray block;
    for (const Entry& entry : m_entries) {
        feed.stopIfCancelled();
        state.currentItem = shown(entry.path);
        const mode_t type = entry.mode & S_IFMT;
        if (type == S_IFDIR) {
            zip.addDirectory(entry.name, entry.mode, entry.modified);
        } else if (type == S_IFLNK) {
            zip.addSymbolicLink(entry.name, readLink(entry.path), entry.modified);
        } else {
            // The size written is the one the file has now; it must then deliver exactly that much.
            const OpenFile file{openRegularFile(entry.path)};
            struct stat status {};
            ::fstat(file.descriptor, &status);
            qint64 remaining = status.st_size;
            zip.beginFile(entry.name, status.st_mode, status.st_mtime, remaining);
            if (block.isEmpty())
                block.resize(blockSize);
            while (remaining > 0) {
                const ssize_t got =
                    ::read(file.descriptor, block.data(), size_t(std::min(remaining, blockSize)));
                if (got < 0 && errno == EINTR)
                    continue;
                if (got < 0)
                    throw PlatformError(tr("无法读取“%1”：%2").arg(shown(entry.path), systemMessage(errno)));
                if (got == 0)
                    throw PlatformError(tr("“%1”在压缩时变短了。").arg(shown(entry.path)));
                // Stopping inside a file is as safe as between files: the archive is still a hidden one.
                feed.stopIfCancelled();
                zip.writeData(block.constData(), got);
                remaining -= got;
                state.bytesDone = std::min(state.bytesDone + got, m_bytes);
                feed.report();
            }
        }
        if (type != S_IFDIR)
            ++state.itemsDone;
        feed.report();
    }
    zip.finish();
    state.bytesDone = m_bytes;
    feed.report();
}
