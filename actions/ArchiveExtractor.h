#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <sys/types.h>

class ActionProgressFeed;

// Unpacking archives in process, read with libarchive: ZIP, tar (plain, gzip, bzip2, xz) and 7z, whatever
// the name says. Entries are checked before anything is written: "\" separators in ZIP and 7z names become
// "/", absolute names, ".." and writing through a symbolic link are refused, symbolic links must stay
// inside the extracted folder, special files are refused, modes lose setuid, setgid, sticky and
// write-for-others and are masked by the umask. Every refusal is a commandFailed naming the archive. The
// entries are written by ArchiveDiskWriter, which the kernel keeps inside the folder.
class ArchiveExtractor {
public:
    // Where a hostile archive is stopped.
    struct Limits {
        // Bytes are counted as they land on disk: a file at least its declared size (a sparse entry is
        // charged its holes too), every file, folder and link at least one block.
        qint64 maximumBytes;    // unpacked bytes in all
        qint64 maximumRatio;    // unpacked bytes per archive byte ...
        qint64 ratioFloorBytes; // ... once more than this much has been unpacked
        qint64 maximumEntries;
    };
    static const Limits defaultLimits;

    // A folder extracted writable for its owner whose own mode is to be put back once it is complete.
    struct FolderMode {
        QByteArray relativePath;
        mode_t mode;
    };

    // Extracts archive into destination, an open, empty, private folder (destinationPath names it in
    // messages; nothing is looked up through it). Reports the archive bytes read and the
    // entries done to feed and stops (ActionCancelled) between entries when asked to. Returns the folders
    // whose mode is still to be restored, deepest first. On any failure the caller removes destination:
    // partial contents are never meant to be kept.
    static QList<FolderMode> extract(const QString& archive, int destination,
                                     const QByteArray& destinationPath, ActionProgressFeed& feed,
                                     const Limits& limits = defaultLimits);

    // The entry names as stored, in archive order; throws commandFailed when the archive cannot be read.
    static QStringList entryNames(const QString& archive);

    // What a new folder gets: 0777 less the process's umask.
    static mode_t defaultFolderMode();
};
