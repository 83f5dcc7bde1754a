#include "platform/ActionProgress.h"

#include <QCoreApplication>

namespace {

class SilentActionProgress final : public ActionProgress {
public:
    void started(const QString&) override {}
    void changed(const ActionProgressState&) override {}
    bool cancelRequested() override { return false; }
    void finished() override {}
};

SilentActionProgress silent;
thread_local ActionProgress* installed = nullptr;

} // namespace

int ActionProgressState::percent() const {
    if (bytesTotal > 0)
        return int(qBound(qint64(0), bytesDone * 100 / bytesTotal, qint64(100)));
    // Bytes moving towards a total nobody knows (a merged PDF being written after its inputs were read):
    // the items done say nothing about how far that is.
    if (bytesDone > 0)
        return -1;
    if (itemsTotal > 0)
        return int(qBound(qint64(0), itemsDone * 100 / itemsTotal, qint64(100)));
    return -1;
}

bool ActionProgressState::isComplete() const {
    return (bytesTotal > 0 && bytesDone >= bytesTotal) || (itemsTotal > 0 && itemsDone >= itemsTotal);
}

ActionProgress& ActionProgress::current() {
    return installed ? *installed : silent;
}

bool ActionProgress::isListened() {
    return installed != nullptr;
}

ActionProgressScope::ActionProgressScope(ActionProgress& reporter)
    : m_previous(installed) {
    installed = &reporter;
}

ActionProgressScope::~ActionProgressScope() {
    installed = m_previous;
}

ActionProgressFeed::ActionProgressFeed(const QString& title)
    : m_reporter(ActionProgress::current()) {
    m_reporter.started(title);
}

ActionProgressFeed::~ActionProgressFeed() {
    m_reporter.finished();
}

void ActionProgressFeed::stopIfCancelled() {
    if (m_reporter.cancelRequested())
        throw ActionCancelled();
}

QString ActionCancelled::errorDescription() const {
    return QCoreApplication::translate("ActionProgress", "操作已取消。");
}
