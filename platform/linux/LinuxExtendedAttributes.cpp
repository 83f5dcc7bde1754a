#include "platform/ExtendedAttributes.h"

#include <cerrno>
#include <cstring>
#include <sys/xattr.h>
#include <vector>

namespace {

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// User attributes and POSIX ACLs, which the kernel hands out as attributes of the system namespace.
bool isCarried(const char* name) {
    return std::strncmp(name, "user.", 5) == 0 || std::strcmp(name, "system.posix_acl_access") == 0 ||
           std::strcmp(name, "system.posix_acl_default") == 0;
}

// Reads a list or a value that may grow between asking its size and reading it.
template <typename Read> ssize_t readGrowing(std::vector<char>& buffer, Read read) {
    for (;;) {
        const ssize_t size = read(nullptr, 0);
        if (size <= 0)
            return size;
        buffer.resize(size_t(size));
        const ssize_t got = read(buffer.data(), buffer.size());
        if (got >= 0 || errno != ERANGE)
            return got;
    }
}

} // namespace

QStringList ExtendedAttributes::copy(int from, int to) {
    QStringList lost;
    std::vector<char> names;
    const ssize_t listed =
        readGrowing(names, [from](char* data, size_t size) { return ::flistxattr(from, data, size); });
    if (listed < 0) {
        // A source file system without attributes has none to lose.
        if (errno != ENOTSUP)
            lost.append(QStringLiteral("*: %1").arg(systemMessage(errno)));
        return lost;
    }
    std::vector<char> value;
    for (const char* name = names.data(); name < names.data() + listed; name += std::strlen(name) + 1) {
        if (!isCarried(name))
            continue;
        const ssize_t size = readGrowing(
            value, [from, name](char* data, size_t length) { return ::fgetxattr(from, name, data, length); });
        if (size < 0) {
            if (errno != ENODATA) // removed meanwhile
                lost.append(QStringLiteral("%1: %2").arg(QString::fromUtf8(name), systemMessage(errno)));
            continue;
        }
        if (::fsetxattr(to, name, value.data(), size_t(size), 0) != 0)
            lost.append(QStringLiteral("%1: %2").arg(QString::fromUtf8(name), systemMessage(errno)));
    }
    return lost;
}
