#include "settings-ui/SettingsToggleRow.h"

#include "settings-ui/SymbolIcons.h"
#include "settings-ui/ToggleSwitch.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     const QString& explanation, QWidget* parent)
    : QWidget(parent)
    , m_titleText(title)
    , m_switch(new ToggleSwitch)
    , m_note(new QLabel) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 8);
    layout->setSpacing(12);
    if (!systemImage.isEmpty()) {
        auto* tile = new QLabel;
        tile->setPixmap(SymbolIcons::tile(systemImage, SymbolIcons::tint(systemImage), 28, title));
        tile->setFixedSize(28, 28);
        layout->addWidget(tile, 0, Qt::AlignTop);
    }
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* heading = new QLabel(title);
    QFont font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    heading->setWordWrap(true);
    texts->addWidget(heading);
    if (!explanation.isEmpty()) {
        auto* detail = new QLabel(explanation);
        detail->setWordWrap(true);
        detail->setForegroundRole(QPalette::PlaceholderText);
        texts->addWidget(detail);
    }
    m_note->setWordWrap(true);
    m_note->setStyleSheet(QStringLiteral("color: #c0392b;"));
    m_note->hide();
    texts->addWidget(m_note);
    layout->addLayout(texts, 1);
    m_switch->setAccessibleName(title);
    layout->addWidget(m_switch, 0, Qt::AlignVCenter);
    connect(m_switch, &ToggleSwitch::toggled, this, &SettingsToggleRow::toggled);
}

void SettingsToggleRow::setChecked(bool on) {
    const QSignalBlocker blocker(m_switch);
    m_switch->setChecked(on);
}

void SettingsToggleRow::setNote(const QString& text) {
    m_note->setText(text);
    m_note->setVisible(!text.isEmpty());
}

QString SettingsToggleRow::note() const {
    return m_note->text();
}
