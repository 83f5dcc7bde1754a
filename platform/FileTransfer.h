#pragma once

#include <functional>
#include <QByteArray>
#include <QString>
#include <stop_token>

// Copying and moving one item (file, folder tree or symbolic link) to a path that does not exist yet.
// Neither operation ever overwrites, and neither leaves a half-made item under the final name: a copy is
// built under a hidden temporary name beside the target and renamed into place once complete (the partial
// copy is removed when it fails); a move is a rename, and across file systems a complete copy followed by
// the removal of the source. Failures throw PlatformError with the system's message.
class FileTransfer {
public:
    // Told, while a copy runs, of each block of file contents written: which file (encoded) and how many
    // bytes.
    using CopiedBytes = std::function<void(const QByteArray& file, qint64 bytes)>;

    static void copy(const QString& source, const QString& target, const CopiedBytes& copied = {});
    // A rename where it can be; only a move to another file system copies, and tells of it.
    static void move(const QString& source, const QString& target, const CopiedBytes& copied = {});
    // Whether moving source into folder needs a copy (they are on different file systems).
    static bool moveCopies(const QString& source, const QString& folder);
    // The bytes a copy of source writes: the sizes of the regular files in it, links not followed. Stops
    // early (returning what it counted so far) when asked.
    static qint64 bytesToCopy(const QString& source, std::stop_token stop = {});

    // The hidden names that copies are built under start with this; nothing else uses it.
    static QString temporaryPrefix();
};
