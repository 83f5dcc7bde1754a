#include "platform/FileTransfer.h"

#include "platform/ActionProgress.h"
#include "platform/DiagnosticLog.h"
#include "platform/ExclusiveRename.h"
#include "platform/ExtendedAttributes.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

struct FileTransfer::HardLinks::Copies {
    // Where a file's first copy is: the item it belongs to (renamed into place once complete, so shared)
    // and its path within that item.
    struct Copy {
        std::shared_ptr<QByteArray> root;
        QByteArray relative;
        QByteArray path() const { return relative.isEmpty() ? *root : *root + '/' + relative; }
    };
    std::map<std::pair<dev_t, ino_t>, Copy> byInode;
};

FileTransfer::HardLinks::HardLinks()
    : m_copies(std::make_unique<Copies>()) {}
FileTransfer::HardLinks::~HardLinks() = default;

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("FileTransfer", text);
}

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

[[noreturn]] void fail(const char* message, const QByteArray& path, int error) {
    throw PlatformError(tr(message).arg(QFile::decodeName(path), systemMessage(error)));
}

// Closes a descriptor when the scope ends.
struct Descriptor {
    int fd = -1;
    explicit Descriptor(int value)
        : fd(value) {}
    ~Descriptor() {
        if (fd >= 0)
            ::close(fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
};

QByteArray joined(const QByteArray& folder, const char* name) {
    QByteArray path = folder;
    if (!path.endsWith('/'))
        path.append('/');
    return path.append(name);
}

// What one item's copy shares on its way down the tree.
struct CopyContext {
    const FileTransfer::CopiedBytes& copied;
    FileTransfer::HardLinks::Copies& links;
    std::shared_ptr<QByteArray> root; // the item's path while it is built
    QStringList notKept;              // what the destination could not hold, for the log
};

// Copies length bytes from the current offsets (to the end of the file when negative).
void copyRange(int from, int to, qint64 length, const QByteArray& sourcePath, const CopyContext& context) {
    static thread_local std::vector<char> buffer(256 * 1024);
    // A stop asked for during a large file comes in here too: the partial copy is then removed.
    ActionProgress& progress = ActionProgress::current();
    while (length != 0) {
        if (progress.cancelRequested())
            throw ActionCancelled();
        const size_t wanted =
            length < 0 ? buffer.size() : size_t(std::min<qint64>(length, qint64(buffer.size())));
        const ssize_t got = ::read(from, buffer.data(), wanted);
        if (got == 0)
            return;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            fail("无法读取“%1”：%2", sourcePath, errno);
        }
        for (ssize_t done = 0; done < got;) {
            const ssize_t written = ::write(to, buffer.data() + done, size_t(got - done));
            if (written < 0) {
                if (errno == EINTR)
                    continue;
                fail("无法写入“%1”的副本：%2", sourcePath, errno);
            }
            done += written;
        }
        if (length > 0)
            length -= got;
        if (context.copied)
            context.copied(sourcePath, got);
    }
}

// A file with holes (fewer blocks than its size needs) is copied piece by piece of data, the holes left
// unwritten, so a sparse disk image stays sparse. Where the file system cannot tell where the data is,
// the whole file is read.
void copyContents(int from, int to, const struct stat& status, const QByteArray& sourcePath,
                  const CopyContext& context) {
    if (qint64(status.st_blocks) * 512 >= qint64(status.st_size)) {
        copyRange(from, to, -1, sourcePath, context);
        return;
    }
    for (off_t offset = 0;;) {
        const off_t data = ::lseek(from, offset, SEEK_DATA);
        if (data < 0) {
            if (errno == ENXIO) // only a hole from here to the end
                break;
            if (errno == EINVAL && offset == 0) {
                copyRange(from, to, -1, sourcePath, context);
                return;
            }
            fail("无法读取“%1”：%2", sourcePath, errno);
        }
        const off_t hole = ::lseek(from, data, SEEK_HOLE);
        if (hole < 0 || ::lseek(from, data, SEEK_SET) < 0 || ::lseek(to, data, SEEK_SET) < 0)
            fail("无法读取“%1”：%2", sourcePath, errno);
        copyRange(from, to, hole - data, sourcePath, context);
        offset = hole;
    }
    const off_t size = ::lseek(from, 0, SEEK_END);
    if (size < 0 || ::ftruncate(to, size) != 0)
        fail("无法写入“%1”的副本：%2", sourcePath, errno);
}

void keepAttributes(int from, int to, const QByteArray& sourcePath, CopyContext& context) {
    for (const QString& lost : ExtendedAttributes::copy(from, to))
        context.notKept.append(QFile::decodeName(sourcePath) + QLatin1Char(' ') + lost);
}

QByteArray childPath(const QByteArray& relative, const char* name) {
    return relative.isEmpty() ? QByteArray(name) : relative + '/' + name;
}

// Copies the entry `name` of the folder `sourceFolder` to `targetName` in `targetFolder` (both may be
// AT_FDCWD with absolute names). sourcePath names the entry in messages; relative is the copy's path
// within the item.
void copyEntry(int sourceFolder, const char* name, const QByteArray& sourcePath, int targetFolder,
               const char* targetName, const QByteArray& relative, CopyContext& context) {
    struct stat status {};
    if (::fstatat(sourceFolder, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        fail("无法读取“%1”：%2", sourcePath, errno);
    const timespec times[2] = {status.st_atim, status.st_mtim};

    if (S_ISLNK(status.st_mode)) {
        std::vector<char> link(size_t(status.st_size > 0 ? status.st_size : 255) + 1);
        const ssize_t length = ::readlinkat(sourceFolder, name, link.data(), link.size() - 1);
        if (length < 0)
            fail("无法读取“%1”：%2", sourcePath, errno);
        link[size_t(length)] = '\0';
        if (::symlinkat(link.data(), targetFolder, targetName) != 0)
            fail("无法复制“%1”：%2", sourcePath, errno);
        ::utimensat(targetFolder, targetName, times, AT_SYMLINK_NOFOLLOW);
        return;
    }

    if (S_ISREG(status.st_mode)) {
        // Another name of a file copied already becomes another name of its copy.
        const auto inode = std::pair(status.st_dev, status.st_ino);
        auto& copies = context.links.byInode;
        if (const auto first = copies.find(inode); first != copies.end()) {
            if (::linkat(AT_FDCWD, first->second.path().constData(), targetFolder, targetName, 0) == 0)
                return;
            context.notKept.append(
                QStringLiteral("%1 hard link: %2").arg(QFile::decodeName(sourcePath), systemMessage(errno)));
        }
        const Descriptor from(::openat(sourceFolder, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (from.fd < 0)
            fail("无法读取“%1”：%2", sourcePath, errno);
        Descriptor to(::openat(targetFolder, targetName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (to.fd < 0)
            fail("无法复制“%1”：%2", sourcePath, errno);
        copyContents(from.fd, to.fd, status, sourcePath, context);
        // While the copy is still its owner's to write: user attributes need that.
        keepAttributes(from.fd, to.fd, sourcePath, context);
        ::fchmod(to.fd, status.st_mode & 0777);
        ::futimens(to.fd, times);
        const int fd = to.fd;
        to.fd = -1;
        if (::close(fd) != 0)
            fail("无法写入“%1”的副本：%2", sourcePath, errno);
        if (status.st_nlink > 1)
            copies.emplace(inode, FileTransfer::HardLinks::Copies::Copy{context.root, relative});
        return;
    }

    if (!S_ISDIR(status.st_mode))
        throw PlatformError(
            tr("“%1”是特殊文件（管道、套接字或设备），无法复制。").arg(QFile::decodeName(sourcePath)));

    if (::mkdirat(targetFolder, targetName, 0700) != 0)
        fail("无法复制“%1”：%2", sourcePath, errno);
    const Descriptor to(::openat(targetFolder, targetName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (to.fd < 0)
        fail("无法复制“%1”：%2", sourcePath, errno);
    const int fromFd = ::openat(sourceFolder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fromFd < 0)
        fail("无法读取“%1”：%2", sourcePath, errno);
    DIR* listing = ::fdopendir(fromFd);
    if (!listing) {
        const int error = errno;
        ::close(fromFd);
        fail("无法读取“%1”：%2", sourcePath, error);
    }
    try {
        for (errno = 0; const dirent* entry = ::readdir(listing); errno = 0) {
            const char* child = entry->d_name;
            if (std::strcmp(child, ".") == 0 || std::strcmp(child, "..") == 0)
                continue;
            copyEntry(::dirfd(listing), child, joined(sourcePath, child), to.fd, child,
                      childPath(relative, child), context);
        }
        if (errno != 0)
            fail("无法读取“%1”：%2", sourcePath, errno);
        // After the children, so that a default ACL does not reach into the copies made inside.
        keepAttributes(::dirfd(listing), to.fd, sourcePath, context);
    } catch (...) {
        ::closedir(listing);
        throw;
    }
    ::closedir(listing);
    // The folder's own permissions last, so a read-only source folder still receives its children.
    ::fchmod(to.fd, status.st_mode & 07777);
    ::futimens(to.fd, times);
}

// Removes an item and everything under it without following symbolic links. With makeWritable, folders
// are opened up first (used on our own partial copies, whose folders may carry read-only permissions).
// Returns 0, or the first errno met.
int removeTree(int folder, const char* name, bool makeWritable) {
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? 0 : errno;
    if (!S_ISDIR(status.st_mode))
        return ::unlinkat(folder, name, 0) == 0 ? 0 : errno;
    if (makeWritable)
        ::fchmodat(folder, name, 0700, 0);
    const int fd = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return errno;
    DIR* listing = ::fdopendir(fd);
    if (!listing) {
        const int error = errno;
        ::close(fd);
        return error;
    }
    int firstError = 0;
    while (const dirent* entry = ::readdir(listing)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        const int error = removeTree(::dirfd(listing), entry->d_name, makeWritable);
        if (error && !firstError)
            firstError = error;
    }
    ::closedir(listing);
    if (firstError)
        return firstError;
    return ::unlinkat(folder, name, AT_REMOVEDIR) == 0 ? 0 : errno;
}

QString parentFolder(const QString& path) {
    return QFileInfo(path).absolutePath();
}

// A folder cannot be copied or moved into itself or one of its own subfolders.
void refuseNestedTarget(const QString& source, const QString& target, const char* message) {
    const QFileInfo sourceInfo(source);
    if (sourceInfo.isSymLink() || !sourceInfo.isDir())
        return;
    const QString sourceFolder = sourceInfo.canonicalFilePath();
    const QString targetFolder = QFileInfo(parentFolder(target)).canonicalFilePath();
    if (sourceFolder.isEmpty() || targetFolder.isEmpty())
        return;
    if (targetFolder == sourceFolder || targetFolder.startsWith(sourceFolder + QLatin1Char('/')) ||
        sourceFolder == QLatin1String("/"))
        throw PlatformError(tr(message).arg(source));
}

// The sizes of the regular files at name in folder and below, links not followed. What cannot be read is
// not counted: the copy itself reports it.
qint64 bytesIn(int folder, const char* name, const std::stop_token& stop) {
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return 0;
    if (!S_ISDIR(status.st_mode))
        return S_ISREG(status.st_mode) ? status.st_size : 0;
    const int fd = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return 0;
    DIR* listing = ::fdopendir(fd);
    if (!listing) {
        ::close(fd);
        return 0;
    }
    qint64 total = 0;
    while (const dirent* entry = ::readdir(listing)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        // Links and special files hold no bytes to copy; the entry's type saves asking.
        if (entry->d_type == DT_LNK || entry->d_type == DT_FIFO || entry->d_type == DT_SOCK ||
            entry->d_type == DT_CHR || entry->d_type == DT_BLK)
            continue;
        total += bytesIn(::dirfd(listing), entry->d_name, stop);
        if (stop.stop_requested())
            break;
    }
    ::closedir(listing);
    return total;
}

} // namespace

QString FileTransfer::temporaryPrefix() {
    return QStringLiteral(".kestro-partial-");
}

void FileTransfer::copy(const QString& source, const QString& target, const CopiedBytes& copied,
                        HardLinks* links) {
    refuseNestedTarget(source, target, "不能把文件夹“%1”复制到它自己里面。");
    HardLinks itemLinks;
    HardLinks::Copies& copies = *(links ? links : &itemLinks)->m_copies;
    const QByteArray sourcePath = QFile::encodeName(source);
    const QByteArray targetPath = QFile::encodeName(target);
    const QByteArray partial = QFile::encodeName(parentFolder(target) + QLatin1Char('/') + temporaryPrefix() +
                                                 QUuid::createUuid().toString(QUuid::WithoutBraces));
    CopyContext context{copied, copies, std::make_shared<QByteArray>(partial), {}};
    // The copies of a failed item are gone: later names of their files are copied afresh.
    const auto forgetItem = [&] {
        std::erase_if(copies.byInode, [&](const auto& entry) { return entry.second.root == context.root; });
        removeTree(AT_FDCWD, partial.constData(), true);
    };
    try {
        copyEntry(AT_FDCWD, sourcePath.constData(), sourcePath, AT_FDCWD, partial.constData(), {}, context);
    } catch (...) {
        forgetItem();
        throw;
    }
    if (const int error = ExclusiveRename::tryMove(partial, targetPath)) {
        forgetItem();
        fail("无法复制到“%1”：%2", targetPath, error);
    }
    *context.root = targetPath;
    if (!context.notKept.isEmpty()) {
        // One line for the item, however many files lost what the destination cannot hold.
        constexpr qsizetype shown = 3;
        QString line = QStringLiteral("copy to %1 kept not everything: %2")
                           .arg(target, context.notKept.mid(0, shown).join(QLatin1String("; ")));
        if (context.notKept.size() > shown)
            line += QStringLiteral(" (and %1 more)").arg(context.notKept.size() - shown);
        DiagnosticLog::append(line);
    }
}

void FileTransfer::move(const QString& source, const QString& target, const CopiedBytes& copied,
                        HardLinks* links) {
    refuseNestedTarget(source, target, "不能把文件夹“%1”移动到它自己里面。");
    const QByteArray sourcePath = QFile::encodeName(source);
    const QByteArray targetPath = QFile::encodeName(target);
    const int error = ExclusiveRename::tryMove(sourcePath, targetPath);
    if (error == 0)
        return;
    if (error != EXDEV)
        fail("无法移动“%1”：%2", sourcePath, error);
    // Another file system: the source goes only once its copy is complete under the final name.
    copy(source, target, copied, links);
    if (const int removeError = removeTree(AT_FDCWD, sourcePath.constData(), false))
        throw PlatformError(
            tr("已复制到“%1”，但无法删除原来的“%2”：%3").arg(target, source, systemMessage(removeError)));
}

bool FileTransfer::moveCopies(const QString& source, const QString& folder) {
    struct stat from {
    }, to{};
    if (::lstat(QFile::encodeName(source).constData(), &from) != 0 ||
        ::stat(QFile::encodeName(folder).constData(), &to) != 0)
        return false;
    return from.st_dev != to.st_dev;
}

qint64 FileTransfer::bytesToCopy(const QString& source, std::stop_token stop) {
    return bytesIn(AT_FDCWD, QFile::encodeName(source).constData(), stop);
}
