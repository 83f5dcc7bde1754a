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
int moveWithoutNoReplace(const QByteArray& from, const QByteArray& to) {
    struct stat status {};
    if (::lstat(from.constData(), &status) != 0)
        return errno;
    if (!S_ISDIR(status.st_mode)) {
        if (::linkat(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), 0) == 0) {
            if (::unlink(from.constData()) == 0)
                return 0;
            const int error = errno;
            ::unlink(to.constData());
            return error;
        }
        if (errno == EEXIST)
            return EEXIST;
    }
    if (occupied(to))
        return EEXIST;
    return ::rename(from.constData(), to.constData()) == 0 ? 0 : errno;
}

} // namespace

bool ExclusiveRename::move(const QString& from, const QString& to) {
    return move(QFile::encodeName(from), QFile::encodeName(to));
}

bool ExclusiveRename::move(const QByteArray& from, const QByteArray& to) {
    const int error = tryMove(from, to);
    if (error == EEXIST)
        return false;
    if (error != 0)
        fail(from, to, error);
    return true;
}

int ExclusiveRename::tryMove(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    const int error = errno;
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP)
        return moveWithoutNoReplace(from, to);
    return error;
}
