#pragma once

#include "intake/RunningActions.h"

#include <chrono>
#include <optional>
#include <QHash>
#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

// The small progress window: every running long action with its bar, what it is doing and a cancel
// button. It never blocks anything: it is not modal and does not take the focus when it opens by itself,
// which it does once an action has run for openAfter (never, when that is not set: no one would see it).
// Each action opens it at most once, so a user who closed it is not pestered again by the same actions; it
// hides itself when the last action ends.
class ActionProgressWindow : public QWidget {
    Q_OBJECT
public:
    explicit ActionProgressWindow(RunningActions& actions,
                                  std::optional<std::chrono::milliseconds> openAfter = std::nullopt,
                                  QWidget* parent = nullptr);

    // Shows it in front (from the tray).
    void present();

    // One line for the tray: the title and how far it is ("压缩为 ZIP 42%").
    static QString shortText(const RunningActions::Action& action);
    // The line under the bar: items, bytes and the item in hand.
    static QString detailText(const ActionProgressState& state);

private:
    struct Row {
        QWidget* frame;
        QLabel* title;
        QProgressBar* bar;
        QLabel* detail;
        QPushButton* cancel;
    };

    void refresh();
    Row& rowFor(const RunningActions::Action& action);
    void openIfStillRunning(quint64 id);

    RunningActions& m_actions;
    std::optional<std::chrono::milliseconds> m_openAfter;
    QVBoxLayout* m_rowsLayout = nullptr;
    QLabel* m_emptyLabel = nullptr;
    QHash<quint64, Row> m_rows;
    bool m_hadActions = false;
};
