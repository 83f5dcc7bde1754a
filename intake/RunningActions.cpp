#include "intake/RunningActions.h"

#include <atomic>
#include <QMutex>

namespace {
std::atomic<quint64> nextActionID{1};
} // namespace

struct RunningActions::Slot {
    QMutex mutex;
    ActionProgressState latest; // under mutex
    quint64 version = 0;        // under mutex; moves with every report
    quint64 versionShown = 0;   // the board's own
    std::atomic<bool> cancel = false;
};

// Lives on the stack of the action's thread for one track().
class RunningActionReporter final : public ActionProgress {
public:
    explicit RunningActionReporter(RunningActions& board)
        : m_board(board) {}

    ~RunningActionReporter() override {
        // An action that left without ending its feed still leaves the list.
        if (m_depth > 0) {
            m_depth = 1;
            finished();
        }
    }

    void started(const QString& title) override {
        // A feed within a feed (an action built from another) belongs to the outer one.
        if (m_depth++ > 0)
            return;
        m_id = nextActionID++;
        m_slot = std::make_shared<RunningActions::Slot>();
        post([id = m_id, title, slot = m_slot](RunningActions& board) { board.add(id, title, slot); });
    }

    void changed(const ActionProgressState& state) override {
        if (m_depth != 1)
            return;
        const QMutexLocker lock(&m_slot->mutex);
        m_slot->latest = state;
        ++m_slot->version;
    }

    bool cancelRequested() override { return m_slot && m_slot->cancel.load(std::memory_order_relaxed); }

    void finished() override {
        if (m_depth == 0 || --m_depth > 0)
            return;
        post([id = m_id](RunningActions& board) { board.remove(id); });
        m_slot.reset();
    }

private:
    template <typename Change> void post(Change change) {
        RunningActions* board = &m_board;
        QMetaObject::invokeMethod(
            board, [board, change = std::move(change)] { change(*board); }, Qt::QueuedConnection);
    }

    RunningActions& m_board;
    int m_depth = 0;
    quint64 m_id = 0;
    std::shared_ptr<RunningActions::Slot> m_slot;
};

RunningActions::RunningActions(QObject* parent)
    : QObject(parent) {
    m_collector.setInterval(updateInterval);
    connect(&m_collector, &QTimer::timeout, this, &RunningActions::collect);
}

RunningActions::~RunningActions() = default;

void RunningActions::track(const std::function<void()>& work) {
    RunningActionReporter reporter(*this);
    const ActionProgressScope scope(reporter);
    work();
}

ActionProgressTracker RunningActions::tracker() {
    return [this](const std::function<void()>& work) {
        track(work);
    };
}

const RunningActions::Action* RunningActions::find(quint64 id) const {
    for (const Action& action : m_actions) {
        if (action.id == id)
            return &action;
    }
    return nullptr;
}

void RunningActions::cancel(quint64 id) {
    const auto found = std::find_if(m_actions.begin(), m_actions.end(),
                                    [id](const Action& action) { return action.id == id; });
    if (found == m_actions.end() || found->cancelling)
        return;
    found->cancelling = true;
    if (const std::shared_ptr<Slot> slot = m_slots.value(id))
        slot->cancel.store(true);
    emit actionsChanged();
}

void RunningActions::add(quint64 id, const QString& title, std::shared_ptr<Slot> slot) {
    m_actions.append(Action{id, title, {}, false});
    m_slots.insert(id, std::move(slot));
    m_collector.start();
    // What it reported before this arrived shows now, not one interval later.
    collect();
    emit actionStarted(id);
    emit actionsChanged();
}

void RunningActions::remove(quint64 id) {
    m_slots.remove(id);
    m_actions.removeIf([id](const Action& action) { return action.id == id; });
    if (m_actions.isEmpty())
        m_collector.stop();
    emit actionsChanged();
}

void RunningActions::collect() {
    bool moved = false;
    for (Action& action : m_actions) {
        const std::shared_ptr<Slot> slot = m_slots.value(action.id);
        if (!slot)
            continue;
        const QMutexLocker lock(&slot->mutex);
        if (slot->version == slot->versionShown)
            continue;
        slot->versionShown = slot->version;
        action.state = slot->latest;
        moved = true;
    }
    if (moved)
        emit actionsChanged();
}
