#include "platform/ExclusiveRename.h"

#include "platform/KestroError.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const QByteArray& from, const QByteArray& to, int error) {
    const QString message = QString::fromStdString(std::system_category().message(error));
    throw PlatformError(QStringLiteral("无法将“%1”重命名为“%2”：%3")
                            .arg(QFile::decodeName(from), QFile::decodeName(to), message));
}

bool occupied(const QByteArray& path) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0;
}

// For file systems without RENAME_NOREPLACE: a hard link claims the name atomically for anything but
// folders; where links are refused too, an existence test right before the rename is the best left.
bool moveWithoutNoReplace(const QByteArray& from, const QByteArray& to) {
    struct stat status {};
    if (::lstat(from.constData(), &status) != 0)
        fail(from, to, errno);
    if (!S_ISDIR(status.st_mode)) {
        if (::linkat(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), 0) == 0) {
            if (::unlink(from.constData()) == 0)
                return true;
            const int error = errno;
            ::unlink(to.constData());
            fail(from, to, error);
        }
        if (errno == EEXIST)
            return false;
    }
    if (occupied(to))
        return false;
    if (::rename(from.constData(), to.constData()) != 0)
        fail(from, to, errno);
    return true;
}

} // namespace

bool ExclusiveRename::move(const QString& from, const QString& to) {
    return move(QFile::encodeName(from), QFile::encodeName(to));
}

bool ExclusiveRename::move(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    const int error = errno;
    if (error == EEXIST)
        return false;
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP)
        return moveWithoutNoReplace(from, to);
    fail(from, to, error);
}
