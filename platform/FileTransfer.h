#pragma once

#include <functional>
#include <memory>
#include <QByteArray>
#include <QString>
#include <stop_token>

// Copying and moving one item (file, folder tree or symbolic link) to a path that does not exist yet.
// Neither operation ever overwrites, and neither leaves a half-made item under the final name: a copy is
// built under a hidden temporary name beside the target and renamed into place once complete (the partial
// copy is removed when it fails); a move is a rename, and across file systems a complete copy followed by
// the removal of the source. Failures throw PlatformError with the system's message.
// A copy keeps what `cp -a` keeps: contents with their holes, modes, times, symbolic links as links, the
// user's extended attributes and ACLs, and hard links among the items copied in one action. What the
// destination cannot hold (attributes on a file system without them) is logged and does not fail the copy.
class FileTransfer {
public:
    // Told, while a copy runs, of each block of file contents written: which file (encoded) and how many
    // bytes.
    using CopiedBytes = std::function<void(const QByteArray& file, qint64 bytes)>;

    // The files with several names copied so far by one action, so that names of one file among its
    // items stay names of one file in the copies. One per action, used by one thread.
    class HardLinks {
    public:
        HardLinks();
        ~HardLinks();
        struct Copies;

    private:
        friend class FileTransfer;
        std::unique_ptr<Copies> m_copies;
    };

    // links: the action's record of hard links; without one, links are kept within this item alone.
    static void copy(const QString& source, const QString& target, const CopiedBytes& copied = {},
                     HardLinks* links = nullptr);
    // A rename where it can be; only a move to another file system copies, and tells of it.
    static void move(const QString& source, const QString& target, const CopiedBytes& copied = {},
                     HardLinks* links = nullptr);
    // Whether moving source into folder needs a copy (they are on different file systems).
    static bool moveCopies(const QString& source, const QString& folder);
    // The bytes a copy of source writes: the sizes of the regular files in it, links not followed. Stops
    // early (returning what it counted so far) when asked.
    static qint64 bytesToCopy(const QString& source, std::stop_token stop = {});

    // The hidden names that copies are built under start with this; nothing else uses it.
    static QString temporaryPrefix();
};
