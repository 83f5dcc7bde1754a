#pragma once

#include <optional>
#include <QString>
#include <QStringList>

enum class ArchiveExtractionMode { currentFolder, sameNameFolder };

// Packing the selection into a ZIP archive and unpacking archives, with the system's zip, zipinfo and unzip.
// Neither direction ever replaces an existing item: taken names become "name 2", "name 3" ...
class ArchiveActions {
public:
    // Packs the items into one archive beside the first of them; returns the archive's path.
    static QStringList compressToZIP(const QStringList& selectedURLs,
                                     const std::optional<QString>& targetedURL);
    // Unpacks each selected ZIP archive beside itself or into a new folder named after it; returns what it
    // made.
    static QStringList extractZIPs(const QStringList& selectedURLs, ArchiveExtractionMode mode);
    // The archive's entry names in archive order; empty when it cannot be listed.
    static QStringList zipEntries(const QString& archive);
};
