#include "app/WidgetPrompts.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("WidgetPrompts", text);
}

// The alert every prompt shares: a bold message, an explanation, an accessory, then the accept and cancel
// buttons in that order.
class PromptDialog : public QDialog {
public:
    PromptDialog(const QString& title, const QString& message, const QString& acceptText) {
        setWindowTitle(QStringLiteral("Kestro"));
        setWindowFlag(Qt::WindowStaysOnTopHint);
        m_layout = new QVBoxLayout(this);
        auto* heading = new QLabel(title);
        QFont bold = heading->font();
        bold.setBold(true);
        heading->setFont(bold);
        heading->setWordWrap(true);
        m_layout->addWidget(heading);
        if (!message.isEmpty()) {
            auto* explanation = new QLabel(message);
            explanation->setWordWrap(true);
            m_layout->addWidget(explanation);
        }
        m_buttons = new QDialogButtonBox;
        m_buttons->addButton(acceptText, QDialogButtonBox::AcceptRole)->setDefault(true);
        m_buttons->addButton(tr("取消"), QDialogButtonBox::RejectRole);
        connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
        connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    }

    void addAccessory(QWidget* accessory) { m_layout->addWidget(accessory); }
    void addAccessory(QLayout* accessory) { m_layout->addLayout(accessory); }

    bool run() {
        m_layout->addWidget(m_buttons);
        show();
        raise();
        activateWindow();
        return exec() == QDialog::Accepted;
    }

private:
    QVBoxLayout* m_layout = nullptr;
    QDialogButtonBox* m_buttons = nullptr;
};

} // namespace

std::optional<QString> WidgetPrompts::promptText(const QString& title, const QString& message) {
    PromptDialog dialog(title, message, tr("确定"));
    auto* field = new QLineEdit;
    field->setFixedSize(320, 24);
    dialog.addAccessory(field);
    field->setFocus();
    field->selectAll();
    if (!dialog.run())
        return std::nullopt;
    return field->text();
}

std::optional<std::pair<QString, QString>>
WidgetPrompts::promptTwoTexts(const QString& title, const QString& firstLabel, const QString& secondLabel) {
    PromptDialog dialog(title, QString(), tr("确定"));
    auto* form = new QFormLayout;
    auto* first = new QLineEdit;
    auto* second = new QLineEdit;
    first->setMinimumWidth(320);
    second->setMinimumWidth(320);
    form->addRow(firstLabel, first);
    form->addRow(secondLabel, second);
    dialog.addAccessory(form);
    first->setFocus();
    if (!dialog.run())
        return std::nullopt;
    return std::make_pair(first->text(), second->text());
}

std::optional<QString> WidgetPrompts::chooseDirectory(const QString& buttonLabel) {
    QFileDialog dialog(nullptr, tr("选择目标文件夹"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, buttonLabel);
    dialog.raise();
    dialog.activateWindow();
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

bool WidgetPrompts::confirmRequestFromAnotherProgram(const ConsentRequest& request) {
    ConsentDialog dialog(request, m_consentTiming);
    return dialog.ask();
}

std::optional<QString> WidgetPrompts::requestFeatureText() {
    PromptDialog dialog(tr("请求新功能"), tr("描述你希望 Kestro 增加的 Finder 右键功能。"), tr("提交"));
    auto* text = new QPlainTextEdit;
    text->setFixedSize(420, 140);
    text->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    dialog.addAccessory(text);
    text->setFocus();
    if (!dialog.run())
        return std::nullopt;
    return text->toPlainText();
}
