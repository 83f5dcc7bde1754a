#pragma once

#include <QByteArray>
#include <QString>

// Writes a new file whole or not at all: the bytes go to a hidden temporary file beside it, which is then
// renamed into place without ever replacing an item that appeared there meanwhile. No fsync: these are
// fresh files of the user's, not records we must find again after a power cut.
class AtomicFileWriter {
public:
    // Throws PlatformError with the system's message; nothing is left behind on failure.
    static void writeNewFile(const QString& path, const QByteArray& bytes);
};
