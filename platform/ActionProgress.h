#pragma once

#include "platform/KestroError.h"

#include <functional>
#include <QString>
#include <QtGlobal>

// Where a long action stands: how many items and bytes are done of how many, and which item is in hand.
// A total is -1 while it is not known (an archive being unpacked does not say how many entries it holds).
struct ActionProgressState {
    qint64 itemsDone = 0;
    qint64 itemsTotal = -1;
    qint64 bytesDone = 0;
    qint64 bytesTotal = -1;
    QString currentItem; // a path, or an entry's name inside an archive

    // How far along, 0 to 100, by bytes where their total is known, else by items; -1 when neither is, or
    // when bytes move towards an unknown total.
    int percent() const;
    // Whether every known total has been reached.
    bool isComplete() const;
};

// The one channel through which a long action (packing, unpacking, copying, checksums, PDFs, images,
// scheduled deletion) tells how far it is and learns that the user wants it stopped. The action feeds the
// reporter installed for its thread; with none installed it feeds a silent one that does nothing, so an
// action never asks whether anyone is listening. Reporters are called on the action's thread and must be
// quick: whoever shows the progress elsewhere hands it on and throttles there.
class ActionProgress {
public:
    virtual ~ActionProgress() = default;

    // Once, before the first change: the action's name as the user knows it ("压缩为 ZIP").
    virtual void started(const QString& title) = 0;
    // Whenever the numbers move; done counts never go down.
    virtual void changed(const ActionProgressState& state) = 0;
    // Asked at item boundaries (and within large items where stopping is safe). An action that sees true
    // stops there, leaves no partial item under its final name and throws ActionCancelled.
    virtual bool cancelRequested() = 0;
    // Once, when the action ends, whether it succeeded, failed or was cancelled.
    virtual void finished() = 0;

    // The reporter installed for the calling thread, or the silent one.
    static ActionProgress& current();
    // Whether one is installed: work done only to show progress (counting what lies ahead) is skipped when
    // nobody listens.
    static bool isListened();
};

// Installs a reporter for the calling thread while it lives, and puts the previous one back.
class ActionProgressScope {
public:
    explicit ActionProgressScope(ActionProgress& reporter);
    ~ActionProgressScope();
    ActionProgressScope(const ActionProgressScope&) = delete;
    ActionProgressScope& operator=(const ActionProgressScope&) = delete;

private:
    ActionProgress* m_previous;
};

// Runs a piece of work with a reporter installed around it that shows its progress somewhere (the host's
// tray and progress window). The roads and the scheduled-deletion runner take one; without one, work runs
// as it is and reports to nobody.
using ActionProgressTracker = std::function<void(const std::function<void()>& work)>;

// What an action holds while it runs: the current reporter, told "started" now and "finished" when this
// goes away, and the state the action moves forward.
class ActionProgressFeed {
public:
    explicit ActionProgressFeed(const QString& title);
    ~ActionProgressFeed();
    ActionProgressFeed(const ActionProgressFeed&) = delete;
    ActionProgressFeed& operator=(const ActionProgressFeed&) = delete;

    ActionProgressState& state() { return m_state; }
    // Hands the state as it now stands to the reporter.
    void report() { m_reporter.changed(m_state); }
    // At an item boundary: throws ActionCancelled when the user asked to stop.
    void stopIfCancelled();

private:
    ActionProgress& m_reporter;
    ActionProgressState m_state;
};

// Thrown by an action that stopped because the user asked it to.
class ActionCancelled : public KestroError {
public:
    QString errorDescription() const override;
};
