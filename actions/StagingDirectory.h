#pragma once

#include <QString>

// A private folder for temporary work, named prefix + an upper-case UUID in the user's temporary folder
// (or inside a given parent), created for the owner alone (0700, never an existing folder) and removed
// with everything in it when this object goes away, read-only folders inside included.
class StagingDirectory {
public:
    explicit StagingDirectory(const QString& prefix, const QString& parent = {});
    ~StagingDirectory();
    StagingDirectory(const StagingDirectory&) = delete;
    StagingDirectory& operator=(const StagingDirectory&) = delete;

    const QString& path() const { return m_path; }
    // The folder has been moved away under another name: nothing is left to remove.
    void release() { m_path.clear(); }

private:
    QString m_path;
};
