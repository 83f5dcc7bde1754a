#include "actions/AtomicFileWriter.h"

#include "platform/ExclusiveRename.h"
#include "platform/KestroError.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const QString& path, int error) {
    throw PlatformError(QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error))));
}

} // namespace

void AtomicFileWriter::writeNewFile(const QString& path, const QByteArray& bytes) {
    const QFileInfo info(path);
    const QByteArray temporary =
        QFile::encodeName(info.absolutePath() + QStringLiteral("/.") + info.fileName() + QLatin1Char('.') +
                          QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".kestro-part"));
    const int descriptor = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0)
        fail(path, errno);
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t chunk =
            ::write(descriptor, bytes.constData() + written, size_t(bytes.size() - written));
        if (chunk < 0 && errno == EINTR)
            continue;
        if (chunk <= 0) {
            const int error = chunk < 0 ? errno : EIO;
            ::close(descriptor);
            ::unlink(temporary.constData());
            fail(path, error);
        }
        written += chunk;
    }
    int error = ::close(descriptor) == 0 ? 0 : errno;
    if (error == 0)
        error = ExclusiveRename::tryMove(temporary, QFile::encodeName(path));
    if (error != 0) {
        ::unlink(temporary.constData());
        fail(path, error);
    }
}
