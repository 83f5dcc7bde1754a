#include "app/ConsentDialog.h"

#include <QDialogButtonBox>
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
    auto* items = new QListWidget;
    items->setObjectName(QStringLiteral("itemList"));
    items->addItems(request.items);
    items->setSelectionMode(QAbstractItemView::NoSelection);
    items->setMinimumHeight(120);
    items->setVisible(!request.items.isEmpty());
    layout->addWidget(items);

    if (request.destination) {
        QLabel* destination = plainLabel(tr("目标：%1").arg(*request.destination));
        destination->setObjectName(QStringLiteral("destinationLabel"));
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
}

bool ConsentDialog::ask() {
    QTimer::singleShot(m_timing.confirmDelay, m_confirm, [this] { m_confirm->setEnabled(true); });
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
