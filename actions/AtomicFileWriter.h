#pragma once

#include <QByteArray>
#include <QString>

// Writes a file whole or not at all: the bytes go to a hidden temporary file beside it, which is then
// renamed into place. No fsync: these are the user's files, not records we must find again after a power
// cut. Failures throw PlatformError with the system's message; nothing is left behind.
class AtomicFileWriter {
public:
    // A new file: the rename never replaces an item that appeared at path meanwhile.
    static void writeNewFile(const QString& path, const QByteArray& bytes);
    // The user's own file changed in place (through a symbolic link, its target): the new contents take its
    // place in one step, with its permissions and, where allowed, its owner and group.
    static void replaceFile(const QString& path, const QByteArray& bytes);
};
