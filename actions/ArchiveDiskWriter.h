#pragma once

#include <QByteArray>
#include <QList>

#include <ctime>
#include <sys/types.h>

// Creates an archive's entries inside one folder, held open, by names relative to it. The kernel resolves
// every name beneath that folder without following a symbolic link (openat2 with RESOLVE_BENEATH and
// RESOLVE_NO_SYMLINKS), so nothing is written outside it or through a link, whatever the names say and
// whoever renames folders meanwhile. Modes go through the process's umask like any new file's, and the umask
// itself is never touched (libarchive's own disk writer sets it to 0 for a moment at every entry, which
// would widen the files other threads create at that moment). An item whose name is taken stays as it is:
// the archive's first entry of a name wins. Failures throw PlatformError with the system's message.
class ArchiveDiskWriter {
public:
    // folder is an open folder (duplicated: the caller keeps its own); path is for messages only.
    ArchiveDiskWriter(int folder, const QByteArray& path);
    ~ArchiveDiskWriter();
    ArchiveDiskWriter(const ArchiveDiskWriter&) = delete;
    ArchiveDiskWriter& operator=(const ArchiveDiskWriter&) = delete;

    void makeFolder(const QByteArray& relative, mode_t mode, const timespec* modified);
    // A new file, open for writeFileData; false when the name is taken (then there is nothing to write).
    bool beginFile(const QByteArray& relative, mode_t mode);
    void writeFileData(const void* data, size_t size, qint64 offset);
    void endFile(qint64 size, const timespec* modified);
    void makeSymbolicLink(const QByteArray& relative, const QByteArray& target);
    void makeHardLink(const QByteArray& relative, const QByteArray& target);
    // Gives the folders their times, deepest first: filling a folder changed its time.
    void finish();

    // Opens the folder relative beneath root the same way, without following any link; -1 on failure.
    static int openFolderBeneath(int root, const QByteArray& relative);

private:
    // The folder that holds relative, opened (and created with its parents when missing); name is set
    // to relative's last part.
    int parentFolder(const QByteArray& relative, QByteArray* name);
    [[noreturn]] void fail(const QByteArray& relative) const;

    struct FolderTime {
        QByteArray relative;
        timespec modified;
    };
    int m_root;
    QByteArray m_folder;
    QByteArray m_parentPath; // the parent opened last, kept open: entries of one folder come together
    int m_parent = -1;
    int m_file = -1;
    QByteArray m_fileName;
    QList<FolderTime> m_folderTimes;
};
