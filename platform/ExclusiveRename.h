#pragma once

#include <QByteArray>
#include <QString>

// Renames that never replace: the new name is taken only when nothing occupies it, atomically where the
// file system allows it. Callers that want a free name retry with the next candidate on false.
class ExclusiveRename {
public:
    // True when from now stands at to; false when to was already taken (nothing changed).
    // Any other failure throws PlatformError with the system's message.
    static bool move(const QString& from, const QString& to);
    // The same on the file system's own bytes, for names that are not valid UTF-8.
    static bool move(const QByteArray& from, const QByteArray& to);
    // The same without throwing: 0, EEXIST when to was taken, or the system's error number.
    static int tryMove(const QByteArray& from, const QByteArray& to);
    // The same for names inside open folders (AT_FDCWD for the working folder): nothing is looked up
    // along a path, so a folder swapped for a link meanwhile is not followed.
    static int tryMoveAt(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to);
};
