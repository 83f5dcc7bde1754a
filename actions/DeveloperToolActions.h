#pragma once

#include <QString>
#include <QStringList>
#include <optional>

enum class ChecksumAlgorithm { sha256, md5 };

// Checksums and sizes to the clipboard, and the hidden-files toggle.
class DeveloperToolActions {
public:
    static void copyChecksums(const QStringList& selectedURLs, ChecksumAlgorithm algorithm);
    static void copyFileSizes(const QStringList& selectedURLs);
    static void toggleHiddenFiles();
};
