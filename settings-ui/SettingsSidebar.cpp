#include "settings-ui/SettingsSidebar.h"

#include "platform/PlatformWords.h"
#include "settings-ui/FeatureSidebarModel.h"
#include "settings-ui/SymbolIcons.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QListWidget>
#include <QVBoxLayout>

namespace {
enum ExtraRow { preferencesRow = 0, featureRequestRow = 1 };

QWidget* brandHeader() {
    auto* header = new QWidget;
    header->setObjectName(QStringLiteral("SidebarBrandHeader"));
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(10, 12, 10, 8);
    layout->setSpacing(10);
    auto* icon = new QLabel;
    icon->setPixmap(QIcon(QStringLiteral(":/kestro/kestro.svg")).pixmap(36, 36));
    icon->setFixedSize(36, 36);
    layout->addWidget(icon);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    auto* name = new QLabel(QStringLiteral("Kestro"));
    QFont font = name->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.3);
    name->setFont(font);
    auto* subtitle = new QLabel(platformText(PlatformText::fileManagerMenu));
    subtitle->setForegroundRole(QPalette::PlaceholderText);
    texts->addWidget(name);
    texts->addWidget(subtitle);
    layout->addLayout(texts, 1);
    return header;
}

void styleList(QAbstractItemView* view) {
    view->setFrameShape(QFrame::NoFrame);
    view->setIconSize(QSize(22, 22));
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setTextElideMode(Qt::ElideRight);
    view->setAttribute(Qt::WA_MacShowFocusRect, false);
    view->viewport()->setAutoFillBackground(false);
    // The selection keeps its colour when the window is not the active one.
    view->setStyleSheet(
        QStringLiteral("QListView { background: transparent; outline: 0; } "
                       "QListView::item { padding: 3px 4px; border-radius: 6px; } "
                       "QListView::item:selected { background: #2f7cf6; color: white; } "
                       "QListView::item:hover:!selected { background: rgba(0, 0, 0, 0.06); }"));
}
} // namespace

SettingsSidebar::SettingsSidebar(FeatureSettingsStore& store, QWidget* parent)
    : QWidget(parent)
    , m_model(new FeatureSidebarModel(store, this))
    , m_features(new QListView)
    , m_extras(new QListWidget) {
    setObjectName(QStringLiteral("SettingsSidebar"));
    setMinimumWidth(200);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 0, 6, 8);
    layout->setSpacing(4);
    layout->addWidget(brandHeader());

    m_features->setModel(m_model);
    styleList(m_features);
    m_features->setDragEnabled(true);
    m_features->setAcceptDrops(true);
    m_features->setDropIndicatorShown(true);
    m_features->setDragDropMode(QAbstractItemView::InternalMove);
    m_features->setDefaultDropAction(Qt::MoveAction);
    m_features->setSelectionMode(QAbstractItemView::SingleSelection);
    m_features->setAccessibleName(tr("功能"));
    layout->addWidget(m_features, 1);

    styleList(m_extras);
    auto* preferences = new QListWidgetItem(
        QIcon(SymbolIcons::tile(QStringLiteral("gearshape"), QColor(0x60, 0x6b, 0x7d), 22)), tr("偏好设置"));
    auto* request = new QListWidgetItem(
        QIcon(SymbolIcons::tile(QStringLiteral("envelope"), QColor(0x2f, 0x7c, 0xf6), 22)), tr("请求新功能"));
    m_extras->addItem(preferences);
    m_extras->addItem(request);
    m_extras->setFixedHeight(2 * (m_extras->sizeHintForRow(0) + 2) + 4);
    layout->addWidget(m_extras);

    connect(m_features->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                const auto feature = m_model->feature(current.row());
                if (m_selecting || !feature || m_page == SettingsPage::of(*feature))
                    return;
                select(SettingsPage::of(*feature));
            });
    connect(m_extras, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        if (m_extras->row(item) == preferencesRow) {
            select(SettingsPage::preferences());
        } else {
            // The request opens a sheet; the page behind it stays selected.
            select(m_page);
            emit featureRequestClicked();
        }
    });
}

void SettingsSidebar::select(const SettingsPage& page) {
    m_selecting = true;
    const bool changed = !(page == m_page);
    m_page = page;
    if (page.feature) {
        m_extras->clearSelection();
        m_extras->setCurrentRow(-1);
        const QModelIndex index = m_model->index(m_model->rowOf(*page.feature));
        m_features->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
        m_features->scrollTo(index);
    } else {
        m_features->selectionModel()->clearSelection();
        m_features->selectionModel()->setCurrentIndex(QModelIndex(), QItemSelectionModel::Clear);
        m_extras->setCurrentRow(preferencesRow);
    }
    m_selecting = false;
    if (changed)
        emit pageSelected(page);
}
