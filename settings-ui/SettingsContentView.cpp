#include "settings-ui/SettingsContentView.h"

#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/FeatureDetailView.h"
#include "settings-ui/FeatureRequestSheet.h"
#include "settings-ui/PreferencesDetailView.h"
#include "settings-ui/SettingsSidebar.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QStackedWidget>

SettingsContentView::SettingsContentView(const SettingsStores& stores, QWidget* parent)
    : QWidget(parent)
    , m_stores(stores)
    , m_sidebar(new SettingsSidebar(stores.featureSettings))
    , m_detail(new QStackedWidget) {
    setObjectName(QStringLiteral("ContentView"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_sidebar->setFixedWidth(220);
    m_sidebar->setAutoFillBackground(true);
    QPalette sidebarPalette = m_sidebar->palette();
    sidebarPalette.setColor(QPalette::Window, sidebarPalette.color(QPalette::Window).darker(104));
    m_sidebar->setPalette(sidebarPalette);
    layout->addWidget(m_sidebar);
    auto* divider = new QFrame;
    divider->setFrameShape(QFrame::VLine);
    divider->setFrameShadow(QFrame::Plain);
    divider->setStyleSheet(QStringLiteral("color: palette(mid);"));
    layout->addWidget(divider);
    layout->addWidget(m_detail, 1);

    connect(m_sidebar, &SettingsSidebar::pageSelected, this, &SettingsContentView::showPage);
    connect(m_sidebar, &SettingsSidebar::featureRequestClicked, this,
            &SettingsContentView::openFeatureRequestSheet);
    const QList<KestroFeature> features = stores.featureSettings.orderedFeatures();
    showPage(features.isEmpty() ? SettingsPage::preferences() : SettingsPage::of(features.constFirst()));
}

SettingsPage SettingsContentView::currentPage() const {
    return m_sidebar->currentPage();
}

void SettingsContentView::showPage(const SettingsPage& page) {
    if (!(m_sidebar->currentPage() == page))
        m_sidebar->select(page); // comes back here through pageSelected
    QWidget* widget = page.feature ? static_cast<QWidget*>(featurePage(*page.feature))
                                   : static_cast<QWidget*>(preferencesPage());
    m_detail->setCurrentWidget(widget);
}

QWidget* SettingsContentView::currentDetail() const {
    return m_detail->currentWidget();
}

FeatureDetailView* SettingsContentView::featurePage(KestroFeature feature) {
    FeatureDetailView*& page = m_featurePages[feature];
    if (!page) {
        page = new FeatureDetailView(m_stores, feature);
        m_detail->addWidget(page);
    }
    return page;
}

PreferencesDetailView* SettingsContentView::preferencesPage() {
    if (!m_preferencesPage) {
        m_preferencesPage = new PreferencesDetailView(m_stores);
        m_detail->addWidget(m_preferencesPage);
    }
    return m_preferencesPage;
}

void SettingsContentView::openFeatureRequestSheet() {
    auto* sheet = new FeatureRequestSheet(window());
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setObjectName(QStringLiteral("FeatureRequestSheet"));
    sheet->open();
}
