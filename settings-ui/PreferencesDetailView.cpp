#include "settings-ui/PreferencesDetailView.h"

#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsStore.h"
#include "platform/PlatformWords.h"
#include "settings-ui/DetailHeader.h"
#include "settings-ui/DetailPage.h"
#include "settings-ui/FileManagerIntegrationSection.h"
#include "settings-ui/SettingsSection.h"
#include "settings-ui/SettingsToggleRow.h"

#include <QVBoxLayout>

QString PreferencesDetailView::launchAtLoginExplanation() {
    return platformText(PlatformText::launchAtLoginExplanation);
}

PreferencesDetailView::PreferencesDetailView(const SettingsStores& stores, QWidget* parent)
    : QScrollArea(parent)
    , m_revealCreated(new SettingsToggleRow(QStringLiteral("checkmark.circle"), tr("创建后定位新项目"),
                                            platformText(PlatformText::revealCreatedExplanation)))
    , m_revealResults(new SettingsToggleRow(QStringLiteral("folder"), tr("处理后定位结果"),
                                            platformText(PlatformText::revealResultsExplanation)))
    , m_notifyFailures(new SettingsToggleRow(QStringLiteral("bell"), tr("操作失败时显示通知"),
                                             tr("右键操作没能完成时，在桌面通知里说明原因。")))
    , m_launchAtLogin(
          new SettingsToggleRow(QStringLiteral("power"), tr("登录时启动"), launchAtLoginExplanation()))
    , m_grouping(new SettingsToggleRow(QStringLiteral("contextualmenu.and.cursorarrow"),
                                       tr("放入 Kestro 菜单"),
                                       tr("开启后，所有功能都收在右键菜单的一个 Kestro 子菜单里。")))
    , m_collapsed(new SettingsToggleRow(
          QStringLiteral("rectangle.stack"), tr("折叠一级功能"),
          tr("开启后，右键菜单会先显示一级功能目录；关闭后，会直接展开显示所有具体操作。"))) {
    setObjectName(QStringLiteral("preferences"));
    QVBoxLayout* layout =
        DetailPage::begin(this, new DetailHeader(QStringLiteral("gearshape"), tr("偏好设置"),
                                                 platformText(PlatformText::preferencesSummary)));

    auto* behaviour = new SettingsSection(tr("操作之后"));
    behaviour->addRow(m_revealCreated);
    behaviour->addRow(m_revealResults);
    behaviour->addRow(m_notifyFailures);
    layout->addWidget(behaviour);
    auto* startup = new SettingsSection(tr("启动"));
    startup->addRow(m_launchAtLogin);
    layout->addWidget(startup);
    auto* menu = new SettingsSection(tr("右键菜单"));
    menu->addRow(m_grouping);
    menu->addRow(m_collapsed);
    layout->addWidget(menu);
    m_fileManagers = new FileManagerIntegrationSection;
    layout->addWidget(m_fileManagers);
    DetailPage::finish(this, layout);

    AppPreferencesStore& preferences = stores.appPreferences;
    FeatureSettingsStore& settings = stores.featureSettings;
    m_revealCreated->setChecked(preferences.revealCreatedItems());
    m_revealResults->setChecked(preferences.revealActionResults());
    m_launchAtLogin->setChecked(preferences.launchAtLogin());
    m_notifyFailures->setChecked(preferences.showsFailureNotifications());
    m_grouping->setChecked(settings.groupsFeaturesUnderKestro());
    m_collapsed->setChecked(settings.menuLayout() == FinderMenuLayout::collapsed);

    connect(m_revealCreated, &SettingsToggleRow::toggled, &preferences,
            &AppPreferencesStore::setRevealCreatedItems);
    connect(m_revealResults, &SettingsToggleRow::toggled, &preferences,
            &AppPreferencesStore::setRevealActionResults);
    connect(m_launchAtLogin, &SettingsToggleRow::toggled, &preferences,
            &AppPreferencesStore::setLaunchAtLogin);
    connect(m_notifyFailures, &SettingsToggleRow::toggled, &preferences,
            &AppPreferencesStore::setShowsFailureNotifications);
    connect(m_grouping, &SettingsToggleRow::toggled, &settings,
            &FeatureSettingsStore::setGroupsFeaturesUnderKestro);
    connect(m_collapsed, &SettingsToggleRow::toggled, &settings, [&settings](bool on) {
        settings.setMenuLayout(on ? FinderMenuLayout::collapsed : FinderMenuLayout::expanded);
    });

    // The store has the last word: a change the system refused flips the switch back.
    connect(&preferences, &AppPreferencesStore::revealCreatedItemsChanged, m_revealCreated,
            &SettingsToggleRow::setChecked);
    connect(&preferences, &AppPreferencesStore::revealActionResultsChanged, m_revealResults,
            &SettingsToggleRow::setChecked);
    connect(&preferences, &AppPreferencesStore::launchAtLoginChanged, m_launchAtLogin, [this](bool on) {
        m_launchAtLogin->setChecked(on);
        m_launchAtLogin->setNote({});
    });
    connect(&preferences, &AppPreferencesStore::launchAtLoginRefused, m_launchAtLogin,
            [this](const QString& reason) {
                m_launchAtLogin->setNote(tr("没能设置登录时启动：%1").arg(reason));
            });
    connect(&preferences, &AppPreferencesStore::showsFailureNotificationsChanged, m_notifyFailures,
            &SettingsToggleRow::setChecked);
    connect(&settings, &FeatureSettingsStore::groupsFeaturesUnderKestroChanged, m_grouping,
            &SettingsToggleRow::setChecked);
    connect(
        &settings, &FeatureSettingsStore::menuLayoutChanged, m_collapsed,
        [this](FinderMenuLayout layout) { m_collapsed->setChecked(layout == FinderMenuLayout::collapsed); });
}
