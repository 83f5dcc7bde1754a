#include "settings-ui/FeatureRequestSheet.h"

#include "intake/FeatureRequestMailer.h"
#include "platform/Clipboard.h"
#include "platform/Platform.h"
#include "platform/PlatformWords.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

FeatureRequestSheet::FeatureRequestSheet(QWidget* parent)
    : QDialog(parent)
    , m_editor(new QPlainTextEdit)
    , m_notice(new QLabel) {
    setWindowTitle(tr("请求新功能"));
    setWindowModality(Qt::WindowModal);
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(tr("请求新功能"));
    QFont font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.2);
    heading->setFont(font);
    layout->addWidget(heading);
    auto* explanation = new QLabel(platformText(PlatformText::featureRequestExplanation));
    explanation->setWordWrap(true);
    layout->addWidget(explanation);
    m_editor->setTabChangesFocus(true);
    m_editor->setMinimumSize(420, 140);
    layout->addWidget(m_editor, 1);
    m_notice->setWordWrap(true);
    m_notice->setForegroundRole(QPalette::PlaceholderText);
    m_notice->hide();
    layout->addWidget(m_notice);

    auto* buttons = new QDialogButtonBox;
    m_copy = buttons->addButton(tr("复制文字"), QDialogButtonBox::ActionRole);
    m_copy->hide();
    connect(m_copy, &QPushButton::clicked, this, [this] {
        const bool copied =
            Platform::clipboard().setText(FeatureRequestMailer::mailBody(m_editor->toPlainText()));
        m_notice->setText(copied
                              ? tr("已复制到剪贴板，请发送到 %1。").arg(FeatureRequestMailer::supportAddress)
                              : tr("无法写入剪贴板，请手动选择并复制上面的文字。"));
    });
    m_submit = buttons->addButton(tr("提交"), QDialogButtonBox::AcceptRole);
    m_submit->setDefault(true);
    buttons->addButton(tr("取消"), QDialogButtonBox::RejectRole);
    layout->addWidget(buttons);
    // An empty wish has nothing to send.
    const auto updateSubmit = [this] {
        m_submit->setEnabled(!m_editor->toPlainText().trimmed().isEmpty());
    };
    connect(m_editor, &QPlainTextEdit::textChanged, this, updateSubmit);
    updateSubmit();
    connect(buttons, &QDialogButtonBox::accepted, this, &FeatureRequestSheet::submit);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void FeatureRequestSheet::submit() {
    const QString text = m_editor->toPlainText();
    if (text.trimmed().isEmpty())
        return;
    if (FeatureRequestMailer::openMailComposer(text)) {
        accept();
        return;
    }
    // No mail program took it: the wish stays here, to be copied.
    m_notice->setText(FeatureRequestMailer::noMailProgramText());
    m_notice->show();
    m_copy->show();
}
