#pragma once

#include <QString>
#include <QStringList>

// The system's ZIP tools, run without a shell. Every path reaches them absolute, so no name is ever read
// as an option; unzip and zipinfo also treat an archive name as a wildcard pattern ("p[1].zip" would open
// "p1.zip"), so they are handed a link with a plain name instead.
class ZipTools {
public:
    // zip -qrX archive . inside folder: the folder's contents at the archive's top level, recursively.
    static void pack(const QString& folder, const QString& archive);
    // Unpacks into destination (an empty folder). Control characters in names are kept; a damaged or
    // encrypted archive throws commandFailed naming the archive.
    static void unpack(const QString& archive, const QString& destination);
    // zipinfo -1: the entry names in archive order; throws commandFailed when the archive cannot be read.
    static QStringList entryNames(const QString& archive);
};
