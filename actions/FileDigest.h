#pragma once

class ActionProgressFeed;

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
    // With a feed, each block read is counted into its bytes done, and a stop the user asked for is
    // honoured between blocks (a checksum writes nothing, so any block is a safe place to stop).
    static QString hexDigest(const QString& path, Algorithm algorithm, ActionProgressFeed* feed = nullptr);
};
