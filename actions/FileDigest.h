#pragma once

#include <QByteArray>
#include <QString>

// Digests of whole files, read in fixed-size blocks so that memory stays the same for a 20 GB video as for a
// text file. Uses OpenSSL's EVP digests, which take the processor's SHA instructions where it has them.
class FileDigest {
public:
    enum class Algorithm { sha256, md5 };

    static constexpr qint64 blockSize = 1 << 20;

    // Lower-case hexadecimal digest of the file's bytes. A folder, a missing or an unreadable file throws
    // PlatformError with the system's message.
    static QString hexDigest(const QString& path, Algorithm algorithm);
};
