#include "actions/ArchiveDiskWriter.h"

#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Opens relative beneath root, following no symbolic link anywhere on the way. Without openat2 (kernels
// before 5.6, some sandboxes) it falls back to openat: the extractor has already refused every name that
// passes through one of the archive's links, and no one else can add links to the private folder.
int openBeneath(int root, const QByteArray& relative, int flags, mode_t mode = 0) {
    static std::atomic<bool> withoutOpenat2 = false;
    if (!withoutOpenat2) {
        open_how how{};
        how.flags = quint64(flags | O_CLOEXEC | O_NOFOLLOW);
        how.mode = (flags & O_CREAT) ? mode : 0;
        how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
        const long descriptor = ::syscall(SYS_openat2, root, relative.constData(), &how, sizeof how);
        if (descriptor >= 0 || (errno != ENOSYS && errno != EPERM))
            return int(descriptor);
        withoutOpenat2 = true;
    }
    return ::openat(root, relative.constData(), flags | O_CLOEXEC | O_NOFOLLOW, mode);
}

// The folder that holds relative's last part, opened beneath root while this lives.
class Holder {
public:
    Holder(int root, const QByteArray& relative)
        : m_root(root) {
        const qsizetype slash = relative.lastIndexOf('/');
        m_name = relative.mid(slash + 1);
        m_descriptor = slash < 0 ? root : openBeneath(root, relative.left(slash), O_RDONLY | O_DIRECTORY);
    }
    ~Holder() {
        if (m_descriptor >= 0 && m_descriptor != m_root)
            ::close(m_descriptor);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    int descriptor() const { return m_descriptor; }
    const char* name() const { return m_name.constData(); }

private:
    int m_root;
    int m_descriptor;
    QByteArray m_name;
};

void closeIfOpen(int& descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

} // namespace

ArchiveDiskWriter::ArchiveDiskWriter(int folder, const QByteArray& path)
    : m_root(::fcntl(folder, F_DUPFD_CLOEXEC, 0))
    , m_folder(path) {
    if (m_root < 0)
        fail(".");
}

int ArchiveDiskWriter::openFolderBeneath(int root, const QByteArray& relative) {
    return openBeneath(root, relative, O_RDONLY | O_DIRECTORY);
}

ArchiveDiskWriter::~ArchiveDiskWriter() {
    closeIfOpen(m_file);
    closeIfOpen(m_parent);
    closeIfOpen(m_root);
}

void ArchiveDiskWriter::fail(const QByteArray& relative) const {
    const int error = errno;
    throw PlatformError(
        QCoreApplication::translate("ArchiveDiskWriter", "无法写入“%1”：%2")
            .arg(QFile::decodeName(m_folder + '/' + relative), QString::fromLocal8Bit(std::strerror(error))));
}

int ArchiveDiskWriter::parentFolder(const QByteArray& relative, QByteArray* name) {
    const qsizetype slash = relative.lastIndexOf('/');
    *name = relative.mid(slash + 1);
    if (slash < 0)
        return m_root;
    const QByteArray parent = relative.left(slash);
    if (m_parent >= 0 && parent == m_parentPath)
        return m_parent;
    closeIfOpen(m_parent);
    int folder = openBeneath(m_root, parent, O_RDONLY | O_DIRECTORY);
    if (folder < 0 && errno == ENOENT) {
        // Folders the archive does not list get an ordinary folder's mode, as they would from mkdir -p.
        QByteArray prefix;
        for (const QByteArray& part : parent.split('/')) {
            prefix += (prefix.isEmpty() ? "" : "/") + part;
            const Holder holder(m_root, prefix);
            if (holder.descriptor() < 0 ||
                (::mkdirat(holder.descriptor(), holder.name(), 0777) != 0 && errno != EEXIST))
                fail(prefix);
        }
        folder = openBeneath(m_root, parent, O_RDONLY | O_DIRECTORY);
    }
    if (folder < 0)
        fail(parent);
    m_parent = folder;
    m_parentPath = parent;
    return folder;
}

void ArchiveDiskWriter::makeFolder(const QByteArray& relative, mode_t mode, const timespec* modified) {
    QByteArray name;
    const int parent = parentFolder(relative, &name);
    if (::mkdirat(parent, name.constData(), mode) != 0) {
        struct stat status {};
        // A folder listed twice, or after its contents, is fine; a link or a file of that name stays.
        if (errno != EEXIST || ::fstatat(parent, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            fail(relative);
        if (!S_ISDIR(status.st_mode))
            return;
    }
    if (modified)
        m_folderTimes.append({relative, *modified});
}

bool ArchiveDiskWriter::beginFile(const QByteArray& relative, mode_t mode) {
    QByteArray name;
    const int parent = parentFolder(relative, &name);
    m_file = ::openat(parent, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (m_file < 0 && errno == EEXIST)
        return false;
    if (m_file < 0)
        fail(relative);
    m_fileName = relative;
    return true;
}

void ArchiveDiskWriter::writeFileData(const void* data, size_t size, qint64 offset) {
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::pwrite(m_file, bytes, size, off_t(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            fail(m_fileName);
        bytes += written;
        size -= size_t(written);
        offset += written;
    }
}

void ArchiveDiskWriter::endFile(qint64 size, const timespec* modified) {
    struct stat status {};
    // A sparse file may end in a hole that no block wrote.
    if (size > 0 && ::fstat(m_file, &status) == 0 && status.st_size < size &&
        ::ftruncate(m_file, off_t(size)) != 0)
        fail(m_fileName);
    if (modified) {
        const timespec times[2] = {*modified, *modified};
        ::futimens(m_file, times);
    }
    const int file = m_file;
    m_file = -1;
    if (::close(file) != 0)
        fail(m_fileName);
}

void ArchiveDiskWriter::makeSymbolicLink(const QByteArray& relative, const QByteArray& target) {
    QByteArray name;
    const int parent = parentFolder(relative, &name);
    if (::symlinkat(target.constData(), parent, name.constData()) != 0 && errno != EEXIST)
        fail(relative);
}

void ArchiveDiskWriter::makeHardLink(const QByteArray& relative, const QByteArray& target) {
    const Holder source(m_root, target);
    if (source.descriptor() < 0)
        fail(target);
    QByteArray name;
    const int parent = parentFolder(relative, &name);
    if (::linkat(source.descriptor(), source.name(), parent, name.constData(), 0) != 0 && errno != EEXIST)
        fail(relative);
}

void ArchiveDiskWriter::finish() {
    std::stable_sort(m_folderTimes.begin(), m_folderTimes.end(),
                     [](const FolderTime& a, const FolderTime& b) {
                         return a.relative.count('/') > b.relative.count('/');
                     });
    for (const FolderTime& folder : m_folderTimes) {
        const int descriptor = openFolderBeneath(m_root, folder.relative);
        if (descriptor < 0)
            continue;
        const timespec times[2] = {folder.modified, folder.modified};
        ::futimens(descriptor, times);
        ::close(descriptor);
    }
}
