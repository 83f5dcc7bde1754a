// The settings window, every question of the widget prompts and the consent a link from another program
// needs, against real stores in a private home, opened for real and driven with the mouse and keyboard:
// every switch, button and drop must reach the files, every answer must come back as given.
#include "app/ConsentDialog.h"
#include "app/QtChineseTexts.h"
#include "app/WidgetPrompts.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "catalogue/KestroFeature.h"
#include "intake/FeatureRequestMailer.h"
#include "intake/FinderSelectionModel.h"
#include "platform/KestroPaths.h"
#include "platform/Platform.h"
#include "platform/PropertyListFile.h"
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
#include "support/KestroProcess.h"
#include "support/ModalAnswer.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDrag>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

using namespace Modal;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Runs what the user does once the dialog is up, from the event loop the dialog itself runs.
ModalAnswer whenDialogShows(std::function<void(ConsentDialog&)> user) {
    return ModalAnswer([user](QWidget* dialog) { user(*qobject_cast<ConsentDialog*>(dialog)); });
}

QPushButton* buttonOf(ConsentDialog& dialog, const char* name) {
    return dialog.findChild<QPushButton*>(QLatin1String(name));
}

// A link's request to copy a private file into a shared folder, with the real consent dialog to answer it.
struct Consent {
    TestEnvironment environment;
    FinderSelectionModel model;
    QString source = environment.writeFile(u"home/secret.txt"_qs, "s");
    QString destination = environment.makeFolder(u"shared"_qs);

    Consent() {
        saveQuietPreferences();
        Platform::setPrompts(std::make_shared<WidgetPrompts>(ConsentTiming{300ms, 5s}));
        model.setSettingsSource([] {
            FeatureSettings settings = FeatureSettingsDefaults::settings();
            for (const KestroFeature& feature : KestroFeature::allCases())
                settings.enabledFeatureIDs.insert(feature.id());
            return settings;
        });
    }
    QString request() const {
        return kestroActionURL(u"copyFilesToFolder"_qs, {source}, std::nullopt, destination);
    }
    bool copied() const { return QFile::exists(destination + u"/secret.txt"_qs); }
};

// The stores and the window's content, built in the order the host builds them, in a private home.
struct Window {
    TestEnvironment environment;
    FeatureSettingsStore featureSettings;
    CustomDestinationStore destinations;
    CustomShortcutActionStore customActions;
    FinderViewPresetStore presets;
    AppPreferencesStore preferences;
    ScheduledDeletionListStore deletions;
    SettingsContentView view{
        SettingsStores{featureSettings, preferences, destinations, customActions, presets, deletions}};

    Window() {
        view.resize(860, 560);
        view.show();
    }
    FeatureDetailView* open(KestroFeature feature) {
        view.showPage(SettingsPage::of(feature));
        QTest::qWaitForWindowExposed(&view);
        return view.featurePage(feature);
    }
    template <typename Section> Section* section(KestroFeature feature) {
        return qobject_cast<Section*>(open(feature)->userSection());
    }
};

QStringList storedList(const char* key) {
    const auto root = PropertyListFile::read(FeatureSettingsPersistence::applicationFileURL());
    return root ? root->toMap().value(QLatin1String(key)).toStringList() : QStringList();
}

QPoint switchOf(QRect row) {
    return SettingsRowDelegate::switchRect(row).center();
}
QPoint handleOf(QRect row) {
    return SettingsRowDelegate::handleRect(row).center();
}

// The drags a view has started since the last look: Qt makes each QDrag a child of its source.
int dragsStartedBy(QObject* view) {
    const QList<QDrag*> drags = view->findChildren<QDrag*>(Qt::FindDirectChildrenOnly);
    qDeleteAll(drags);
    return int(drags.size());
}

} // namespace

class TestWidgets : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { installQtChineseTexts(*QCoreApplication::instance()); }

    void promptsAnswerWhatWasTypedOrNothing() {
        WidgetPrompts prompts;
        const QString typed = u"  报告 \"最终\" 版 "_qs;
        ModalAnswer answer([&](QWidget* dialog) {
            QCOMPARE(QApplication::focusWidget(), dialog->findChild<QLineEdit*>());
            type(QApplication::focusWidget(), typed);
            click(button(dialog, u"确定"_qs));
        });
        QCOMPARE(prompts.promptText(u"添加前缀"_qs, u"在前面加的字。"_qs), std::optional<QString>(typed));
        ModalAnswer cancelled([](QWidget* dialog) {
            type(dialog->findChild<QLineEdit*>(), u"x"_qs);
            cancel(dialog);
        });
        QCOMPARE(prompts.promptText(u"a"_qs, u"b"_qs), std::nullopt);
        // Two fields, hinted inside, Tab between them.
        ModalAnswer resize([](QWidget* dialog) {
            const QList<QLineEdit*> fields = dialog->findChildren<QLineEdit*>();
            QCOMPARE(fields.at(0)->placeholderText() + fields.at(1)->placeholderText(), u"宽高"_qs);
            QCOMPARE(QApplication::focusWidget(), fields.at(0));
            type(fields.at(0), u"1024"_qs);
            QTest::keyClick(fields.at(0), Qt::Key_Tab);
            type(QApplication::focusWidget(), u"768"_qs);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        });
        QCOMPARE(prompts.promptTwoTexts(u"调整图片大小"_qs, u"例如 1024 x 768。"_qs, u"宽"_qs, u"高"_qs),
                 std::optional(std::pair(u"1024"_qs, u"768"_qs)));
        // Several lines of a wish.
        ModalAnswer request([](QWidget* dialog) {
            auto* editor = dialog->findChild<QPlainTextEdit*>();
            type(editor, u"批量加水印"_qs);
            QTest::keyClick(editor, Qt::Key_Return);
            type(editor, u"第二行"_qs);
            click(button(dialog, u"提交"_qs));
        });
        QCOMPARE(prompts.requestFeatureText(), std::optional(u"批量加水印\n第二行"_qs));
        QCOMPARE(answer.answered() + cancelled.answered() + resize.answered() + request.answered(), 4);
    }

    // "其他应用…" takes a desktop entry; a plain file is refused with a message naming it, the panel staying
    // open until the user gives up.
    void applicationPanelTakesDesktopEntriesAndRefusesOtherFiles() {
        TestEnvironment environment;
        WidgetPrompts prompts;
        const QString entry = environment.writeFile(u"apps/viewer.desktop"_qs, "x");
        const QString text = environment.writeFile(u"apps/notes.txt"_qs, "not an application");
        const OpenPanelRequest request{u"选择常用应用"_qs, u"添加"_qs, OpenPanelRequest::Choose::application,
                                       environment.root() + u"/apps"_qs};
        const auto throughOtherApplications = [](QWidget* picker, std::function<void(QWidget*)> panel) {
            ModalAnswer answer(std::move(panel), picker);
            click(button(picker, u"其他应用…"_qs));
        };
        ModalAnswer take([&](QWidget* picker) {
            throughOtherApplications(picker, [&](QWidget* dialog) { typeIntoFilePanel(dialog, entry); });
        });
        QCOMPARE(prompts.chooseItem(request), std::optional(entry));
        QString message;
        std::unique_ptr<ModalAnswer> warning;
        ModalAnswer refuse([&](QWidget* picker) {
            throughOtherApplications(picker, [&](QWidget* dialog) {
                warning = std::make_unique<ModalAnswer>(
                    [&](QWidget* box) {
                        message = qobject_cast<QMessageBox*>(box)->text();
                        QTest::keyClick(box, Qt::Key_Return);
                        QTimer::singleShot(50, dialog, [dialog] { cancel(dialog); });
                    },
                    dialog);
                typeIntoFilePanel(dialog, text);
            });
            cancel(picker);
        });
        QCOMPARE(prompts.chooseItem(request), std::nullopt);
        QVERIFY(warning && warning->answered() == 1);
        QVERIFY(message.contains(text));
    }

    void childRowsChangeAtTheirSwitchAndDragFromTheirHandleOnly() {
        Window window;
        FeatureChildrenSection* section = window.open(KestroFeature::createFile)->childrenSection();
        QListView* list = section->listView();
        const QString first = section->model()->children().constFirst().actionID;
        const QByteArray before = readAll(FeatureSettingsPersistence::applicationFileURL());
        // The handle, the title, the blank middle: clicked and double-clicked, nothing changes.
        for (const auto where :
             {handleOf, +[](QRect row) { return QPoint(row.left() + row.width() / 3, row.center().y()); },
              +[](QRect row) {
                  return QPoint(SettingsRowDelegate::switchRect(row).left() - 20, row.top() + 3);
              }}) {
            clickRow(list, 0, where);
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, where(rowRect(list, 0)));
        }
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), before);
        // A drag from the middle of the row is none; from the handle it is, and switches nothing.
        dragsStartedBy(list);
        drag(list, rowRect(list, 0).center(), rowRect(list, 2).center(), false);
        QCOMPARE(dragsStartedBy(list), 0);
        drag(list, handleOf(rowRect(list, 0)), handleOf(rowRect(list, 2)), false);
        QCOMPARE(dragsStartedBy(list), 1);
        // Data a drop carries for other roles switches nothing either.
        QVERIFY(
            !section->model()->setData(section->model()->index(0, 0), int(Qt::Unchecked), Qt::DisplayRole));
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), before);

        // The switch flips it, on both copies; so does the space bar on the current row.
        clickRow(list, 0, switchOf);
        QVERIFY(!storedList("enabledChildIDs").contains(first) &&
                !window.featureSettings.isChildEnabled(first));
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::keyClick(list, Qt::Key_Space);
        QVERIFY(storedList("enabledChildIDs").contains(first));
        QCOMPARE(list->model()->index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
        QVERIFY(storedList("enabledFeatureIDs").contains(u"createFile"_qs));
    }

    void everyAddButtonOpensItsPanelAndAddsTheChoice() {
        Window window;
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        const auto add = [&](KestroFeature feature, const QString& text,
                             std::function<void(QWidget*)> answer) {
            ModalAnswer panel(std::move(answer));
            click(button(window.open(feature)->userSection(), text));
            QCOMPARE(panel.answered(), 1);
        };
        // 添加常用路径: a folder, through the folder panel.
        const QString folder = window.environment.makeFolder(u"常用 夹 'x'"_qs);
        add(KestroFeature::copyFile, u"添加常用路径"_qs,
            [&](QWidget* dialog) { typeIntoFilePanel(dialog, folder); });
        const CustomDestination copy = CustomDestinationPersistence::load()->value(u"copy"_qs).constLast();
        QVERIFY(copy.path == folder && copy.name == u"常用 夹 'x'"_qs);

        // 添加应用: the installed applications by name (hidden ones left out), named by Name.
        const QString entry = KestroPaths::applicationsDirectory() + u"/org.example.Viewer.desktop"_qs;
        const QByteArray application = "[Desktop Entry]\nType=Application\nExec=true\nName=";
        window.environment.writeFile(entry, application + "Viewer\nName[zh_CN]=看图\n");
        window.environment.writeFile(entry + u".hidden.desktop"_qs, application + "藏起来\nNoDisplay=true\n");
        add(KestroFeature::openWith, u"添加应用"_qs, [&](QWidget* dialog) {
            auto* list = dialog->findChild<QListWidget*>();
            const QList<QListWidgetItem*> found = list->findItems(u"看图"_qs, Qt::MatchExactly);
            QCOMPARE(found.size(), 1);
            QVERIFY(list->findItems(u"藏起来"_qs, Qt::MatchExactly).isEmpty());
            list->setCurrentItem(found.constFirst());
            click(button(dialog, u"添加"_qs));
        });
        const CustomDestination chosen =
            CustomDestinationPersistence::load()->value(u"openApplication"_qs).constLast();
        QVERIFY(chosen.path == entry && chosen.name == u"看图"_qs);

        // 添加脚本: a file, by its name in the home folder where the panel starts.
        const QString script = window.environment.writeFile(u"home/整理 照片.sh"_qs, "#!/bin/sh\n");
        add(KestroFeature::customActions, u"添加脚本"_qs,
            [&](QWidget* dialog) { typeIntoFilePanel(dialog, u"整理 照片.sh"_qs); });
        QCOMPARE(CustomShortcutActionPersistence::load().constLast().scriptPath, script);
        // The shortcut picker behind 添加快捷指令 is test_custom_actions' (a typed name, the tool's list).
    }

    void switchesWriteWhatTheStoreHolds() {
        Window window;
        FeatureChildrenSection* section = window.open(KestroFeature::imageTools)->childrenSection();
        const QStringList images = KestroFeature(KestroFeature::imageTools).childIDs();
        // Not every image action is on by default, so the button offers to turn them all on, then off.
        for (const bool on : {true, false}) {
            QCOMPARE(section->allButton()->text(), on ? u"全部开启"_qs : u"全部关闭"_qs);
            click(section->allButton());
            for (const QString& id : images)
                QVERIFY2(storedList("enabledChildIDs").contains(id) == on, qPrintable(id));
        }
        QVERIFY(storedList("enabledFeatureIDs").contains(u"imageTools"_qs));
        // The feature's own switch writes, and follows the store when it changes elsewhere.
        FeatureDetailView* page = window.open(KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
        click(page->enableRow()->toggle());
        QVERIFY(storedList("enabledFeatureIDs").contains(u"developerTools"_qs));
        window.featureSettings.setEnabled(false, KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
        // The window keeps what the store holds when the file goes, or turns into something else.
        QVERIFY(QFile::remove(FeatureSettingsPersistence::applicationFileURL()));
        FeatureChildrenSection* copyPath = window.open(KestroFeature::copyPath)->childrenSection();
        clickRow(copyPath->listView(), 1, switchOf);
        QVERIFY(!storedList("enabledChildIDs").contains(copyPath->model()->children().at(1).actionID));
        QCOMPARE(storedList("featureOrder").size(), 14);
        window.environment.writeFile(FeatureSettingsPersistence::applicationFileURL(), "not a property list");
        click(window.view.featurePage(KestroFeature::copyPath)->enableRow()->toggle());
        QVERIFY(!storedList("enabledFeatureIDs").contains(u"copyPath"_qs));
        // Preferences save at once; a refused login item flips back.
        PreferencesDetailView* preferences = window.view.preferencesPage();
        window.view.showPage(SettingsPage::preferences());
        click(preferences->revealCreatedItemsRow()->toggle());
        QVERIFY(AppPreferencesPersistence::load().revealCreatedItems);
        click(preferences->revealActionResultsRow()->toggle());
        QVERIFY(!AppPreferencesPersistence::load().revealActionResults);
        click(preferences->failureNotificationsRow()->toggle());
        QVERIFY(!AppPreferencesPersistence::load().showsFailureNotifications);
        click(preferences->groupingRow()->toggle()); // on by default
        QVERIFY(!FeatureSettingsPersistence::loadSettings()->groupsFeaturesUnderKestro);
        click(preferences->collapsedLayoutRow()->toggle());
        QCOMPARE(FeatureSettingsPersistence::loadSettings()->menuLayout, FinderMenuLayout::expanded);

        SettingsToggleRow* login = preferences->launchAtLoginRow();
        FakePlatform::loginItems().refuses = true;
        click(login->toggle());
        QVERIFY(!login->toggle()->isChecked() && !window.preferences.launchAtLogin());
        QVERIFY2(login->note().contains(u"login item refused"_qs), qPrintable(login->note()));
        FakePlatform::loginItems().refuses = false;
        click(login->toggle());
        QVERIFY(login->toggle()->isChecked() && login->note().isEmpty());
    }

    void theSidebarFollowsTheStore() {
        Window window;
        // The sidebar: the features in the store's order, then preferences and the feature request.
        SettingsSidebar* sidebar = window.view.sidebar();
        for (int row = 0; row < sidebar->model()->rowCount(); ++row)
            QCOMPARE(*sidebar->model()->feature(row), window.featureSettings.orderedFeatures().at(row));
        QListWidget* extras = sidebar->extraList();
        clickRow(extras, 0);
        QVERIFY(window.view.currentPage().isPreferences());
        QCOMPARE(window.view.currentDetail(), window.view.preferencesPage());
        clickRow(extras, 1);
        // The sheet opens over the page, which stays selected.
        QVERIFY(window.view.currentPage().isPreferences());
        auto* sheet = window.view.window()->findChild<FeatureRequestSheet*>();
        QTRY_VERIFY(sheet && sheet->isVisible());
        sheet->reject();
        // The real drags are in test_settings_drag (under Xvfb); here a drop's effect on a selection that
        // is not the dragged row, and a drop past the last row.
        FeatureSidebarModel* model = window.view.sidebar()->model();
        const QList<KestroFeature> before = window.featureSettings.orderedFeatures();
        const KestroFeature selected = before.at(2);
        window.view.showPage(SettingsPage::of(selected));
        QVERIFY(model->moveRows({}, 5, 1, {}, 0));
        QCOMPARE(storedList("featureOrder").at(0), before.at(5).id());
        QCOMPARE(window.view.sidebar()->featureList()->currentIndex().row(), 3);
        QVERIFY(model->moveRows({}, 3, 1, {}, model->rowCount()));
        QCOMPARE(window.featureSettings.orderedFeatures().constLast(), selected);
        QCOMPARE(window.view.sidebar()->featureList()->currentIndex().row(), model->rowCount() - 1);
        QVERIFY(model->moveRows({}, model->rowCount() - 1, 1, {}, 0)); // and the last row back to the top
        QCOMPARE(window.view.sidebar()->featureList()->currentIndex().row(), 0);
        // A move made elsewhere shows in the sidebar too.
        window.featureSettings.moveFeatures({0}, 2);
        QCOMPARE(*model->feature(0), before.at(5));
    }

    void userListsFollowTheirFilesAndControls() {
        Window window;
        const QString keep = window.environment.writeFile(u"files/keep me.txt"_qs, "a");
        const QString gone = window.environment.writeFile(u"files/cancel me.txt"_qs, "b");
        ScheduledDeletionStore::schedule({keep}, 3600);
        ScheduledDeletionStore::schedule({gone}, 60);
        auto* section = window.section<ScheduledDeletionSection>(KestroFeature::scheduledDeletion);
        QTRY_COMPARE(section->model()->rowCount(), 2);
        QCOMPARE(section->model()->rows().at(0).title, u"cancel me.txt"_qs); // earliest first
        QAbstractButton* cancelButton = button(section, u"取消清理"_qs);
        QVERIFY(cancelButton && !cancelButton->isEnabled()); // nothing chosen yet
        clickRow(section->listView(), 0);
        const int tall = section->listView()->height();
        click(cancelButton);
        QTRY_COMPARE(section->model()->rowCount(), 1);
        QTRY_VERIFY(section->listView()->height() < tall); // the list fits its rows again
        QCOMPARE(ScheduledDeletionStore::items().size(), 1);
        QCOMPARE(ScheduledDeletionStore::items().constFirst().path, keep);
        QVERIFY(QFile::exists(gone)); // cancelling never touches the file
        // A vanished folder is shown with a warning, and rows remove exactly.
        const QString folder =
            window.environment.makeFolder(u"a folder with a very long name "_qs + QString(70, QChar(0x6587)));
        QVERIFY(window.destinations.addDestinationPath(CustomDestinationKind::copy, folder));
        auto* copies = window.section<CustomDestinationSection>(KestroFeature::copyFile);
        const int row = copies->model()->rowCount() - 1;
        QVERIFY(!copies->model()->rows().at(row).warning);
        // The store is unchanged; the row follows the folder as it goes and comes back.
        QVERIFY(QDir(folder).removeRecursively());
        QTRY_VERIFY(copies->model()->rows().at(row).warning);
        QVERIFY(copies->model()->rows().at(row).subtitle.contains(folder));
        QVERIFY(QDir().mkpath(folder));
        QTRY_VERIFY(!copies->model()->rows().at(row).warning);
        // Paths under the home folder read from "~"; a sibling that merely starts alike does not.
        const QString home = window.environment.home();
        QCOMPARE(UserListModel::displayPath(home + u"/Downloads/a b"_qs), u"~/Downloads/a b"_qs);
        QCOMPARE(UserListModel::displayPath(home), u"~"_qs);
        QCOMPARE(UserListModel::displayPath(home + u"2/x"_qs), home + u"2/x"_qs);
        // A place is named by its folder: its row takes no new name (a custom action's does, below).
        QVERIFY(!copies->model()->setData(copies->model()->index(row), folder, Qt::EditRole));
        QVERIFY(!copies->model()->flags(copies->model()->index(row)).testFlag(Qt::ItemIsEditable));
        clickRow(copies->listView(), row);
        click(button(copies, u"移除"_qs));
        QCOMPARE(window.destinations.destinations(CustomDestinationKind::copy).size(), row);
        QCOMPARE(copies->model()->rowCount(), row);

        // A custom action renamed in place is trimmed.
        QVERIFY(window.customActions.addScript(
            window.environment.writeFile(u"scripts/tidy.sh"_qs, "#!/bin/sh\n")));
        auto* actions = window.section<CustomShortcutActionSection>(KestroFeature::customActions);
        QVERIFY(actions->model()->flags(actions->model()->index(0)).testFlag(Qt::ItemIsEditable));
        QVERIFY(actions->model()->setData(actions->model()->index(0), u"  整理 \n"_qs, Qt::EditRole));
        QCOMPARE(CustomShortcutActionPersistence::load().constFirst().name, u"整理"_qs);
        // The view presets through their controls.
        auto* presets = window.section<FinderViewPresetSection>(KestroFeature::viewOptions);
        click(button(presets, u"添加显示方案"_qs));
        const QString id = window.presets.presets().constLast().id;
        QCOMPARE(presets->nameField()->text(), u"列表 · 按修改日期"_qs);
        // Another sort, chosen with the keyboard: the automatic name follows it.
        presets->sortBox()->setFocus();
        QTest::keyClick(presets->sortBox(), Qt::Key_Down);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->sortMode, FinderSortMode::creationDate);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, u"列表 · 按创建日期"_qs);
        // A typed name is kept through later changes (the store's rule); an emptied one is put back.
        const QString mine = u"我的 \"方案\""_qs;
        presets->nameField()->setFocus();
        presets->nameField()->selectAll();
        type(presets->nameField(), mine);
        QTest::keyClick(presets->nameField(), Qt::Key_Return);
        presets->viewBox()->setFocus();
        QTest::keyClick(presets->viewBox(), Qt::Key_Down);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->viewMode, FinderViewMode::column);
        presets->nameField()->setFocus();
        presets->nameField()->selectAll();
        QTest::keyClick(presets->nameField(), Qt::Key_Backspace);
        QTest::keyClick(presets->nameField(), Qt::Key_Return);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, mine);
        QCOMPARE(presets->nameField()->text(), mine);
        // 移除 takes the selected preset away, and only that one.
        click(button(presets, u"移除"_qs));
        QCOMPARE(FinderViewPresetPersistence::load()->size(), 3);
        QVERIFY(!FinderViewPresetPersistence::preset(id));
    }

    void featureRequestSheetOpensAPrefilledMailOrKeepsTheWish() {
        TestEnvironment environment;
        FeatureRequestSheet sheet;
        sheet.show();
        QVERIFY(QTest::qWaitForWindowExposed(&sheet));
        type(sheet.editor(), u"  "_qs);
        QVERIFY(!sheet.submitButton()->isEnabled());
        sheet.editor()->clear();
        const QString wish = u"批量加水印 & 压缩"_qs;
        type(sheet.editor(), wish);
        FakePlatform::workspace().openUrlSucceeds = false;
        click(sheet.submitButton());
        // No mail program: the sheet keeps the wish and copies it on request.
        QVERIFY(sheet.isVisible() && sheet.editor()->toPlainText() == wish);
        QVERIFY(sheet.notice()->text().contains(FeatureRequestMailer::supportAddress));
        click(sheet.copyButton());
        QCOMPARE(FakePlatform::clipboard().contents, FeatureRequestMailer::mailBody(wish));
        FakePlatform::workspace().openUrlSucceeds = true;
        click(sheet.submitButton());
        QCOMPARE(FakePlatform::workspace().openedUrls.constLast(), FeatureRequestMailer::mailURL(wish));
    }
    void showsEverythingAndConfirmsOnlyAfterTheDelay() {
        Consent consent;
        // Forty items: all of them are listed, the list scrolls.
        QStringList items{consent.source};
        for (int index = 1; index < 40; ++index)
            items.append(consent.environment.writeFile(u"home/item %1.txt"_qs.arg(index), "x"));
        bool sawEverything = false;
        const ModalAnswer answer0 = whenDialogShows([&](ConsentDialog& dialog) {
            auto* confirm = buttonOf(dialog, "confirmButton");
            auto* list = dialog.findChild<QListWidget*>(u"itemList"_qs);
            auto* destination = dialog.findChild<QListWidget*>(u"destinationList"_qs);
            QVERIFY(!confirm->isEnabled());
            QCOMPARE(list->count(), 40);
            QCOMPARE(list->item(39)->text(), items.at(39));
            // The destination as the file system resolves it, not the link's text.
            QCOMPARE(destination->item(0)->text(), QFileInfo(consent.destination).canonicalFilePath());
            QVERIFY(dialog.findChild<QLabel*>(u"actionLabel"_qs)->text().contains(u"复制到文件夹"_qs));
            // A click on the sleeping button does nothing.
            Modal::click(confirm);
            QVERIFY(dialog.isVisible());
            sawEverything = true;
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            Modal::click(confirm);
        });
        QVERIFY(consent.model.handleIncomingURL(
            kestroActionURL(u"copyFilesToFolder"_qs, items, std::nullopt,
                            consent.destination + QString(300, u'/') + u"../shared/."_qs),
            RequestOrigin::link));
        QVERIFY(sawEverything);
        QVERIFY(consent.copied());
        QVERIFY(
            consent.environment.logText().contains(u"link request confirmed: action=copyFilesToFolder"_qs));
    }

};

QTEST_MAIN(TestWidgets)
#include "test_widgets.moc"
