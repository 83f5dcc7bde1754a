#pragma once

#include <QString>

// A private folder for temporary work, named prefix + an upper-case UUID in the user's temporary folder
// (or inside a given parent), removed with everything in it when this object goes away.
class StagingDirectory {
public:
    explicit StagingDirectory(const QString& prefix, const QString& parent = {});
    ~StagingDirectory();
    StagingDirectory(const StagingDirectory&) = delete;
    StagingDirectory& operator=(const StagingDirectory&) = delete;

    const QString& path() const { return m_path; }

private:
    QString m_path;
};
