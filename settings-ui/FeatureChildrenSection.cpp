#include "settings-ui/FeatureChildrenSection.h"

#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/FeatureChildListModel.h"
#include "settings-ui/FittedListView.h"

#include <QPushButton>

FeatureChildrenSection::FeatureChildrenSection(FeatureSettingsStore& store, KestroFeature feature,
                                               QWidget* parent)
    : SettingsSection(tr("右键菜单中的操作"), parent)
    , m_store(store)
    , m_feature(feature)
    , m_model(new FeatureChildListModel(store, feature, this))
    , m_list(new FittedListView)
    , m_allButton(new QPushButton) {
    m_list->setModel(m_model);
    m_list->setReorderable(true);
    m_list->setAccessibleName(tr("右键菜单中的操作"));
    addRow(m_list);
    m_allButton->setObjectName(QStringLiteral("allChildrenButton"));
    addHeaderWidget(m_allButton);
    connect(m_allButton, &QPushButton::clicked, this,
            [this] { m_store.setAllChildrenEnabled(!allChildrenEnabled(), m_feature); });
    connect(&m_store, &FeatureSettingsStore::enabledChildIDsChanged, this,
            &FeatureChildrenSection::updateAllButton);
    updateAllButton();
}

bool FeatureChildrenSection::allChildrenEnabled() const {
    const QList<KestroFeatureChild> children = m_feature.children();
    return std::all_of(children.begin(), children.end(),
                       [this](const KestroFeatureChild& child) { return m_store.isEnabled(child); });
}

void FeatureChildrenSection::updateAllButton() {
    m_allButton->setText(allChildrenEnabled() ? tr("全部关闭") : tr("全部开启"));
}
