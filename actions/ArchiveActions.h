#pragma once

#include <optional>
#include <QString>
#include <QStringList>

enum class ArchiveExtractionMode { currentFolder, sameNameFolder };

// Packing the selection into a ZIP archive and unpacking archives (ZIP, tar, tar.gz, tgz, tar.xz,
// tar.bz2, 7z), in process with libarchive. Neither direction ever replaces an existing item: taken
// names become "name 2", "name 3" ... Both report their progress through ActionProgress.
class ArchiveActions {
public:
    // Packs the items into one archive beside the first of them; returns the archive's path.
    static QStringList compressToZIP(const QStringList& selectedURLs,
                                     const std::optional<QString>& targetedURL);
    // Unpacks each selected archive beside itself or into a new folder named after it; returns what it
    // made. Items of other kinds in the selection are passed over.
    static QStringList extractZIPs(const QStringList& selectedURLs, ArchiveExtractionMode mode);
    // The archive's entry names in archive order; empty when it cannot be listed.
    static QStringList zipEntries(const QString& archive);

    // The name endings of the archives that unpacking takes, lower-case, longest first ("tar.gz", ...).
    static const QStringList& unpackableExtensions();
    // The archive's name without its archive ending ("Photos.tar.gz" -> "Photos"); nullopt when the name
    // has none of them (case does not matter).
    static std::optional<QString> unpackedName(const QString& archiveName);
};
