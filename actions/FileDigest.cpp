#include "actions/FileDigest.h"

#include "platform/ActionProgress.h"
#include "platform/KestroError.h"

#include <QFile>

#include <openssl/evp.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

PlatformError systemError(const QString& path, int error) {
    return PlatformError(QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error))));
}

struct FileCloser {
    int descriptor;
    ~FileCloser() { ::close(descriptor); }
};

struct ContextFree {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

} // namespace

QString FileDigest::hexDigest(const QString& path, Algorithm algorithm, ActionProgressFeed* feed) {
    // Opened without waiting (a FIFO put in the file's place must not hang us), then read only if it is a
    // plain file.
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        throw systemError(path, errno);
    const FileCloser closer{descriptor};
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        throw systemError(path, errno);
    if (S_ISDIR(status.st_mode))
        throw systemError(path, EISDIR);
    if (!S_ISREG(status.st_mode))
        throw systemError(path, EINVAL);
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);

    const std::unique_ptr<EVP_MD_CTX, ContextFree> context(EVP_MD_CTX_new());
    const EVP_MD* digest = algorithm == Algorithm::sha256 ? EVP_sha256() : EVP_md5();
    if (!context || EVP_DigestInit_ex(context.get(), digest, nullptr) != 1)
        throw PlatformError(QStringLiteral("%1: OpenSSL digest unavailable").arg(path));

    std::vector<unsigned char> block(static_cast<size_t>(blockSize));
    for (;;) {
        const ssize_t count = ::read(descriptor, block.data(), block.size());
        if (count < 0) {
            if (errno == EINTR)
                continue;
            // A folder ends up here with EISDIR.
            throw systemError(path, errno);
        }
        if (count == 0)
            break;
        EVP_DigestUpdate(context.get(), block.data(), size_t(count));
        if (feed) {
            feed->state().bytesDone += count;
            feed->report();
            feed->stopIfCancelled();
        }
    }
    unsigned char value[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), value, &length) != 1)
        throw PlatformError(QStringLiteral("%1: OpenSSL digest failed").arg(path));
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(value), int(length)).toHex());
}
