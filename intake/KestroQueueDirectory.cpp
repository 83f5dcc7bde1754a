#include "intake/KestroQueueDirectory.h"

#include "platform/KestroError.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

std::optional<QString> untrustedStatusReason(const struct stat& status) {
    if (!S_ISREG(status.st_mode))
        return QStringLiteral("not a regular file");
    if (status.st_uid != ::geteuid())
        return QStringLiteral("belongs to user %1").arg(status.st_uid);
    if (status.st_nlink != 1)
        return QStringLiteral("has %1 names").arg(status.st_nlink);
    if (status.st_mode & (S_IWGRP | S_IWOTH))
        return QStringLiteral("can be written by group or others");
    return std::nullopt;
}

int openDirectory(const QByteArray& path) {
    return ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}
} // namespace

KestroQueueDirectory::KestroQueueDirectory(const QString& path, bool createWhenMissing)
    : m_path(path) {
    const QByteArray encoded = QFile::encodeName(path);
    m_descriptor = openDirectory(encoded);
    if (m_descriptor < 0 && errno == ENOENT && createWhenMissing) {
        // Private from the first moment: nobody else may drop requests into our queue.
        if (::mkdir(encoded.constData(), 0700) == 0 || errno == EEXIST)
            m_descriptor = openDirectory(encoded);
    }
    if (m_descriptor < 0) {
        const int error = errno;
        struct stat status {};
        if (error == ENOENT) {
            m_state = State::missing;
        } else if (::lstat(encoded.constData(), &status) == 0 && S_ISLNK(status.st_mode)) {
            m_state = State::skipped;
            m_skipReason = QStringLiteral("the queue folder is a symbolic link");
        } else {
            m_state = State::skipped;
            m_skipReason = systemMessage(error);
        }
        return;
    }
    checkOwnership();
}

void KestroQueueDirectory::checkOwnership() {
    struct stat status {};
    if (::fstat(m_descriptor, &status) != 0) {
        m_state = State::skipped;
        m_skipReason = systemMessage(errno);
    } else if (status.st_uid != ::geteuid()) {
        m_state = State::skipped;
        m_skipReason = QStringLiteral("the queue folder belongs to user %1, not to user %2")
                           .arg(status.st_uid)
                           .arg(::geteuid());
    } else if (status.st_mode & (S_IWGRP | S_IWOTH)) {
        m_state = State::skipped;
        m_skipReason = QStringLiteral("the queue folder can be written by group or others (mode %1)")
                           .arg(status.st_mode & 07777, 4, 8, QLatin1Char('0'));
    } else {
        m_state = State::open;
        return;
    }
    ::close(m_descriptor);
    m_descriptor = -1;
}

KestroQueueDirectory::~KestroQueueDirectory() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

QList<KestroQueueDirectory::Entry> KestroQueueDirectory::entries() const {
    // fdopendir takes over the descriptor it is given, so list through a duplicate and keep ours.
    const int listing = ::openat(m_descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* directory = listing < 0 ? nullptr : ::fdopendir(listing);
    if (!directory) {
        const int error = errno;
        if (listing >= 0)
            ::close(listing);
        throw PlatformError(systemMessage(error));
    }
    QList<Entry> result;
    errno = 0;
    while (const dirent* item = ::readdir(directory)) {
        const QByteArray fileName(item->d_name);
        if (fileName == "." || fileName == "..")
            continue;
        bool isDirectory = item->d_type == DT_DIR;
        if (item->d_type == DT_UNKNOWN) {
            struct stat status {};
            isDirectory = ::fstatat(m_descriptor, item->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                          S_ISDIR(status.st_mode);
        }
        result.append({fileName, QFile::decodeName(fileName), isDirectory});
    }
    const int error = errno;
    ::closedir(directory);
    if (error != 0)
        throw PlatformError(systemMessage(error));
    return result;
}

void KestroQueueDirectory::rename(const QByteArray& from, const QByteArray& to) const {
    // A plain rename would silently replace an existing claimed file of the same name; two claims of the
    // same queue file must not both succeed, and only one rename of a given name can.
    if (::renameat2(m_descriptor, from.constData(), m_descriptor, to.constData(), RENAME_NOREPLACE) == 0)
        return;
    // File systems without the flag: the plain rename still lets only one claimant take the name.
    if (errno == EINVAL && ::renameat(m_descriptor, from.constData(), m_descriptor, to.constData()) == 0)
        return;
    throw PlatformError(systemMessage(errno));
}

std::optional<QString> KestroQueueDirectory::untrustedReason(const QByteArray& fileName) const {
    struct stat status {};
    if (::fstatat(m_descriptor, fileName.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return systemMessage(errno);
    return untrustedStatusReason(status);
}

bool KestroQueueDirectory::isSettled(const QByteArray& fileName, int seconds) const {
    struct stat status {};
    return ::fstatat(m_descriptor, fileName.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           status.st_mtime + seconds <= ::time(nullptr);
}

std::optional<QByteArray> KestroQueueDirectory::read(const QByteArray& fileName, qint64 limit) const {
    // Non-blocking, so that a pipe planted under a queue name cannot hang the pass; no links followed.
    const int file =
        ::openat(m_descriptor, fileName.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        throw PlatformError(systemMessage(errno));
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        const int error = errno;
        ::close(file);
        throw PlatformError(systemMessage(error));
    }
    if (untrustedStatusReason(status) || status.st_size > limit) {
        ::close(file);
        return std::nullopt;
    }
    // Read to the end rather than to the size seen, so a file still growing past the limit is caught too.
    QByteArray bytes;
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t count = ::read(file, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            const int error = errno;
            ::close(file);
            throw PlatformError(systemMessage(error));
        }
        if (count == 0)
            break;
        bytes.append(buffer, count);
        if (bytes.size() > limit) {
            ::close(file);
            return std::nullopt;
        }
    }
    ::close(file);
    return bytes;
}

void KestroQueueDirectory::remove(const QByteArray& fileName) const {
    ::unlinkat(m_descriptor, fileName.constData(), 0);
}
