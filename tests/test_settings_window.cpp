// The settings window against real stores in a private home: every switch and drag must reach the files.
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "intake/FeatureRequestMailer.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "settings-ui/CustomDestinationSection.h"
#include "settings-ui/CustomShortcutActionSection.h"
#include "settings-ui/FeatureChildListModel.h"
#include "settings-ui/FeatureChildrenSection.h"
#include "settings-ui/FeatureDetailView.h"
#include "settings-ui/FeatureRequestSheet.h"
#include "settings-ui/FeatureSidebarModel.h"
#include "settings-ui/FittedListView.h"
#include "settings-ui/PreferencesDetailView.h"
#include "settings-ui/ScheduledDeletionSection.h"
#include "settings-ui/SettingsContentView.h"
#include "settings-ui/SettingsRowDelegate.h"
#include "settings-ui/SettingsSidebar.h"
#include "settings-ui/SettingsToggleRow.h"
#include "settings-ui/ToggleSwitch.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionPersistence.h"
#include "stores/CustomShortcutActionStore.h"
#include "stores/FinderViewPresetStore.h"
#include "stores/ScheduledDeletionListStore.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <memory>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QListView>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QUrlQuery>

namespace {

// The stores and the window's content, built in the order the host builds them.
struct Window {
    FeatureSettingsStore featureSettings;
    CustomDestinationStore destinations;
    CustomShortcutActionStore customActions;
    FinderViewPresetStore presets;
    AppPreferencesStore preferences;
    ScheduledDeletionListStore deletions;
    std::unique_ptr<SettingsContentView> view;

    Window() {
        view = std::make_unique<SettingsContentView>(
            SettingsStores{featureSettings, preferences, destinations, customActions, presets, deletions});
        view->resize(860, 560);
        view->show();
    }
};

QVariantMap storedFeatureSettings() {
    const auto root = PropertyListFile::read(FeatureSettingsPersistence::applicationFileURL());
    return root ? root->toMap() : QVariantMap();
}

QStringList storedList(const char* key) {
    return storedFeatureSettings().value(QLatin1String(key)).toStringList();
}

// Clicks the switch drawn in a list row, as the user would.
void clickRowSwitch(QListView* list, int row) {
    const QRect rect = list->visualRect(list->model()->index(row, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, SettingsRowDelegate::switchRect(rect).center());
}

QStringList featureIDs(const QList<KestroFeature>& features) {
    QStringList ids;
    for (KestroFeature feature : features)
        ids.append(feature.id());
    return ids;
}

} // namespace

class TestSettingsWindow : public QObject {
    Q_OBJECT

private slots:
    void childSwitchOffAndOnRewritesTheSettingsFile() {
        TestEnvironment environment;
        Window window;
        FeatureDetailView* page = window.view->featurePage(KestroFeature::createFile);
        window.view->showPage(SettingsPage::of(KestroFeature::createFile));
        QListView* list = page->childrenSection()->listView();
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        const QString first = page->childrenSection()->model()->children().constFirst().actionID;
        QVERIFY(storedList("enabledChildIDs").contains(first));

        clickRowSwitch(list, 0);
        QVERIFY(!storedList("enabledChildIDs").contains(first));
        QVERIFY(!window.featureSettings.isChildEnabled(first));
        // The extension's copy follows byte for byte.
        QCOMPARE(readAll(FeatureSettingsPersistence::extensionFileURL()),
                 readAll(FeatureSettingsPersistence::applicationFileURL()));

        clickRowSwitch(list, 0);
        QVERIFY(storedList("enabledChildIDs").contains(first));
        QCOMPARE(list->model()->index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
        // The feature itself stays on throughout.
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("createFile")));
    }

    void allChildrenButtonSwitchesEveryChildButNotTheFeature() {
        TestEnvironment environment;
        Window window;
        FeatureChildrenSection* section =
            window.view->featurePage(KestroFeature::imageTools)->childrenSection();
        // Not every image action is on by default, so the button offers to turn them all on.
        QVERIFY(!section->allChildrenEnabled());
        QCOMPARE(section->allButton()->text(), QStringLiteral("全部开启"));
        section->allButton()->click();
        const QStringList enabled = storedList("enabledChildIDs");
        for (const QString& id : KestroFeature(KestroFeature::imageTools).childIDs())
            QVERIFY2(enabled.contains(id), qPrintable(id));
        QCOMPARE(section->allButton()->text(), QStringLiteral("全部关闭"));

        section->allButton()->click();
        const QStringList after = storedList("enabledChildIDs");
        for (const QString& id : KestroFeature(KestroFeature::imageTools).childIDs())
            QVERIFY2(!after.contains(id), qPrintable(id));
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("imageTools")));
        QCOMPARE(section->allButton()->text(), QStringLiteral("全部开启"));
    }

    void featureSwitchFollowsTheStore() {
        TestEnvironment environment;
        Window window;
        FeatureDetailView* page = window.view->featurePage(KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
        page->enableRow()->toggle()->click();
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("developerTools")));
        // Turned on from elsewhere (the store), the switch shows it.
        window.featureSettings.setEnabled(false, KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
    }

    void draggingAFeatureReordersTheStoreAndKeepsTheSelectedPage() {
        TestEnvironment environment;
        Window window;
        FeatureSidebarModel* model = window.view->sidebar()->model();
        const QList<KestroFeature> before = window.featureSettings.orderedFeatures();
        const KestroFeature selected = before.at(2);
        const KestroFeature dragged = before.at(5);
        window.view->showPage(SettingsPage::of(selected));
        QCOMPARE(window.view->currentDetail(), window.view->featurePage(selected));

        // Drag the sixth feature to the top, as the list view does on a drop.
        QVERIFY(model->moveRows({}, 5, 1, {}, 0));
        const QList<KestroFeature> after = window.featureSettings.orderedFeatures();
        QCOMPARE(after.constFirst(), dragged);
        QCOMPARE(storedList("featureOrder"), featureIDs(after));
        QCOMPARE(storedList("featureOrder").at(0), dragged.id());
        // The selection went along with its feature, and the page did not change.
        QCOMPARE(window.view->currentPage(), SettingsPage::of(selected));
        QCOMPARE(window.view->currentDetail(), window.view->featurePage(selected));
        const QModelIndex current = window.view->sidebar()->featureList()->currentIndex();
        QCOMPARE(model->feature(current.row()), std::optional<KestroFeature>(selected));
        QCOMPARE(current.row(), 3);

        // A drop onto its own place moves nothing and writes nothing.
        const QByteArray file = readAll(FeatureSettingsPersistence::applicationFileURL());
        QVERIFY(!model->moveRows({}, 3, 1, {}, 4));
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), file);

        // Dragging the selected feature itself to the end keeps it selected too.
        QVERIFY(model->moveRows({}, 3, 1, {}, model->rowCount()));
        QCOMPARE(window.featureSettings.orderedFeatures().constLast(), selected);
        QCOMPARE(window.view->sidebar()->featureList()->currentIndex().row(), model->rowCount() - 1);
        QCOMPARE(window.view->currentPage(), SettingsPage::of(selected));
    }

    void draggingAChildReordersThatFeaturesChildren() {
        TestEnvironment environment;
        Window window;
        FeatureChildListModel* model =
            window.view->featurePage(KestroFeature::archiveTools)->childrenSection()->model();
        const QString last = model->children().constLast().actionID;
        QVERIFY(model->moveRows({}, model->rowCount() - 1, 1, {}, 0));
        QCOMPARE(model->children().constFirst().actionID, last);
        const QVariantMap orders =
            storedFeatureSettings().value(QStringLiteral("childOrderByFeatureID")).toMap();
        QCOMPARE(orders.value(QStringLiteral("archiveTools")).toStringList().constFirst(), last);
    }

    void preferenceSwitchesSaveAtOnce() {
        TestEnvironment environment;
        Window window;
        PreferencesDetailView* page = window.view->preferencesPage();
        page->revealCreatedItemsRow()->toggle()->click();
        QVERIFY(AppPreferencesPersistence::load().revealCreatedItems);
        page->revealActionResultsRow()->toggle()->click();
        QVERIFY(!AppPreferencesPersistence::load().revealActionResults);

        page->groupingRow()->toggle()->click();
        QCOMPARE(storedFeatureSettings().value(QStringLiteral("groupsFeaturesUnderKestro")).toBool(), true);
        QVERIFY(page->collapsedLayoutRow()->toggle()->isChecked());
        page->collapsedLayoutRow()->toggle()->click();
        QCOMPARE(storedFeatureSettings().value(QStringLiteral("menuLayout")).toString(),
                 QStringLiteral("expanded"));
    }

    void launchAtLoginThatTheSystemRefusesFlipsBack() {
        TestEnvironment environment;
        FakePlatform::loginItems().refuses = true;
        Window window;
        SettingsToggleRow* row = window.view->preferencesPage()->launchAtLoginRow();
        row->toggle()->click();
        QVERIFY(!row->toggle()->isChecked());
        QVERIFY(!window.preferences.launchAtLogin());
        FakePlatform::loginItems().refuses = false;
        row->toggle()->click();
        QVERIFY(row->toggle()->isChecked());
        QVERIFY(FakePlatform::loginItems().enabled);
        QVERIFY(AppPreferencesPersistence::load().launchAtLogin);
    }

    void settingsFileDeletedOrDamagedBehindTheWindowsBack() {
        TestEnvironment environment;
        // A damaged file at start: the window shows the defaults.
        environment.writeFile(FeatureSettingsPersistence::applicationFileURL(), "<plist><dict><key>");
        Window window;
        QCOMPARE(window.view->sidebar()->model()->rowCount(), 14);

        // Deleted while the window is open: the next switch writes it again from what the store holds.
        QVERIFY(QFile::remove(FeatureSettingsPersistence::applicationFileURL()));
        FeatureChildrenSection* section =
            window.view->featurePage(KestroFeature::copyPath)->childrenSection();
        window.view->showPage(SettingsPage::of(KestroFeature::copyPath));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        clickRowSwitch(section->listView(), 1);
        QVERIFY(QFile::exists(FeatureSettingsPersistence::applicationFileURL()));
        QVERIFY(!storedList("enabledChildIDs").contains(section->model()->children().at(1).actionID));
        QCOMPARE(storedList("featureOrder").size(), 14);

        // Replaced by garbage: the window keeps what the store holds and the next change repairs the file.
        environment.writeFile(FeatureSettingsPersistence::applicationFileURL(), "not a property list");
        window.view->featurePage(KestroFeature::copyPath)->enableRow()->toggle()->click();
        QVERIFY(!storedList("enabledFeatureIDs").contains(QStringLiteral("copyPath")));
    }

    void everyPageOpensAndShowsItsOwnList() {
        TestEnvironment environment;
        Window window;
        for (KestroFeature feature : KestroFeature::allCases()) {
            window.view->showPage(SettingsPage::of(feature));
            FeatureDetailView* page = window.view->featurePage(feature);
            QCOMPARE(window.view->currentDetail(), page);
            const bool hasList =
                feature == KestroFeature::copyFile || feature == KestroFeature::organizeFile ||
                feature == KestroFeature::quickOpen || feature == KestroFeature::openWith ||
                feature == KestroFeature::customActions || feature == KestroFeature::viewOptions ||
                feature == KestroFeature::scheduledDeletion;
            QCOMPARE(page->userSection() != nullptr, hasList);
            QCOMPARE(page->childrenSection() != nullptr, !feature.children().isEmpty());
        }
        window.view->showPage(SettingsPage::preferences());
        QCOMPARE(window.view->currentDetail(), window.view->preferencesPage());
    }

    void emptyListsSayWhyTheyAreEmpty() {
        TestEnvironment environment;
        Window window;
        auto* custom = qobject_cast<CustomShortcutActionSection*>(
            window.view->featurePage(KestroFeature::customActions)->userSection());
        QVERIFY(custom);
        window.view->showPage(SettingsPage::of(KestroFeature::customActions));
        QStringList texts;
        for (QLabel* label : custom->findChildren<QLabel*>())
            if (label->isVisible())
                texts.append(label->text());
        QVERIFY(texts.contains(QStringLiteral("还没有自定义动作")));
        QVERIFY(texts.contains(QStringLiteral("添加已有快捷指令或扩展后，它会出现在 Finder 右键菜单里。")));

        auto* deletions = qobject_cast<ScheduledDeletionSection*>(
            window.view->featurePage(KestroFeature::scheduledDeletion)->userSection());
        QVERIFY(deletions);
        window.view->showPage(SettingsPage::of(KestroFeature::scheduledDeletion));
        QCOMPARE(deletions->titleLabel()->text(), QStringLiteral("等待清理的文件"));
        texts.clear();
        for (QLabel* label : deletions->findChildren<QLabel*>())
            if (label->isVisible())
                texts.append(label->text());
        QVERIFY(texts.contains(QStringLiteral("暂无定时清理项目")));
    }

    void scheduledDeletionCanBeCancelledFromThePage() {
        TestEnvironment environment;
        const QString keep = environment.writeFile(QStringLiteral("files/keep me.txt"), "a");
        const QString cancel = environment.writeFile(QStringLiteral("files/cancel me.txt"), "b");
        ScheduledDeletionStore::schedule({keep}, 3600);
        ScheduledDeletionStore::schedule({cancel}, 60);
        Window window;
        auto* section = qobject_cast<ScheduledDeletionSection*>(
            window.view->featurePage(KestroFeature::scheduledDeletion)->userSection());
        QCOMPARE(section->model()->rowCount(), 2);
        // Earliest first: the one due in a minute.
        QCOMPARE(section->model()->rows().at(0).title, QStringLiteral("cancel me.txt"));
        section->listView()->setCurrentIndex(section->model()->index(0));
        QPushButton* cancelButton = nullptr;
        for (QPushButton* button : section->findChildren<QPushButton*>())
            if (button->text() == QStringLiteral("取消清理"))
                cancelButton = button;
        QVERIFY(cancelButton && cancelButton->isEnabled());
        cancelButton->click();
        QTRY_COMPARE(section->model()->rowCount(), 1);
        const QList<ScheduledDeletionItem> left = ScheduledDeletionStore::items();
        QCOMPARE(left.size(), 1);
        QCOMPARE(left.constFirst().path, keep);
        QVERIFY(QFile::exists(cancel)); // cancelling never touches the file
    }

    void destinationWhoseFolderVanishedIsShownWithAWarning() {
        TestEnvironment environment;
        const QString folder = environment.makeFolder(QStringLiteral("a folder with a very long name ") +
                                                      QString(70, QChar(0x6587)));
        Window window;
        QVERIFY(window.destinations.addDestinationPath(CustomDestinationKind::copy, folder));
        auto* section = qobject_cast<CustomDestinationSection*>(
            window.view->featurePage(KestroFeature::copyFile)->userSection());
        QVERIFY(section);
        window.view->showPage(SettingsPage::of(KestroFeature::copyFile));
        const int row = section->model()->rowCount() - 1;
        QVERIFY(!section->model()->rows().at(row).warning);
        QVERIFY(QDir(folder).removeRecursively());
        // The store is unchanged; the row says the folder is gone the next time the list is read.
        section->reload();
        QVERIFY(section->model()->rows().at(row).warning);
        QVERIFY(section->model()->rows().at(row).subtitle.contains(folder));
        // Paths under the home folder read from "~"; a sibling that merely starts alike does not.
        QCOMPARE(UserListModel::displayPath(environment.home() + QStringLiteral("/Downloads/a b")),
                 QStringLiteral("~/Downloads/a b"));
        QCOMPARE(UserListModel::displayPath(environment.home() + QStringLiteral("2/x")),
                 environment.home() + QStringLiteral("2/x"));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        section->listView()->repaint(); // the long name is elided, not a crash

        // Removing the selected row removes exactly that entry from the file.
        const int before = int(window.destinations.destinations(CustomDestinationKind::copy).size());
        section->listView()->setCurrentIndex(section->model()->index(row));
        for (QPushButton* button : section->findChildren<QPushButton*>())
            if (button->text() == QStringLiteral("移除"))
                button->click();
        QCOMPARE(window.destinations.destinations(CustomDestinationKind::copy).size(), before - 1);
        QCOMPARE(section->model()->rowCount(), before - 1);
    }

    void customActionRenamedInPlace() {
        TestEnvironment environment;
        const QString script = environment.writeFile(QStringLiteral("scripts/tidy.sh"), "#!/bin/sh\n");
        Window window;
        QVERIFY(window.customActions.addScript(script));
        auto* section = qobject_cast<CustomShortcutActionSection*>(
            window.view->featurePage(KestroFeature::customActions)->userSection());
        QCOMPARE(section->model()->rowCount(), 1);
        QVERIFY(
            section->model()->setData(section->model()->index(0), QStringLiteral("  整理 \n"), Qt::EditRole));
        QCOMPARE(CustomShortcutActionPersistence::load().constFirst().name, QStringLiteral("整理"));
        QCOMPARE(section->model()->rows().constFirst().title, QStringLiteral("整理"));
    }

    void featureRequestSheetOpensAPrefilledMail() {
        TestEnvironment environment;
        FeatureRequestSheet sheet;
        QVERIFY(!sheet.submitButton()->isEnabled());
        sheet.editor()->setPlainText(QStringLiteral("  \n "));
        QVERIFY(!sheet.submitButton()->isEnabled());
        sheet.submit();
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());

        const QString wish = QStringLiteral("批量加水印 & 压缩\n第二行");
        sheet.editor()->setPlainText(wish);
        QVERIFY(sheet.submitButton()->isEnabled());
        sheet.submitButton()->click();
        QCOMPARE(FakePlatform::workspace().openedUrls.size(), 1);
        const QUrl mail = FakePlatform::workspace().openedUrls.constFirst();
        QCOMPARE(mail.scheme(), QStringLiteral("mailto"));
        QCOMPARE(mail, FeatureRequestMailer::mailURL(wish));
        QVERIFY(QUrlQuery(mail).queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded).contains(wish));
    }

    void sidebarOffersPreferencesAndTheFeatureRequest() {
        TestEnvironment environment;
        Window window;
        SettingsSidebar* sidebar = window.view->sidebar();
        const QStringList expected = featureIDs(window.featureSettings.orderedFeatures());
        QStringList shown;
        for (int row = 0; row < sidebar->model()->rowCount(); ++row)
            shown.append(sidebar->model()->feature(row)->id());
        QCOMPARE(shown, expected);
        QCOMPARE(sidebar->model()->index(0).data().toString(),
                 window.featureSettings.orderedFeatures().at(0).title());
        QStringList brand;
        for (QLabel* label : sidebar->findChildren<QLabel*>())
            brand.append(label->text());
        QVERIFY(brand.contains(QStringLiteral("Finder 右键菜单")));

        QListWidget* extras = sidebar->extraList();
        QCOMPARE(extras->item(0)->text(), QStringLiteral("偏好设置"));
        QCOMPARE(extras->item(1)->text(), QStringLiteral("请求新功能"));
        emit extras->itemClicked(extras->item(0));
        QVERIFY(window.view->currentPage().isPreferences());
        emit extras->itemClicked(extras->item(1));
        // The sheet opens over the page, which stays selected.
        QVERIFY(window.view->currentPage().isPreferences());
        auto* sheet = window.view->window()->findChild<FeatureRequestSheet*>();
        QVERIFY(sheet && sheet->isVisible());
        sheet->reject();
    }
};

QTEST_MAIN(TestSettingsWindow)
#include "test_settings_window.moc"
