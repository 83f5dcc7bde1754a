#pragma once

#include <QString>
#include <QStringList>
#include <optional>

enum class ArchiveExtractionMode { currentFolder, sameNameFolder };

// Packing the selection into a ZIP archive and unpacking archives.
class ArchiveActions {
public:
    static QStringList compressToZIP(const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
    static QStringList extractZIPs(const QStringList& selectedURLs, ArchiveExtractionMode mode);
};
