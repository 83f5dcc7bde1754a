#include "settings-ui/DetailHeader.h"

#include "settings-ui/SymbolIcons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

DetailHeader::DetailHeader(const QString& systemImage, const QString& title, const QString& summary,
                           QWidget* parent)
    : QWidget(parent)
    , m_title(new QLabel(title))
    , m_summary(new QLabel(summary)) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 4);
    layout->setSpacing(14);
    auto* tile = new QLabel;
    tile->setPixmap(SymbolIcons::tile(systemImage, SymbolIcons::tint(systemImage), 48, title));
    tile->setFixedSize(48, 48);
    layout->addWidget(tile, 0, Qt::AlignTop);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 1.5);
    font.setBold(true);
    m_title->setFont(font);
    m_title->setWordWrap(true);
    m_summary->setWordWrap(true);
    m_summary->setForegroundRole(QPalette::PlaceholderText);
    texts->addWidget(m_title);
    texts->addWidget(m_summary);
    texts->addStretch();
    layout->addLayout(texts, 1);
}

QString DetailHeader::title() const {
    return m_title->text();
}
QString DetailHeader::summary() const {
    return m_summary->text();
}
