// The settings window against real stores in a private home: every switch and drag must reach the files.
#include "app/WidgetPrompts.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "intake/FeatureRequestMailer.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "platform/ShortcutsTool.h"
#include "settings-ui/CustomDestinationSection.h"
#include "settings-ui/CustomShortcutActionSection.h"
#include "settings-ui/FeatureChildListModel.h"
#include "settings-ui/FeatureChildrenSection.h"
#include "settings-ui/FeatureDetailView.h"
#include "settings-ui/FeatureRequestSheet.h"
#include "settings-ui/FeatureSidebarModel.h"
#include "settings-ui/FinderViewPresetSection.h"
#include "settings-ui/FittedListView.h"
#include "settings-ui/PreferencesDetailView.h"
#include "settings-ui/ScheduledDeletionSection.h"
#include "settings-ui/SettingsContentView.h"
#include "settings-ui/SettingsRowDelegate.h"
#include "settings-ui/SettingsSidebar.h"
#include "settings-ui/SettingsToggleRow.h"
#include "settings-ui/ToggleSwitch.h"
#include "stores/CustomDestinationPersistence.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionPersistence.h"
#include "stores/CustomShortcutActionStore.h"
#include "stores/FinderViewPresetPersistence.h"
#include "stores/FinderViewPresetStore.h"
#include "stores/ScheduledDeletionListStore.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/FakePlatform.h"
#include "support/ModalAnswer.h"
#include "support/TestEnvironment.h"

#include <memory>
#include <QComboBox>
#include <QDir>
#include <QDrag>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QListView>
#include <QListWidget>
#include <QMouseEvent>
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

// Clicks a widget at its middle, scrolled into view first when it sits in a scrolling page.
void clickWidget(QWidget* widget) {
    for (QWidget* parent = widget->parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto* page = qobject_cast<QScrollArea*>(parent)) {
            page->ensureWidgetVisible(widget);
            break;
        }
    }
    QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
}

// Chooses a row of a list with a click on its text, away from its handle and switch.
void clickRow(QListView* list, int row) {
    const QRect rect = list->visualRect(list->model()->index(row, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      QPoint(rect.left() + rect.width() / 3, rect.center().y()));
}

QPushButton* buttonNamed(QWidget* parent, const QString& text) {
    for (QPushButton* button : parent->findChildren<QPushButton*>())
        if (button->text() == text && button->isVisible())
            return button;
    return nullptr;
}

// The drags a view has started since the last look: Qt makes each QDrag a child of its source and deletes
// it only when the event loop comes round again.
int dragsStartedBy(QObject* view) {
    const QList<QDrag*> drags = view->findChildren<QDrag*>(Qt::FindDirectChildrenOnly);
    for (QDrag* drag : drags)
        delete drag;
    return int(drags.size());
}

// Presses at from, moves past the drag distance to to, and releases, as a hand on the mouse would.
void pressMoveRelease(QListView* list, QPoint from, QPoint to) {
    QWidget* viewport = list->viewport();
    QTest::mousePress(viewport, Qt::LeftButton, {}, from);
    // QTest::mouseMove of this Qt sends moves without the held button, so the moves are sent as the
    // window system would deliver them.
    const QPoint step = (to - from) / 4;
    for (int index = 1; index <= 4; ++index) {
        const QPoint at = from + step * index;
        QMouseEvent move(QEvent::MouseMove, at, viewport->mapToGlobal(at), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(viewport, &move);
    }
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
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

    void childRowChangesOnlyAtItsSwitch() {
        TestEnvironment environment;
        Window window;
        window.view->showPage(SettingsPage::of(KestroFeature::createFile));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        FeatureChildrenSection* section =
            window.view->featurePage(KestroFeature::createFile)->childrenSection();
        QListView* list = section->listView();
        const QString first = section->model()->children().constFirst().actionID;
        const QByteArray before = readAll(FeatureSettingsPersistence::applicationFileURL());
        const QRect row = list->visualRect(list->model()->index(0, 0));

        // The handle, the title, the blank middle: clicked, double-clicked, pressed and held.
        const QPoint handle = SettingsRowDelegate::handleRect(row).center();
        const QPoint title(row.left() + row.width() / 3, row.center().y());
        const QPoint blank(SettingsRowDelegate::switchRect(row).left() - 20, row.top() + 3);
        for (const QPoint& point : {handle, title, blank}) {
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, point);
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, point);
        }
        QVERIFY(window.featureSettings.isChildEnabled(first));
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), before);

        // The switch flips it, with the mouse and with the space bar on the current row.
        clickRowSwitch(list, 0);
        QVERIFY(!window.featureSettings.isChildEnabled(first));
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::keyClick(list, Qt::Key_Space);
        QVERIFY(window.featureSettings.isChildEnabled(first));
        QVERIFY(storedList("enabledChildIDs").contains(first));
    }

    void childRowDragsFromItsHandleOnly() {
        TestEnvironment environment;
        Window window;
        window.view->showPage(SettingsPage::of(KestroFeature::createFile));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        QListView* list = window.view->featurePage(KestroFeature::createFile)->childrenSection()->listView();
        const QRect first = list->visualRect(list->model()->index(0, 0));
        const QRect third = list->visualRect(list->model()->index(2, 0));
        dragsStartedBy(list);
        const QStringList enabled = storedList("enabledChildIDs");

        // From the middle of the row: no drag.
        pressMoveRelease(list, QPoint(first.center().x(), first.center().y()),
                         QPoint(third.center().x(), third.center().y()));
        QCOMPARE(dragsStartedBy(list), 0);
        // From the handle: a drag starts, and nothing is switched on the way.
        pressMoveRelease(list, SettingsRowDelegate::handleRect(first).center(),
                         SettingsRowDelegate::handleRect(third).center());
        QCOMPARE(dragsStartedBy(list), 1);
        QCOMPARE(storedList("enabledChildIDs"), enabled);
    }

    void twoLineRowsAreAsTallAsTheirText() {
        TestEnvironment environment;
        Window window;
        window.view->showPage(SettingsPage::of(KestroFeature::createFile));
        QListView* list = window.view->featurePage(KestroFeature::createFile)->childrenSection()->listView();
        for (int pixels : {12, 40}) {
            QFont font = list->font();
            font.setPixelSize(pixels);
            list->setFont(font);
            list->doItemsLayout();
            QFont bold = font;
            bold.setBold(true);
            const int text = QFontMetrics(bold).height() + QFontMetrics(font).height();
            const int height = list->visualRect(list->model()->index(0, 0)).height();
            QVERIFY2(height >= text + 8,
                     qPrintable(QStringLiteral("%1 px rows for %2 px of text").arg(height).arg(text)));
            // Chinese from a fallback face makes a line up to a third taller than the font's own metrics.
            QVERIFY2(height <= text * 3 / 2 + 20, qPrintable(QString::number(height)));
        }
    }

    void everyAddButtonOpensItsPanelAndAddsTheChoice() {
        TestEnvironment environment;
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        Window window;

        // 添加常用路径: a folder, through the folder panel.
        const QString folder = environment.makeFolder(QStringLiteral("常用 夹 'x'"));
        window.view->showPage(SettingsPage::of(KestroFeature::copyFile));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        QWidget* copy = window.view->featurePage(KestroFeature::copyFile)->userSection();
        ModalAnswer folderPanel([&](QWidget* dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("选择要添加到“复制到文件夹”的文件夹"));
            Modal::typeIntoFilePanel(dialog, folder);
        });
        clickWidget(buttonNamed(copy, QStringLiteral("添加常用路径")));
        QCOMPARE(folderPanel.answered(), 1);
        const auto copies = CustomDestinationPersistence::load()->value(QStringLiteral("copy"));
        QCOMPARE(copies.constLast().path, folder);
        QCOMPARE(copies.constLast().name, QStringLiteral("常用 夹 'x'"));

        // 添加应用: the installed applications by name and icon (hidden ones left out), then a desktop entry
        // chosen there, named by its Name key.
        const QString iconPath = environment.root() + QStringLiteral("/viewer.png");
        QImage(16, 16, QImage::Format_RGB32).save(iconPath);
        const QString entry =
            KestroPaths::applicationsDirectory() + QStringLiteral("/org.example.Viewer.desktop");
        QVERIFY(QDir().mkpath(KestroPaths::applicationsDirectory()));
        for (const auto& [path, text] :
             {std::pair{entry, "Name=Viewer\nName[zh_CN]=看图\nIcon=" + iconPath.toUtf8() + '\n'},
              std::pair{entry + QStringLiteral(".hidden.desktop"),
                        QByteArray("Name=藏起来\nNoDisplay=true\n")}}) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("[Desktop Entry]\nType=Application\nExec=true\n" + text);
        }
        window.view->showPage(SettingsPage::of(KestroFeature::openWith));
        QWidget* apps = window.view->featurePage(KestroFeature::openWith)->userSection();
        ModalAnswer applicationPanel([&](QWidget* dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("选择常用应用"));
            auto* list = dialog->findChild<QListWidget*>();
            const QList<QListWidgetItem*> found = list->findItems(QStringLiteral("看图"), Qt::MatchExactly);
            QCOMPARE(found.size(), 1);
            QVERIFY(!found.constFirst()->icon().isNull());
            QVERIFY(list->findItems(QStringLiteral("藏起来"), Qt::MatchExactly).isEmpty());
            list->setCurrentItem(found.constFirst());
            Modal::click(Modal::button(dialog, QStringLiteral("添加")));
        });
        clickWidget(buttonNamed(apps, QStringLiteral("添加应用")));
        QCOMPARE(applicationPanel.answered(), 1);
        const auto applications =
            CustomDestinationPersistence::load()->value(QStringLiteral("openApplication"));
        QCOMPARE(applications.constLast().path, entry);
        QCOMPARE(applications.constLast().name, QStringLiteral("看图"));

        // 添加脚本: a file, starting in the home folder.
        const QString script = environment.writeFile(QStringLiteral("home/整理 照片.sh"), "#!/bin/sh\n");
        window.view->showPage(SettingsPage::of(KestroFeature::customActions));
        QWidget* custom = window.view->featurePage(KestroFeature::customActions)->userSection();
        ModalAnswer scriptPanel([&](QWidget* dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("选择扩展脚本"));
            QCOMPARE(QDir(qobject_cast<QFileDialog*>(dialog)->directory()).canonicalPath(),
                     QDir(environment.home()).canonicalPath());
            Modal::typeIntoFilePanel(dialog, QStringLiteral("整理 照片.sh"));
        });
        clickWidget(buttonNamed(custom, QStringLiteral("添加脚本")));
        QCOMPARE(scriptPanel.answered(), 1);
        QCOMPARE(CustomShortcutActionPersistence::load().constLast().scriptPath, script);
        QCOMPARE(CustomShortcutActionPersistence::load().constLast().name, QStringLiteral("整理 照片"));

        // 添加快捷指令: the picker lists what the shortcuts tool lists (a stand-in tool here: this system has
        // none) and takes the chosen name.
        const QString tool = environment.writeFile(QStringLiteral("bin/shortcuts"),
                                                   "#!/bin/sh\nprintf '压缩图片\\n  Rename All \\n\\n'\n");
        QFile::setPermissions(tool, QFile::permissions(tool) | QFileDevice::ExeOwner);
        ShortcutsTool::setExecutablePath(tool);
        ModalAnswer picker([&](QWidget* dialog) {
            auto* box = dialog->findChild<QComboBox*>();
            QCOMPARE(box->count(), 2);
            box->lineEdit()->selectAll();
            Modal::type(box->lineEdit(), QStringLiteral("Ren"));
            Modal::click(Modal::button(dialog, QStringLiteral("添加")));
        });
        clickWidget(buttonNamed(custom, QStringLiteral("添加快捷指令")));
        ShortcutsTool::resetExecutablePath();
        QCOMPARE(picker.answered(), 1);
        const CustomShortcutAction added = CustomShortcutActionPersistence::load().constLast();
        QCOMPARE(added.kind, CustomShortcutAction::Kind::shortcut);
        QCOMPARE(added.shortcutName, QStringLiteral("Rename All"));
        QCOMPARE(window.customActions.actions().size(), 2);

        // Cancelling a panel adds nothing.
        ModalAnswer cancel([](QWidget* dialog) { Modal::cancel(dialog); });
        clickWidget(buttonNamed(custom, QStringLiteral("添加脚本")));
        QCOMPARE(cancel.answered(), 1);
        QCOMPARE(window.customActions.actions().size(), 2);
    }

    void presetSectionAddsEditsAndRemovesThroughItsControls() {
        TestEnvironment environment;
        Window window;
        window.view->showPage(SettingsPage::of(KestroFeature::viewOptions));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        auto* section = qobject_cast<FinderViewPresetSection*>(
            window.view->featurePage(KestroFeature::viewOptions)->userSection());
        QVERIFY(section);
        QCOMPARE(window.presets.presets().size(), 3);

        clickWidget(buttonNamed(section, QStringLiteral("添加显示方案")));
        QCOMPARE(FinderViewPresetPersistence::load()->size(), 4);
        const QString id = window.presets.presets().constLast().id;
        QVERIFY(section->nameField()->isVisible());
        QCOMPARE(section->nameField()->text(), QStringLiteral("列表 · 按修改日期"));

        // Another sort, chosen with the keyboard: the automatic name follows it.
        section->sortBox()->setFocus();
        QTest::keyClick(section->sortBox(), Qt::Key_Down);
        FinderViewPreset stored = FinderViewPresetPersistence::preset(id).value();
        QCOMPARE(stored.sortMode, FinderSortMode::creationDate);
        QCOMPARE(stored.name, QStringLiteral("列表 · 按创建日期"));

        // A typed name is kept through later changes; an emptied one is put back.
        section->nameField()->setFocus();
        section->nameField()->selectAll();
        Modal::type(section->nameField(), QStringLiteral("我的 \"方案\""));
        QTest::keyClick(section->nameField(), Qt::Key_Return);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, QStringLiteral("我的 \"方案\""));
        section->viewBox()->setFocus();
        QTest::keyClick(section->viewBox(), Qt::Key_Down);
        stored = FinderViewPresetPersistence::preset(id).value();
        QCOMPARE(stored.viewMode, FinderViewMode::column);
        QCOMPARE(stored.name, QStringLiteral("我的 \"方案\""));
        section->nameField()->setFocus();
        section->nameField()->selectAll();
        QTest::keyClick(section->nameField(), Qt::Key_Backspace);
        QTest::keyClick(section->nameField(), Qt::Key_Return);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, QStringLiteral("我的 \"方案\""));
        QCOMPARE(section->nameField()->text(), QStringLiteral("我的 \"方案\""));

        // 移除 takes the selected preset away, and only that one.
        clickWidget(buttonNamed(section, QStringLiteral("移除")));
        QCOMPARE(FinderViewPresetPersistence::load()->size(), 3);
        QVERIFY(!FinderViewPresetPersistence::preset(id));
    }

    void allChildrenButtonSwitchesEveryChildButNotTheFeature() {
        TestEnvironment environment;
        Window window;
        FeatureChildrenSection* section =
            window.view->featurePage(KestroFeature::imageTools)->childrenSection();
        window.view->showPage(SettingsPage::of(KestroFeature::imageTools));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        // Not every image action is on by default, so the button offers to turn them all on.
        QVERIFY(!section->allChildrenEnabled());
        QCOMPARE(section->allButton()->text(), QStringLiteral("全部开启"));
        clickWidget(section->allButton());
        const QStringList enabled = storedList("enabledChildIDs");
        for (const QString& id : KestroFeature(KestroFeature::imageTools).childIDs())
            QVERIFY2(enabled.contains(id), qPrintable(id));
        QCOMPARE(section->allButton()->text(), QStringLiteral("全部关闭"));

        clickWidget(section->allButton());
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
        window.view->showPage(SettingsPage::of(KestroFeature::developerTools));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        QVERIFY(!page->enableRow()->toggle()->isChecked());
        clickWidget(page->enableRow()->toggle());
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("developerTools")));
        // Turned on from elsewhere (the store), the switch shows it.
        window.featureSettings.setEnabled(false, KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
    }

    // The real drags are in test_settings_drag (under Xvfb); here the drop's effect on a selection that is
    // not the dragged row, and a drop that changes nothing.
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

    void preferenceSwitchesSaveAtOnce() {
        TestEnvironment environment;
        Window window;
        PreferencesDetailView* page = window.view->preferencesPage();
        clickWidget(page->revealCreatedItemsRow()->toggle());
        QVERIFY(AppPreferencesPersistence::load().revealCreatedItems);
        clickWidget(page->revealActionResultsRow()->toggle());
        QVERIFY(!AppPreferencesPersistence::load().revealActionResults);
        QVERIFY(page->failureNotificationsRow()->toggle()->isChecked());
        clickWidget(page->failureNotificationsRow()->toggle());
        QVERIFY(!AppPreferencesPersistence::load().showsFailureNotifications);
        const QList<QLabel*> labels = page->failureNotificationsRow()->findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.cbegin(), labels.cend(), [](QLabel* label) {
            return label->text() == QStringLiteral("操作失败时显示通知");
        }));

        // Grouping is on by default.
        clickWidget(page->groupingRow()->toggle());
        QCOMPARE(storedFeatureSettings().value(QStringLiteral("groupsFeaturesUnderKestro")).toBool(), false);
        QVERIFY(page->collapsedLayoutRow()->toggle()->isChecked());
        clickWidget(page->collapsedLayoutRow()->toggle());
        QCOMPARE(storedFeatureSettings().value(QStringLiteral("menuLayout")).toString(),
                 QStringLiteral("expanded"));
    }

    void launchAtLoginThatTheSystemRefusesFlipsBack() {
        TestEnvironment environment;
        FakePlatform::loginItems().refuses = true;
        Window window;
        SettingsToggleRow* row = window.view->preferencesPage()->launchAtLoginRow();
        window.view->showPage(SettingsPage::preferences());
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        clickWidget(row->toggle());
        QVERIFY(!row->toggle()->isChecked());
        QVERIFY(!window.preferences.launchAtLogin());
        QVERIFY2(row->note().contains(QStringLiteral("login item refused")), qPrintable(row->note()));
        FakePlatform::loginItems().refuses = false;
        clickWidget(row->toggle());
        QVERIFY(row->toggle()->isChecked());
        QVERIFY(row->note().isEmpty());
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
        clickWidget(window.view->featurePage(KestroFeature::copyPath)->enableRow()->toggle());
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
        QVERIFY(texts.contains(QStringLiteral("添加脚本后，它会出现在文件管理器右键菜单里。")));

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
        window.view->showPage(SettingsPage::of(KestroFeature::scheduledDeletion));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        QPushButton* cancelButton = buttonNamed(section, QStringLiteral("取消清理"));
        QVERIFY(cancelButton && !cancelButton->isEnabled()); // nothing chosen yet
        clickRow(section->listView(), 0);
        QVERIFY(cancelButton->isEnabled());
        clickWidget(cancelButton);
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
        // The store is unchanged; the row follows the folder as it goes and comes back.
        QTRY_VERIFY(section->model()->rows().at(row).warning);
        QVERIFY(section->model()->rows().at(row).subtitle.contains(folder));
        QVERIFY(QDir().mkpath(folder));
        QTRY_VERIFY(!section->model()->rows().at(row).warning);
        QVERIFY(QDir(folder).removeRecursively());
        QTRY_VERIFY(section->model()->rows().at(row).warning);
        // Paths under the home folder read from "~"; a sibling that merely starts alike does not.
        QCOMPARE(UserListModel::displayPath(environment.home() + QStringLiteral("/Downloads/a b")),
                 QStringLiteral("~/Downloads/a b"));
        QCOMPARE(UserListModel::displayPath(environment.home() + QStringLiteral("2/x")),
                 environment.home() + QStringLiteral("2/x"));
        QVERIFY(QTest::qWaitForWindowExposed(window.view.get()));
        section->listView()->repaint(); // the long name is elided, not a crash

        // Removing the selected row removes exactly that entry from the file.
        const int before = int(window.destinations.destinations(CustomDestinationKind::copy).size());
        clickRow(section->listView(), row);
        clickWidget(buttonNamed(section, QStringLiteral("移除")));
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

        // No mail program: the sheet keeps the wish and copies it on request.
        FeatureRequestSheet unsent;
        unsent.show();
        unsent.editor()->setPlainText(wish);
        FakePlatform::workspace().openUrlSucceeds = false;
        unsent.submitButton()->click();
        QVERIFY(unsent.isVisible() && unsent.editor()->toPlainText() == wish);
        QVERIFY(unsent.notice()->text().contains(FeatureRequestMailer::supportAddress));
        unsent.copyButton()->click();
        QCOMPARE(FakePlatform::clipboard().contents, FeatureRequestMailer::mailBody(wish));
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
        QVERIFY(brand.contains(QStringLiteral("文件管理器右键菜单")));

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
