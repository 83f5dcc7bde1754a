#include "settings-ui/SettingsSection.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

SettingsSection::SettingsSection(const QString& title, QWidget* parent)
    : QFrame(parent)
    , m_title(new QLabel(title)) {
    setObjectName(QStringLiteral("SettingsSection"));
    setFrameShape(QFrame::StyledPanel);
    setStyleSheet(
        QStringLiteral("#SettingsSection { background: palette(base); border: 1px solid palette(mid); "
                       "border-radius: 10px; }"));
    m_body = new QVBoxLayout(this);
    m_body->setContentsMargins(14, 10, 14, 12);
    m_body->setSpacing(6);
    m_header = new QHBoxLayout;
    QFont font = m_title->font();
    font.setBold(true);
    m_title->setFont(font);
    m_title->setWordWrap(true);
    m_header->addWidget(m_title, 1);
    m_body->addLayout(m_header);
    m_rows = new QVBoxLayout;
    m_rows->setSpacing(0);
    m_body->addLayout(m_rows);
    m_title->setVisible(!title.isEmpty());
}

void SettingsSection::addRow(QWidget* row) {
    if (m_rows->count() > 0) {
        auto* line = new QFrame;
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Plain);
        line->setStyleSheet(QStringLiteral("color: palette(midlight);"));
        m_rows->addWidget(line);
    }
    m_rows->addWidget(row);
}

void SettingsSection::addFooter(QWidget* widget) {
    m_body->addWidget(widget);
}

void SettingsSection::addHeaderWidget(QWidget* widget) {
    m_title->setVisible(true);
    m_header->addWidget(widget, 0, Qt::AlignRight);
}
