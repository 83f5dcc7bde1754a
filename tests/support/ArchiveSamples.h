#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// Archives made by other programs than the code under test: Python's zipfile and tarfile for entries no
// archiver would write of its own accord (absolute names, "..", outward links, special files), and the
// zip, tar and 7z tools for ordinary ones.
namespace ArchiveSamples {

struct Entry {
    enum class Kind { file, folder, symbolicLink, hardLink, pipe };
    QString name;
    Kind kind = Kind::file;
    QByteArray data; // a file's contents
    QString target;  // a link's target
    int mode = 0644;
};

inline Entry file(const QString& name, const QByteArray& data, int mode = 0644) {
    return {name, Entry::Kind::file, data, {}, mode};
}
inline Entry folder(const QString& name, int mode = 0755) {
    return {name, Entry::Kind::folder, {}, {}, mode};
}
inline Entry symbolicLink(const QString& name, const QString& target) {
    return {name, Entry::Kind::symbolicLink, {}, target, 0777};
}
inline Entry hardLink(const QString& name, const QString& target) {
    return {name, Entry::Kind::hardLink, {}, target, 0644};
}
inline Entry namedPipe(const QString& name) {
    return {name, Entry::Kind::pipe, {}, {}, 0644};
}

// format: "zip" (Python's zipfile, deflated) or "tar", "tar.gz" (Python's tarfile). False on failure.
bool python(const QString& archive, const QString& format, const QList<Entry>& entries);
// A ZIP holding one deflated entry of size zero bytes: a zip bomb of about size / 1000 bytes.
bool zipBomb(const QString& archive, qint64 size);
// Runs program with arguments in folder; false unless it exits with 0.
bool tool(const QString& program, const QStringList& arguments, const QString& folder);

} // namespace ArchiveSamples
