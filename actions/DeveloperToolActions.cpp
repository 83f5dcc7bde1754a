#include "actions/DeveloperToolActions.h"

#include "actions/FinderActionExecutor.h"

#include "actions/ByteCountText.h"
#include "actions/FileDigest.h"
#include "actions/HiddenFilesSetting.h"
#include "platform/ActionProgress.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

void copyToClipboard(const QString& text) {
    if (!Platform::clipboard().setText(text))
        throw FinderActionExecutionError::pasteboardWriteFailed();
}

qint64 fileSizeOf(const QString& path) {
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        throw PlatformError(QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
    // A folder has no file size of its own; it is not summed.
    return S_ISREG(status.st_mode) ? qint64(status.st_size) : 0;
}

} // namespace

void DeveloperToolActions::copyChecksums(const QStringList& selectedURLs, ChecksumAlgorithm algorithm) {
    if (selectedURLs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    FinderActionExecutor::requireRegularFiles(selectedURLs);
    const FileDigest::Algorithm digest =
        algorithm == ChecksumAlgorithm::sha256 ? FileDigest::Algorithm::sha256 : FileDigest::Algorithm::md5;
    ActionProgressFeed feed(QCoreApplication::translate(
        "DeveloperToolActions", algorithm == ChecksumAlgorithm::sha256 ? "复制 SHA-256" : "复制 MD5"));
    feed.state().itemsTotal = selectedURLs.size();
    feed.state().bytesTotal = 0;
    for (const QString& path : selectedURLs)
        feed.state().bytesTotal += QFileInfo(path).size();
    QStringList lines;
    for (const QString& path : selectedURLs) {
        feed.state().currentItem = path;
        feed.report();
        lines.append(FileDigest::hexDigest(path, digest, &feed) + QStringLiteral("  ") +
                     QFileInfo(path).fileName());
        ++feed.state().itemsDone;
        feed.report();
    }
    copyToClipboard(lines.join(QLatin1Char('\n')));
}

void DeveloperToolActions::copyFileSizes(const QStringList& selectedURLs) {
    if (selectedURLs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    QStringList lines;
    for (const QString& path : selectedURLs)
        lines.append(ByteCountText::fileSize(fileSizeOf(path)));
    copyToClipboard(lines.join(QLatin1Char('\n')));
}

bool DeveloperToolActions::isFinderShowingHiddenFiles() {
    return HiddenFilesSetting::isShowingHiddenFiles();
}

void DeveloperToolActions::toggleHiddenFiles() {
    HiddenFilesSetting::toggle();
}
