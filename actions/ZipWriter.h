#pragma once

#include <QByteArray>
#include <QString>

#include <ctime>
#include <sys/types.h>

struct archive;

// A ZIP archive written with libarchive, into an open file or into memory. Entry names are the file
// system's bytes (UTF-8 on any sane system; libarchive marks non-ASCII names as UTF-8). Failures throw
// PlatformError naming the archive.
class ZipWriter {
public:
    // Deflate level 6, the level zip uses by default.
    static constexpr int defaultLevel = 6;

    // Writes to descriptor, which stays open and owned by the caller.
    ZipWriter(int descriptor, QString archiveName, int level = defaultLevel);
    // Writes into bytes.
    ZipWriter(QByteArray* bytes, QString archiveName, int level = defaultLevel);
    ~ZipWriter();
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    void addDirectory(const QByteArray& name, mode_t permissions, time_t modified);
    void addSymbolicLink(const QByteArray& name, const QByteArray& target, time_t modified);
    // A file whose data follows through writeData, exactly size bytes in all.
    void beginFile(const QByteArray& name, mode_t permissions, time_t modified, qint64 size);
    void writeData(const char* data, qsizetype size);
    // A whole file held in memory.
    void addFile(const QByteArray& name, const QByteArray& contents, mode_t permissions, time_t modified);
    // Writes the central directory; the archive is complete only after this.
    void finish();

private:
    void open(int level);
    void writeHeader(const QByteArray& name, mode_t type, mode_t permissions, time_t modified, qint64 size,
                     const QByteArray& linkTarget = {});
    [[noreturn]] void fail() const;

    archive* m_archive;
    QString m_archiveName;
};
