#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

// A private folder for temporary work, named prefix + an upper-case UUID in the user's temporary folder
// (or inside a given parent), created for the owner alone (0700, never an existing folder) and removed
// with everything in it when this object goes away, read-only folders inside included.
//
// The parent may be a folder other accounts can write to, who could swap the folder for a link while
// work goes on: the folder is therefore held open, checked through that descriptor, and everything done
// in it or to it goes through the descriptor (descriptor(), parentDescriptor(), name()), never its path.
class StagingDirectory {
public:
    explicit StagingDirectory(const QString& prefix, const QString& parent = {});
    ~StagingDirectory();
    StagingDirectory(const StagingDirectory&) = delete;
    StagingDirectory& operator=(const StagingDirectory&) = delete;

    const QString& path() const { return m_path; }
    int descriptor() const { return m_descriptor; }
    int parentDescriptor() const { return m_parent; }
    const QByteArray& name() const { return m_name; }
    // Whether the parent's entry of that name is still this folder (and not something put in its place).
    bool isStillInPlace() const;
    // The folder has been moved away under another name: nothing is left to remove.
    void release() { m_released = true; }

    // Removes everything inside the open folder, whatever the depth, holding one folder open at a time
    // (a tree deeper than the descriptor limit goes too). Takes over descriptor.
    static void removeContents(int descriptor);

private:
    QString m_path;
    QByteArray m_name;
    int m_parent = -1;
    int m_descriptor = -1;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    bool m_released = false;
};
