#pragma once

#include "platform/Prompts.h"

#include <chrono>
#include <QDialog>
#include <QTimer>

class QPushButton;

// How long the confirm button sleeps, and how long the question waits for an answer before it refuses.
struct ConsentTiming {
    std::chrono::milliseconds confirmDelay{1500};
    std::chrono::milliseconds answerTimeout{std::chrono::minutes(2)};
};

// The question shown before a request from another program runs: what it would do, to which items, where
// to. Cancel is the default; the confirm button wakes up only after a short delay, so a click or key press
// meant for something else cannot confirm it (it sleeps again each time the dialog is shown or activated);
// unanswered, it refuses by itself. There is no "always allow".
class ConsentDialog : public QDialog {
    Q_OBJECT
public:
    using Timing = ConsentTiming;

    explicit ConsentDialog(const ConsentRequest& request, Timing timing = {}, QWidget* parent = nullptr);

    // Shows the dialog modally, in front; true only when the user confirmed.
    bool ask();

protected:
    bool event(QEvent* event) override;

private:
    QTimer m_wakeUp;
    QPushButton* m_confirm = nullptr;
    QPushButton* m_cancel = nullptr;
    Timing m_timing;
};
