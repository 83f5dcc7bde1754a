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

// For file systems without RENAME_NOREPLACE: a hard link claims the name atomically for anything but
// folders; where links are refused too, an existence test right before the rename is the best left.
int moveWithoutNoReplace(int fromFolder, const char* from, int toFolder, const char* to) {
    struct stat status {};
    if (::fstatat(fromFolder, from, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(status.st_mode)) {
        if (::linkat(fromFolder, from, toFolder, to, 0) == 0) {
            if (::unlinkat(fromFolder, from, 0) == 0)
                return 0;
            const int error = errno;
            ::unlinkat(toFolder, to, 0);
            return error;
        }
        if (errno == EEXIST)
            return EEXIST;
    }
    if (::fstatat(toFolder, to, &status, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    return ::renameat(fromFolder, from, toFolder, to) == 0 ? 0 : errno;
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
    return tryMoveAt(AT_FDCWD, from, AT_FDCWD, to);
}

int ExclusiveRename::tryMoveAt(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) {
    if (::renameat2(fromFolder, from.constData(), toFolder, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    const int error = errno;
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP)
        return moveWithoutNoReplace(fromFolder, from.constData(), toFolder, to.constData());
    return error;
}
