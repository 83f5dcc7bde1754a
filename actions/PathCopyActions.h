#pragma once

#include <optional>
#include <QString>
#include <QStringList>

enum class KestroPathCopyFormat {
    fullPath,
    name,
    parentFolder,
    shellEscapedPath,
    markdownLink,
    fileNameList
};

// Paths and names of the selection to the clipboard, in six formats.
class PathCopyActions {
public:
    static void copyPaths(const QStringList& selectedURLs, const std::optional<QString>& targetedURL,
                          KestroPathCopyFormat format);
    static void copyToPasteboard(const QString& text);
    // One item's line in a format.
    static QString line(const QString& path, KestroPathCopyFormat format);
};
