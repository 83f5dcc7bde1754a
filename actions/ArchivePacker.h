#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <ctime>
#include <sys/types.h>

class ActionProgressFeed;

// Packs items into a ZIP archive straight from where they are: folders recursively, symbolic links stored
// as links (never followed), files streamed in blocks. Nothing is copied first, so read-only trees pack.
class ArchivePacker {
public:
    // Takes stock of items (absolute paths) and everything inside them. Each item goes to the archive's top
    // level under its own name, or the next free one when two share it ("a.txt", "a 2.txt"). Throws before
    // anything is written when an item or anything inside one is a special file (pipe, device, socket) or a
    // folder cannot be listed: reading a pipe could wait forever.
    explicit ArchivePacker(const QStringList& items);

    // Writes the archive to descriptor, reporting items and bytes to feed and stopping (ActionCancelled)
    // between items when asked to. A file that cannot be read, or shrinks while it is read, throws.
    void write(int descriptor, const QString& archiveName, ActionProgressFeed& feed) const;

private:
    struct Entry {
        QByteArray path; // where it is, in the file system's bytes
        QByteArray name; // its name in the archive
        mode_t mode;
        time_t modified;
        qint64 size;
    };
    void addTree(const QByteArray& path, const QByteArray& name);

    QList<Entry> m_entries;
    qint64 m_bytes = 0;
};
