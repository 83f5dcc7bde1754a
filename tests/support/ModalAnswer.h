#pragma once

// The one widget driver of the tests: clicks, keys and drags on real widgets at their real places, and
// answering a modal dialog as a user would: the dialog is opened for real by the code under test (which
// blocks in exec()), and the test's answer runs from the event loop once the dialog is up. GUI tests only.

#include <QAbstractItemView>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

class ModalAnswer {
public:
    // Runs answer on the next modal widget that is shown and is not `after` (a dialog already open).
    // How many answers ran is answered(); a test checks it so that a dialog that never opened fails.
    explicit ModalAnswer(std::function<void(QWidget*)> answer, QWidget* after = nullptr)
        : m_state(std::make_shared<State>(State{std::move(answer), after})) {
        auto* timer = new QTimer;
        m_state->timer = timer;
        timer->setInterval(20);
        QObject::connect(timer, &QTimer::timeout, timer, [state = m_state, timer] {
            QWidget* modal = QApplication::activeModalWidget();
            if (!modal || modal == state->after || !modal->isVisible())
                return;
            timer->stop();
            timer->deleteLater();
            // Let the dialog finish showing (focus, layout) before it is driven.
            QTest::qWait(30);
            const QPointer<QWidget> dialog(modal);
            state->answer(modal);
            ++state->answered;
            // A failed check inside the answer must not leave the code under test waiting forever.
            if (auto* modalDialog = qobject_cast<QDialog*>(dialog.data());
                QTest::currentTestFailed() && modalDialog && modalDialog->isVisible())
                modalDialog->reject();
        });
        timer->start();
    }
    ~ModalAnswer() {
        if (m_state->answered == 0 && m_state->timer)
            m_state->timer->deleteLater();
    }
    int answered() const { return m_state->answered; }

private:
    struct State {
        std::function<void(QWidget*)> answer;
        QPointer<QWidget> after;
        QPointer<QTimer> timer;
        int answered = 0;
    };
    std::shared_ptr<State> m_state;
};

namespace Modal {

// The visible button whose text (less its shortcut mark) is text, anywhere under parent, or nullptr.
inline QAbstractButton* button(QWidget* parent, const QString& text) {
    for (QAbstractButton* candidate : parent->findChildren<QAbstractButton*>())
        if (candidate->isVisible() && candidate->text().remove(QLatin1Char('&')) == text)
            return candidate;
    return nullptr;
}

// Types text key by key, Chinese and other text beyond Latin-1 included (QTest::keyClicks takes Latin-1).
inline void type(QWidget* widget, const QString& text) {
    for (qsizetype index = 0; index < text.size(); ++index) {
        QString key(text.at(index));
        if (text.at(index).isHighSurrogate() && index + 1 < text.size())
            key += text.at(++index);
        if (key.size() == 1 && key.at(0).unicode() < 0x80 && key.at(0).isPrint())
            QTest::keyClick(widget, key.at(0).toLatin1());
        else
            QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, key, Qt::NoModifier);
    }
}

// Clicks a widget with the mouse at its middle, scrolled into view first when it sits in a scrolling page.
inline void click(QWidget* widget) {
    for (QWidget* parent = widget->parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto* page = qobject_cast<QScrollArea*>(parent)) {
            page->ensureWidgetVisible(widget);
            break;
        }
    }
    QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
}

// The place of a list's row, and a click there: by default on its text, away from a handle or a switch.
inline QRect rowRect(const QAbstractItemView* view, int row) {
    return view->visualRect(view->model()->index(row, 0));
}
inline void clickRow(QAbstractItemView* view, int row, std::function<QPoint(QRect)> where = {}) {
    const QRect rect = rowRect(view, row);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      where ? where(rect) : QPoint(rect.left() + rect.width() / 3, rect.center().y()));
}

// Presses at from in a list, moves past the drag distance to to and releases, as a hand on the mouse would.
// Where a drag can run (an X server), the moves go through the event loop, because a drag that starts has
// its own loop until the release; without one, all of it is sent at once.
inline void drag(QAbstractItemView* view, QPoint from, QPoint to, bool throughTheEventLoop = true) {
    QWidget* viewport = view->viewport();
    const auto move = [viewport](QPoint at) {
        // QTest::mouseMove of this Qt sends moves without the held button.
        QMouseEvent event(QEvent::MouseMove, at, viewport->mapToGlobal(at), Qt::NoButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(viewport, &event);
    };
    const auto finish = [=] {
        for (int step = 3; step <= 6; ++step) {
            move(from + (to - from) / 6 * step);
            if (throughTheEventLoop)
                QTest::qWait(30);
        }
        QMouseEvent release(QEvent::MouseButtonRelease, to, viewport->mapToGlobal(to), Qt::LeftButton,
                            Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(viewport, &release);
    };
    QTest::mousePress(viewport, Qt::LeftButton, {}, from);
    if (throughTheEventLoop)
        QTimer::singleShot(100, viewport, finish);
    for (int step = 1; step <= 2; ++step)
        move(from + (to - from) / 6 * step);
    if (throughTheEventLoop)
        QTest::qWait(300);
    else
        finish();
}

// Types text into the file panel's name field and clicks its accept button (whatever it reads).
inline void typeIntoFilePanel(QWidget* dialog, const QString& text) {
    // A missing panel or field crashes the test, which fails it as surely.
    auto* panel = qobject_cast<QFileDialog*>(dialog);
    auto* field = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    field->clear();
    type(field, text);
    // The name field's completion list, which typing may open once the folder is read, closes as a click
    // elsewhere would close it.
    QTest::qWait(150);
    while (QWidget* popup = QApplication::activePopupWidget())
        popup->close();
    auto* box = panel->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
    click(box->button(QDialogButtonBox::Open) ? box->button(QDialogButtonBox::Open)
                                              : box->buttons().constFirst());
}

inline void cancel(QWidget* dialog) {
    if (auto* panel = qobject_cast<QFileDialog*>(dialog)) {
        auto* box = panel->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
        click(box->button(QDialogButtonBox::Cancel));
        return;
    }
    click(button(dialog, QStringLiteral("取消")));
}

} // namespace Modal
