#include "actions/CopyMoveActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/UniqueName.h"
#include "platform/ActionProgress.h"
#include "platform/FileTransfer.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sys/stat.h>
#include <thread>

namespace {

enum class Transfer { copy, move };

QString itemName(const QString& path) {
    return QFileInfo(path).fileName();
}

// Bytes, so that one large file or one folder of thousands moves the bar too, not only the selected items.
// Their total is counted on a thread of its own while the copy begins (a walk of the trees costs a stat per
// file, a tenth of copying a small one), and only for fewer than a hundred items: from a hundred on each
// item is at most one percent. A move that is a rename copies nothing and is not counted.
class CopiedBytesProgress {
public:
    // moveInto: the destination folder of a move, empty for a copy.
    CopiedBytesProgress(ActionProgressFeed& feed, const QStringList& sources, const QString& moveInto)
        : m_feed(feed)
        , m_counter([this, sources, moveInto](std::stop_token stop) {
            qint64 total = 0;
            for (const QString& source : sources) {
                if (moveInto.isEmpty() || FileTransfer::moveCopies(source, moveInto))
                    total += FileTransfer::bytesToCopy(source, stop);
                if (stop.stop_requested())
                    return;
            }
            m_counted.store(total);
        }) {}

    FileTransfer::CopiedBytes callback() {
        return [this](const QByteArray& file, qint64 bytes) {
            ActionProgressState& state = m_feed.state();
            // Names change with every small file, and the board shows one every 100 ms.
            if (file != m_fileInHand && (!m_sinceNamed.isValid() || m_sinceNamed.elapsed() >= 50)) {
                m_fileInHand = file;
                state.currentItem = QFile::decodeName(file);
                m_sinceNamed.start();
            }
            m_copied += bytes;
            takeTotal();
            m_feed.report();
        };
    }

    // Takes the total once it is counted, and moves the bytes done up to what was copied. Until the total
    // is known, bytes done without a total show a bar without a percentage, so that the percentage never
    // steps back from one by items to a lower one by bytes.
    void takeTotal() {
        ActionProgressState& state = m_feed.state();
        if (state.bytesTotal < 0)
            state.bytesTotal = m_counted.load(std::memory_order_relaxed);
        // A file that grew since it was counted does not take the count past its total.
        const qint64 done = state.bytesTotal >= 0 ? std::min(m_copied, state.bytesTotal) : m_copied;
        state.bytesDone = std::max(state.bytesDone, done);
    }

    // Everything copied: files that shrank since they were counted do not leave it short of the end.
    void finish() {
        m_counter.join();
        takeTotal();
        m_feed.state().bytesDone = std::max(m_feed.state().bytesDone, m_feed.state().bytesTotal);
        m_feed.report();
    }

private:
    ActionProgressFeed& m_feed;
    std::atomic<qint64> m_counted = -1;
    qint64 m_copied = 0;
    QByteArray m_fileInHand;
    QElapsedTimer m_sinceNamed;
    std::jthread m_counter; // last: stopped and joined before the rest goes
};

QStringList transfer(Transfer kind, const QStringList& selectedURLs, const QString& destination) {
    const QStringList sources = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    const QString folder = CopyMoveActions::validatedDestinationDirectory(destination);
    ActionProgressFeed feed(
        QCoreApplication::translate("CopyMoveActions", kind == Transfer::copy ? "复制" : "移动"));
    ActionProgressState& state = feed.state();
    state.itemsTotal = sources.size();
    std::optional<CopiedBytesProgress> bytes;
    if (ActionProgress::isListened() && sources.size() < 100)
        bytes.emplace(feed, sources, kind == Transfer::copy ? QString() : folder);
    const FileTransfer::CopiedBytes copied = bytes ? bytes->callback() : FileTransfer::CopiedBytes();
    FileTransfer::HardLinks links;
    QStringList results;
    for (const QString& source : sources) {
        // Between items: what is done stays, and an item is only ever whole under its final name.
        feed.stopIfCancelled();
        state.currentItem = source;
        feed.report();
        const QString target = UniqueName::pathForItemName(folder, itemName(source));
        if (kind == Transfer::copy)
            FileTransfer::copy(source, target, copied, &links);
        else
            FileTransfer::move(source, target, copied, &links);
        results.append(target);
        ++state.itemsDone;
        if (bytes)
            bytes->takeTotal();
        feed.report();
    }
    if (bytes)
        bytes->finish();
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

QString chosenDirectory(const char* buttonLabel) {
    const std::optional<QString> chosen = FinderActionExecutor::chooseDestinationDirectory(
        QCoreApplication::translate("CopyMoveActions", buttonLabel));
    if (!chosen)
        throw FinderActionExecutionError::noSelection();
    return *chosen;
}

} // namespace

QString CopyMoveActions::validatedDestinationDirectory(const QString& destination) {
    const QString folder = QDir::cleanPath(destination);
    if (folder.isEmpty() || !QFileInfo(folder).isDir())
        throw FinderActionExecutionError::destinationDirectoryUnavailable(destination);
    return folder;
}

QStringList CopyMoveActions::copyFiles(const QStringList& selectedURLs, const QString& destination) {
    return transfer(Transfer::copy, selectedURLs, destination);
}

QStringList CopyMoveActions::moveFiles(const QStringList& selectedURLs, const QString& destination) {
    return transfer(Transfer::move, selectedURLs, destination);
}

QStringList CopyMoveActions::copyFilesToChosenDirectory(const QStringList& selectedURLs) {
    return copyFiles(selectedURLs, chosenDirectory("复制"));
}

QStringList CopyMoveActions::moveFilesToChosenDirectory(const QStringList& selectedURLs) {
    return moveFiles(selectedURLs, chosenDirectory("移动"));
}

QStringList CopyMoveActions::copyFilesBesideOriginal(const QStringList& selectedURLs) {
    const QStringList sources = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    FileTransfer::HardLinks links;
    QStringList results;
    for (const QString& source : sources) {
        const QFileInfo info(source);
        const auto [stem, extension] = UniqueName::splitExtension(info.fileName());
        const QString target =
            UniqueName::path(info.absolutePath(), stem + QStringLiteral(" copy"), extension);
        FileTransfer::copy(source, target, {}, &links);
        results.append(target);
    }
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

QStringList CopyMoveActions::moveSelectionToNewFolder(const QStringList& selectedURLs) {
    // Checked before the folder is made, so a vanished item leaves no empty folder behind.
    const QStringList sources = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    const QString folder = UniqueName::pathForItemName(QFileInfo(sources.first()).absolutePath(),
                                                       QStringLiteral("New Folder With Items"));
    if (::mkdir(QFile::encodeName(folder).constData(), 0777) != 0)
        throw PlatformError(QCoreApplication::translate("CopyMoveActions", "无法创建文件夹“%1”：%2")
                                .arg(folder, QString::fromLocal8Bit(std::strerror(errno))));
    for (const QString& source : sources)
        FileTransfer::move(source, UniqueName::pathForItemName(folder, itemName(source)));
    FinderActionExecutor::revealActionResultsIfWanted({folder});
    return {folder};
}
