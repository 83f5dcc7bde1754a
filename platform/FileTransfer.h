#pragma once

#include <QString>

// Copying and moving one item (file, folder tree or symbolic link) to a path that does not exist yet.
// Neither operation ever overwrites, and neither leaves a half-made item under the final name: a copy is
// built under a hidden temporary name beside the target and renamed into place once complete (the partial
// copy is removed when it fails); a move is a rename, and across file systems a complete copy followed by
// the removal of the source. Failures throw PlatformError with the system's message.
class FileTransfer {
public:
    static void copy(const QString& source, const QString& target);
    static void move(const QString& source, const QString& target);

    // The hidden names that copies are built under start with this; nothing else uses it.
    static QString temporaryPrefix();
};
