#include "app/ConsentDialog.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace {
// The texts of the request come from another program: never let a label read them as rich text.
QLabel* plainLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

// Paths one per row, shortened in the middle when too long, never cut at the end: the end of a path is
// where it says what it names. The whole path is the row's tooltip.
QListWidget* pathList(const QStringList& paths, const QString& objectName) {
    auto* list = new QListWidget;
    list->setObjectName(objectName);
    list->setTextElideMode(Qt::ElideMiddle);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setWordWrap(false);
    list->setSelectionMode(QAbstractItemView::NoSelection);
    for (const QString& path : paths) {
        auto* item = new QListWidgetItem(path, list);
        item->setToolTip(path);
    }
    return list;
}
} // namespace

ConsentDialog::ConsentDialog(const ConsentRequest& request, Timing timing, QWidget* parent)
    : QDialog(parent)
    , m_timing(timing) {
    setWindowTitle(QStringLiteral("Kestro"));
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setMinimumWidth(460);
    auto* layout = new QVBoxLayout(this);

    QLabel* heading = plainLabel(tr("另一个程序请求 Kestro 执行此操作"));
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    layout->addWidget(heading);
    layout->addWidget(plainLabel(tr("只有在你自己刚刚发起这个操作时才继续。")));

    QLabel* action = plainLabel(tr("操作：%1").arg(request.actionTitle));
    action->setObjectName(QStringLiteral("actionLabel"));
    layout->addWidget(action);

    layout->addWidget(plainLabel(request.items.isEmpty()
                                     ? tr("项目：无")
                                     : tr("项目（%n 个）：", nullptr, int(request.items.size()))));
    QListWidget* items = pathList(request.items, QStringLiteral("itemList"));
    items->setMinimumHeight(120);
    items->setVisible(!request.items.isEmpty());
    layout->addWidget(items);

    if (request.destination) {
        layout->addWidget(plainLabel(tr("目标：")));
        QListWidget* destination = pathList({*request.destination}, QStringLiteral("destinationList"));
        destination->setFixedHeight(destination->sizeHintForRow(0) + 2 * destination->frameWidth());
        layout->addWidget(destination);
    }

    auto* buttons = new QDialogButtonBox;
    m_confirm = buttons->addButton(tr("执行"), QDialogButtonBox::AcceptRole);
    m_confirm->setObjectName(QStringLiteral("confirmButton"));
    m_confirm->setEnabled(false);
    m_confirm->setAutoDefault(false);
    m_cancel = buttons->addButton(tr("取消"), QDialogButtonBox::RejectRole);
    m_cancel->setObjectName(QStringLiteral("cancelButton"));
    m_cancel->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    m_wakeUp.setSingleShot(true);
    m_wakeUp.setInterval(m_timing.confirmDelay);
    connect(&m_wakeUp, &QTimer::timeout, m_confirm, [this] { m_confirm->setEnabled(true); });
}

bool ConsentDialog::event(QEvent* event) {
    // Whenever the dialog appears or comes to the front, the confirm button sleeps again: clicks aimed at
    // whatever was there before must not land on it.
    if (event->type() == QEvent::Show || event->type() == QEvent::WindowActivate) {
        m_confirm->setEnabled(false);
        m_wakeUp.start();
    }
    return QDialog::event(event);
}

bool ConsentDialog::ask() {
    QTimer::singleShot(m_timing.answerTimeout, this, &QDialog::reject);
    // Brought to the front once exec() has shown it: showing it before would leave it without modality.
    QTimer::singleShot(0, this, [this] {
        raise();
        activateWindow();
        m_cancel->setFocus();
    });
    setWindowModality(Qt::ApplicationModal);
    return exec() == QDialog::Accepted;
}
