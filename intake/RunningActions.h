#pragma once

#include "platform/ActionProgress.h"

#include <chrono>
#include <memory>
#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>

// The long actions running at this moment, for the tray and the progress window. Lives on the main thread;
// actions on any thread feed it through the reporter that track() installs around them. An action is listed
// from its first ActionProgressFeed until that feed ends; work that never reports is never listed.
//
// A report costs the action one uncontended lock: the reporter only keeps the latest state, and the board
// collects what moved every updateInterval while something runs. So the display is never more than that
// behind, even for an action that reports once and then works for minutes, and never busier.
class RunningActions : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds updateInterval{100};

    struct Action {
        quint64 id = 0;
        QString title;
        ActionProgressState state;
        bool cancelling = false;
    };

    explicit RunningActions(QObject* parent = nullptr);
    ~RunningActions() override;

    // Any thread: runs work with this board's reporter installed for the calling thread. The board must
    // outlive the work.
    void track(const std::function<void()>& work);
    // track() as the roads and runners take it.
    ActionProgressTracker tracker();

    // Main thread. In the order they started.
    const QList<Action>& actions() const { return m_actions; }
    const Action* find(quint64 id) const;
    // Asks the action to stop at its next item boundary; it stays listed until it has stopped.
    void cancel(quint64 id);

    // Shared by an action's reporter and the board.
    struct Slot;

signals:
    void actionStarted(quint64 id);
    // Whenever an action was added, moved forward, is being cancelled or went away.
    void actionsChanged();

private:
    friend class RunningActionReporter;
    void add(quint64 id, const QString& title, std::shared_ptr<Slot> slot);
    void remove(quint64 id);
    void collect();

    QTimer m_collector;
    QList<Action> m_actions;
    QHash<quint64, std::shared_ptr<Slot>> m_slots;
};
