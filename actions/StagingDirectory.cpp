#include "actions/StagingDirectory.h"

#include "platform/KestroError.h"
#include "platform/KestroPaths.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Removes name inside the open folder parent. A folder we cannot enter or empty is made ours first: an
// unpacked archive may hold read-only folders.
void removeAt(int parent, const char* name) {
    struct stat status {};
    if (::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    if (!S_ISDIR(status.st_mode)) {
        ::unlinkat(parent, name, 0);
        return;
    }
    if ((status.st_mode & S_IRWXU) != S_IRWXU)
        ::fchmodat(parent, name, (status.st_mode & 07777) | S_IRWXU, 0);
    const int folder = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder >= 0) {
        if (DIR* listing = ::fdopendir(folder)) {
            while (const dirent* entry = ::readdir(listing))
                if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                    removeAt(::dirfd(listing), entry->d_name);
            ::closedir(listing);
        } else {
            ::close(folder);
        }
    }
    ::unlinkat(parent, name, AT_REMOVEDIR);
}

} // namespace

StagingDirectory::StagingDirectory(const QString& prefix, const QString& parent) {
    const QString base = parent.isEmpty() ? KestroPaths::userTemporaryDirectory() : parent;
    if (parent.isEmpty())
        QDir().mkpath(base);
    m_path = base + QLatin1Char('/') + prefix + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    // Like mkdtemp: a fresh folder only its owner can enter; an existing one is never taken over.
    if (::mkdir(QFile::encodeName(m_path).constData(), 0700) != 0)
        throw PlatformError(QStringLiteral("无法创建临时文件夹：%1：%2")
                                .arg(m_path, QString::fromLocal8Bit(std::strerror(errno))));
}

StagingDirectory::~StagingDirectory() {
    if (!m_path.isEmpty())
        removeAt(AT_FDCWD, QFile::encodeName(m_path).constData());
}
