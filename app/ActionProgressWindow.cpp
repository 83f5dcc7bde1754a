#include "app/ActionProgressWindow.h"

#include "actions/ByteCountText.h"

#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSet>
#include <QTimer>
#include <QVBoxLayout>

ActionProgressWindow::ActionProgressWindow(RunningActions& actions,
                                           std::optional<std::chrono::milliseconds> openAfter,
                                           QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_actions(actions)
    , m_openAfter(openAfter) {
    setObjectName(QStringLiteral("ActionProgressWindow"));
    setWindowTitle(tr("Kestro 正在进行的操作"));
    setWindowIcon(QIcon(QStringLiteral(":/kestro/kestro.svg")));
    setAttribute(Qt::WA_ShowWithoutActivating);
    setMinimumWidth(420);

    auto* layout = new QVBoxLayout(this);
    m_emptyLabel = new QLabel(tr("没有正在进行的操作。"), this);
    m_emptyLabel->setObjectName(QStringLiteral("emptyLabel"));
    layout->addWidget(m_emptyLabel);
    m_rowsLayout = new QVBoxLayout;
    layout->addLayout(m_rowsLayout);
    layout->addStretch();

    connect(&m_actions, &RunningActions::actionsChanged, this, &ActionProgressWindow::refresh);
    if (m_openAfter) {
        connect(&m_actions, &RunningActions::actionStarted, this, [this](quint64 id) {
            QTimer::singleShot(*m_openAfter, this, [this, id] { openIfStillRunning(id); });
        });
    }
    refresh();
}

void ActionProgressWindow::present() {
    refresh();
    show();
    raise();
    activateWindow();
}

void ActionProgressWindow::openIfStillRunning(quint64 id) {
    if (isVisible() || !m_actions.find(id))
        return;
    refresh();
    show();
}

void ActionProgressWindow::refresh() {
    QSet<quint64> running;
    for (const RunningActions::Action& action : m_actions.actions()) {
        running.insert(action.id);
        Row& row = rowFor(action);
        row.title->setText(action.title);
        const int percent = action.state.percent();
        // Without a known total the bar runs back and forth instead.
        row.bar->setRange(0, percent >= 0 ? 100 : 0);
        row.bar->setValue(qMax(percent, 0));
        row.detail->setText(action.cancelling ? tr("正在取消……") : detailText(action.state));
        row.cancel->setEnabled(!action.cancelling);
    }
    for (auto it = m_rows.begin(); it != m_rows.end();) {
        if (running.contains(it.key())) {
            ++it;
            continue;
        }
        delete it->frame;
        it = m_rows.erase(it);
    }
    m_emptyLabel->setVisible(m_rows.isEmpty());
    // When the last action ends the window has done its job.
    if (m_hadActions && m_rows.isEmpty())
        hide();
    m_hadActions = !m_rows.isEmpty();
}

ActionProgressWindow::Row& ActionProgressWindow::rowFor(const RunningActions::Action& action) {
    auto found = m_rows.find(action.id);
    if (found != m_rows.end())
        return *found;
    auto* frame = new QWidget(this);
    frame->setObjectName(QStringLiteral("actionRow"));
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(0, 4, 0, 4);
    auto* title = new QLabel(frame);
    title->setObjectName(QStringLiteral("titleLabel"));
    auto* barLine = new QHBoxLayout;
    auto* bar = new QProgressBar(frame);
    bar->setObjectName(QStringLiteral("progressBar"));
    auto* cancel = new QPushButton(tr("取消"), frame);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setAutoDefault(false);
    connect(cancel, &QPushButton::clicked, this, [this, id = action.id] { m_actions.cancel(id); });
    barLine->addWidget(bar, 1);
    barLine->addWidget(cancel);
    auto* detail = new QLabel(frame);
    detail->setObjectName(QStringLiteral("detailLabel"));
    detail->setTextFormat(Qt::PlainText);
    title->setTextFormat(Qt::PlainText);
    layout->addWidget(title);
    layout->addLayout(barLine);
    layout->addWidget(detail);
    m_rowsLayout->addWidget(frame);
    return *m_rows.insert(action.id, Row{frame, title, bar, detail, cancel});
}

QString ActionProgressWindow::shortText(const RunningActions::Action& action) {
    if (action.cancelling)
        return tr("%1（正在取消）").arg(action.title);
    const int percent = action.state.percent();
    return percent >= 0 ? QStringLiteral("%1 %2%").arg(action.title).arg(percent) : action.title;
}

QString ActionProgressWindow::detailText(const ActionProgressState& state) {
    QStringList parts;
    if (state.itemsTotal > 1)
        parts.append(tr("%1 / %2 项").arg(state.itemsDone).arg(state.itemsTotal));
    else if (state.itemsTotal < 0 && state.itemsDone > 0)
        parts.append(tr("%1 项").arg(state.itemsDone));
    const QLocale chinese(QLocale::Chinese, QLocale::China);
    if (state.bytesTotal > 0)
        parts.append(QStringLiteral("%1 / %2").arg(ByteCountText::fileSize(state.bytesDone, chinese),
                                                   ByteCountText::fileSize(state.bytesTotal, chinese)));
    if (!state.currentItem.isEmpty()) {
        // A name may hold line breaks and other control characters; one line shows it.
        QString name = QFileInfo(state.currentItem).fileName();
        for (QChar& character : name) {
            if (character.category() == QChar::Other_Control)
                character = QChar::ReplacementCharacter;
        }
        parts.append(name);
    }
    return parts.join(QStringLiteral(" · "));
}
