#include "actions/AtomicFileWriter.h"

#include "platform/ExclusiveRename.h"
#include "platform/KestroError.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const QString& path, int error) {
    throw PlatformError(QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error))));
}

// The bytes in a hidden file beside path, given mode; returns its name. Throws, leaving nothing, on failure.
QByteArray writeTemporary(const QString& path, const QByteArray& bytes, mode_t mode,
                          const struct stat* owner) {
    const QFileInfo info(path);
    const QByteArray temporary =
        QFile::encodeName(info.absolutePath() + QStringLiteral("/.") + info.fileName() + QLatin1Char('.') +
                          QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".kestro-part"));
    const int descriptor = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor < 0)
        fail(path, errno);
    int error = 0;
    if (owner) {
        // The mode given to open() passed through the umask; the original's is put back whole. Another
        // owner can only be given back by root, and a group only one the user belongs to.
        if (::fchown(descriptor, owner->st_uid, owner->st_gid) != 0)
            (void)!::fchown(descriptor, uid_t(-1), owner->st_gid);
        if (::fchmod(descriptor, owner->st_mode & 07777) != 0)
            error = errno;
    }
    qsizetype written = 0;
    while (error == 0 && written < bytes.size()) {
        const ssize_t chunk =
            ::write(descriptor, bytes.constData() + written, size_t(bytes.size() - written));
        if (chunk < 0 && errno == EINTR)
            continue;
        if (chunk <= 0)
            error = chunk < 0 ? errno : EIO;
        else
            written += chunk;
    }
    if (::close(descriptor) != 0 && error == 0)
        error = errno;
    if (error != 0) {
        ::unlink(temporary.constData());
        fail(path, error);
    }
    return temporary;
}

} // namespace

void AtomicFileWriter::writeNewFile(const QString& path, const QByteArray& bytes) {
    const QByteArray temporary = writeTemporary(path, bytes, 0666, nullptr);
    if (const int error = ExclusiveRename::tryMove(temporary, QFile::encodeName(path)); error != 0) {
        ::unlink(temporary.constData());
        fail(path, error);
    }
}

void AtomicFileWriter::replaceFile(const QString& path, const QByteArray& bytes) {
    const std::unique_ptr<char, void (*)(void*)> real(
        ::realpath(QFile::encodeName(path).constData(), nullptr), std::free);
    if (!real)
        fail(path, errno);
    struct stat original {};
    if (::stat(real.get(), &original) != 0)
        fail(path, errno);
    const QString target = QFile::decodeName(real.get());
    const QByteArray temporary = writeTemporary(target, bytes, 0600, &original);
    if (::rename(temporary.constData(), real.get()) != 0) {
        const int error = errno;
        ::unlink(temporary.constData());
        fail(path, error);
    }
}
