#include "actions/StagingDirectory.h"

#include "platform/KestroError.h"
#include "platform/KestroPaths.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const QString& path, int error) {
    throw PlatformError(
        QStringLiteral("无法创建临时文件夹：%1：%2").arg(path, QString::fromLocal8Bit(std::strerror(error))));
}

// Opens the folder name inside parent, made enterable first: an unpacked archive may hold read-only
// folders. Only a folder, never a link.
int enter(int parent, const char* name) {
    struct stat status {};
    if (::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(status.st_mode))
        return -1;
    if ((status.st_mode & S_IRWXU) != S_IRWXU)
        ::fchmodat(parent, name, (status.st_mode & 07777) | S_IRWXU, 0);
    return ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// Removes what is not a folder in the open folder and returns the names of the folders in it.
QList<QByteArray> removeFilesIn(int folder) {
    QList<QByteArray> folders;
    const int listing = ::dup(folder);
    DIR* directory = listing < 0 ? nullptr : ::fdopendir(listing);
    if (!directory) {
        if (listing >= 0)
            ::close(listing);
        return folders;
    }
    while (const dirent* entry = ::readdir(directory)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        if (::unlinkat(folder, entry->d_name, 0) != 0 && (errno == EISDIR || errno == EPERM))
            folders.append(entry->d_name);
    }
    ::closedir(directory);
    return folders;
}

} // namespace

StagingDirectory::StagingDirectory(const QString& prefix, const QString& parent) {
    const QString base = parent.isEmpty() ? KestroPaths::userTemporaryDirectory() : parent;
    if (parent.isEmpty())
        QDir().mkpath(base);
    m_name = QFile::encodeName(prefix + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    m_path = base + QLatin1Char('/') + QFile::decodeName(m_name);
    m_parent = ::open(QFile::encodeName(base).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_parent < 0)
        fail(m_path, errno);
    // Like mkdtemp: a fresh folder only its owner can enter; an existing one is never taken over. What is
    // opened is checked to be what was made: ours, private, and no link.
    if (::mkdirat(m_parent, m_name.constData(), 0700) != 0) {
        const int error = errno;
        ::close(m_parent);
        fail(m_path, error);
    }
    m_descriptor = ::openat(m_parent, m_name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {};
    if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0 || status.st_uid != ::geteuid() ||
        (status.st_mode & 07777) != 0700) {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        ::close(m_parent);
        fail(m_path, EPERM);
    }
    m_device = status.st_dev;
    m_inode = status.st_ino;
}

StagingDirectory::~StagingDirectory() {
    if (!m_released) {
        const bool inPlace = isStillInPlace();
        removeContents(::dup(m_descriptor));
        // Only our own folder goes: whatever another account put under its name stays where it is.
        if (inPlace)
            ::unlinkat(m_parent, m_name.constData(), AT_REMOVEDIR);
    }
    ::close(m_descriptor);
    ::close(m_parent);
}

bool StagingDirectory::isStillInPlace() const {
    struct stat status {};
    return ::fstatat(m_parent, m_name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode) && status.st_dev == m_device && status.st_ino == m_inode;
}

void StagingDirectory::removeContents(int descriptor) {
    if (descriptor < 0)
        return;
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && (status.st_mode & S_IRWXU) != S_IRWXU)
        ::fchmod(descriptor, (status.st_mode & 07777) | S_IRWXU);
    // Depth first with one folder open at a time: each level keeps only the names still to visit, and the
    // walk climbs back by "..", which inside this private tree is the folder it came from.
    struct Level {
        QByteArray name;
        QList<QByteArray> folders;
    };
    QList<Level> levels{{QByteArray(), removeFilesIn(descriptor)}};
    int current = descriptor;
    while (!levels.isEmpty()) {
        if (!levels.last().folders.isEmpty()) {
            const QByteArray child = levels.last().folders.takeLast();
            const int next = enter(current, child.constData());
            if (next < 0) {
                ::unlinkat(current, child.constData(), AT_REMOVEDIR);
                continue;
            }
            ::close(current);
            current = next;
            levels.append({child, removeFilesIn(current)});
            continue;
        }
        const QByteArray done = levels.takeLast().name;
        if (levels.isEmpty())
            break;
        const int up = ::openat(current, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::close(current);
        current = up;
        if (current < 0)
            return;
        ::unlinkat(current, done.constData(), AT_REMOVEDIR);
    }
    ::close(current);
}
