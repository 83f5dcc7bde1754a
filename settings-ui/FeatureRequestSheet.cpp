#include "settings-ui/FeatureRequestSheet.h"

#include "intake/FeatureRequestMailer.h"
#include "platform/PlatformWords.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

FeatureRequestSheet::FeatureRequestSheet(QWidget* parent)
    : QDialog(parent)
    , m_editor(new QPlainTextEdit) {
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

    auto* buttons = new QDialogButtonBox;
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
    FeatureRequestMailer::openMailComposer(text);
    accept();
}
