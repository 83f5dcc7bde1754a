#include "actions/ZipWriter.h"

#include "platform/KestroError.h"

#include <QCoreApplication>

#include <archive.h>
#include <archive_entry.h>

#include <memory>

namespace {

la_ssize_t appendToBytes(archive*, void* bytes, const void* data, size_t size) {
    static_cast<QByteArray*>(bytes)->append(static_cast<const char*>(data), qsizetype(size));
    return la_ssize_t(size);
}

using EntryPointer = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

} // namespace

ZipWriter::ZipWriter(int descriptor, QString archiveName, int level)
    : m_archive(archive_write_new())
    , m_archiveName(std::move(archiveName)) {
    open(level);
    // Large blocks mean few system calls; the last one is not padded (that is for tape formats).
    if (archive_write_set_bytes_per_block(m_archive, 64 * 1024) != ARCHIVE_OK ||
        archive_write_set_bytes_in_last_block(m_archive, 1) != ARCHIVE_OK ||
        archive_write_open_fd(m_archive, descriptor) != ARCHIVE_OK)
        fail();
}

ZipWriter::ZipWriter(QByteArray* bytes, QString archiveName, int level)
    : m_archive(archive_write_new())
    , m_archiveName(std::move(archiveName)) {
    open(level);
    if (archive_write_set_bytes_per_block(m_archive, 0) != ARCHIVE_OK ||
        archive_write_open2(m_archive, bytes, nullptr, appendToBytes, nullptr, nullptr) != ARCHIVE_OK)
        fail();
}

ZipWriter::~ZipWriter() {
    // After a failure the archive is abandoned as it is; the caller removes what it wrote.
    archive_write_free(m_archive);
}

void ZipWriter::open(int level) {
    if (!m_archive)
        throw std::bad_alloc();
    const QByteArray options = "zip:compression=deflate,zip:compression-level=" + QByteArray::number(level);
    if (archive_write_set_format_zip(m_archive) != ARCHIVE_OK ||
        archive_write_set_options(m_archive, options.constData()) != ARCHIVE_OK)
        fail();
}

void ZipWriter::fail() const {
    const char* reason = archive_error_string(m_archive);
    throw PlatformError(QCoreApplication::translate("ZipWriter", "无法写入压缩文件“%1”：%2")
                            .arg(m_archiveName, reason ? QString::fromLocal8Bit(reason) : QString()));
}

void ZipWriter::writeHeader(const QByteArray& name, mode_t type, mode_t permissions, time_t modified,
                            qint64 size, const QByteArray& linkTarget) {
    const EntryPointer entry(archive_entry_new(), archive_entry_free);
    archive_entry_copy_pathname(entry.get(), name.constData());
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), permissions & 07777);
    archive_entry_set_mtime(entry.get(), modified, 0);
    archive_entry_set_size(entry.get(), size);
    if (type == AE_IFLNK)
        archive_entry_copy_symlink(entry.get(), linkTarget.constData());
    if (archive_write_header(m_archive, entry.get()) != ARCHIVE_OK)
        fail();
}

void ZipWriter::addDirectory(const QByteArray& name, mode_t permissions, time_t modified) {
    writeHeader(name, AE_IFDIR, permissions, modified, 0);
}

void ZipWriter::addSymbolicLink(const QByteArray& name, const QByteArray& target, time_t modified) {
    writeHeader(name, AE_IFLNK, 0777, modified, 0, target);
}

void ZipWriter::beginFile(const QByteArray& name, mode_t permissions, time_t modified, qint64 size) {
    writeHeader(name, AE_IFREG, permissions, modified, size);
}

void ZipWriter::writeData(const char* data, qsizetype size) {
    while (size > 0) {
        const la_ssize_t written = archive_write_data(m_archive, data, size_t(size));
        if (written <= 0)
            fail();
        data += written;
        size -= written;
    }
}

void ZipWriter::addFile(const QByteArray& name, const QByteArray& contents, mode_t permissions,
                        time_t modified) {
    beginFile(name, permissions, modified, contents.size());
    writeData(contents.constData(), contents.size());
}

void ZipWriter::finish() {
    if (archive_write_close(m_archive) != ARCHIVE_OK)
        fail();
}
