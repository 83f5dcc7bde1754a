#include "settings-ui/FeatureDetailView.h"

#include "catalogue/FeatureSettingsStore.h"
#include "platform/PlatformWords.h"
#include "settings-ui/CustomDestinationSection.h"
#include "settings-ui/CustomShortcutActionSection.h"
#include "settings-ui/DetailHeader.h"
#include "settings-ui/DetailPage.h"
#include "settings-ui/FeatureChildrenSection.h"
#include "settings-ui/FinderViewPresetSection.h"
#include "settings-ui/ScheduledDeletionSection.h"
#include "settings-ui/SettingsSection.h"
#include "settings-ui/SettingsToggleRow.h"

#include <QVBoxLayout>

FeatureDetailView::FeatureDetailView(const SettingsStores& stores, KestroFeature feature, QWidget* parent)
    : QScrollArea(parent)
    , m_feature(feature)
    , m_header(new DetailHeader(feature.systemImage(), feature.title(), feature.summary()))
    , m_enableRow(
          new SettingsToggleRow(QString(), platformText(PlatformText::enableInFileManagerMenu), QString())) {
    setObjectName(QStringLiteral("feature-") + feature.id());
    QVBoxLayout* layout = DetailPage::begin(this, m_header);

    FeatureSettingsStore& settings = stores.featureSettings;
    auto* enableSection = new SettingsSection(QString());
    enableSection->addRow(m_enableRow);
    layout->addWidget(enableSection);
    m_enableRow->setChecked(settings.isEnabled(feature));
    connect(m_enableRow, &SettingsToggleRow::toggled, this,
            [&settings, feature](bool on) { settings.setEnabled(on, feature); });
    connect(&settings, &FeatureSettingsStore::enabledFeatureIDsChanged, this,
            [this, &settings] { m_enableRow->setChecked(settings.isEnabled(m_feature)); });

    if (!feature.children().isEmpty()) {
        m_children = new FeatureChildrenSection(settings, feature);
        layout->addWidget(m_children);
    }
    m_userSection = makeUserSection(stores);
    if (m_userSection)
        layout->addWidget(m_userSection);
    DetailPage::finish(this, layout);
}

QWidget* FeatureDetailView::makeUserSection(const SettingsStores& stores) {
    switch (m_feature.value()) {
    case KestroFeature::copyFile:
        return new CustomDestinationSection(stores.customDestinations, CustomDestinationKind::copy);
    case KestroFeature::organizeFile:
        return new CustomDestinationSection(stores.customDestinations, CustomDestinationKind::move);
    case KestroFeature::quickOpen:
        return new CustomDestinationSection(stores.customDestinations, CustomDestinationKind::quickOpen);
    case KestroFeature::openWith:
        return new CustomDestinationSection(stores.customDestinations,
                                            CustomDestinationKind::openApplication);
    case KestroFeature::customActions:
        return new CustomShortcutActionSection(stores.customShortcutActions);
    case KestroFeature::viewOptions:
        return new FinderViewPresetSection(stores.finderViewPresets);
    case KestroFeature::scheduledDeletion:
        return new ScheduledDeletionSection(stores.scheduledDeletions);
    default:
        return nullptr;
    }
}
