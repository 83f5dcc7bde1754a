#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// Copying and moving the selection into folders, beside the originals, or into a new folder. Every item
// lands under a free name (the unique-name rule); nothing is overwritten, and when one item fails the items
// done before it stay where they were put.
class CopyMoveActions {
public:
    static QStringList copyFiles(const QStringList& selectedURLs, const QString& destination);
    static QStringList copyFilesToChosenDirectory(const QStringList& selectedURLs);
    static QStringList copyFilesBesideOriginal(const QStringList& selectedURLs);
    static QStringList moveFiles(const QStringList& selectedURLs, const QString& destination);
    static QStringList moveFilesToChosenDirectory(const QStringList& selectedURLs);
    static QStringList moveSelectionToNewFolder(const QStringList& selectedURLs);

    // The destination as an existing folder, or destinationDirectoryUnavailable naming it.
    static QString validatedDestinationDirectory(const QString& destination);
};
