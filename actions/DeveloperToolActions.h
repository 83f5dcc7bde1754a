#pragma once

#include <optional>
#include <QString>
#include <QStringList>

enum class ChecksumAlgorithm { sha256, md5 };

// Checksums and sizes to the clipboard, and the hidden-files toggle.
class DeveloperToolActions {
public:
    // One line per file, "<hex digest>  <file name>", joined by line feeds.
    static void copyChecksums(const QStringList& selectedURLs, ChecksumAlgorithm algorithm);
    // One formatted size per file ("12 KB"); folders count as zero.
    static void copyFileSizes(const QStringList& selectedURLs);
    static bool isFinderShowingHiddenFiles();
    static void toggleHiddenFiles();
};
