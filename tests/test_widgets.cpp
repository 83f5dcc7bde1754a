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
#include "platform/HeadlessPrompts.h"
#include "platform/KestroPaths.h"
#include "platform/Platform.h"
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
#include "support/KestroProcess.h"
#include "support/ModalAnswer.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <functional>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDrag>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QtTest>
#include <QUrl>
#include <QUrlQuery>

using namespace Modal;
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
    QString source = environment.writeFile(QStringLiteral("home/secret.txt"), "s");
    QString destination = environment.makeFolder(QStringLiteral("shared"));

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
        return kestroActionURL(QStringLiteral("copyFilesToFolder"), {source}, std::nullopt, destination);
    }
    bool copied() const { return QFile::exists(destination + QStringLiteral("/secret.txt")); }
};

QString makeExecutable(const TestEnvironment& environment, const QString& name) {
    const QString path = environment.writeFile(name, "#!/bin/sh\nexit 0\n");
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
    return path;
}

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

    void textPromptAnswersWhatWasTypedOrNothing() {
        WidgetPrompts prompts;
        const QString typed = QStringLiteral("  报告 \"最终\" 版 ");
        ModalAnswer answer([&](QWidget* dialog) {
            QVERIFY(labelTexts(dialog).contains(QStringLiteral("添加前缀")));
            QVERIFY(labelTexts(dialog).contains(QStringLiteral("输入要添加到文件名前面的文字。")));
            auto* field = dialog->findChild<QLineEdit*>();
            QCOMPARE(QApplication::focusWidget(), field);
            type(field, typed);
            click(button(dialog, QStringLiteral("确定")));
        });
        QCOMPARE(
            prompts.promptText(QStringLiteral("添加前缀"), QStringLiteral("输入要添加到文件名前面的文字。")),
            std::optional<QString>(typed));
        QCOMPARE(answer.answered(), 1);

        ModalAnswer cancelled([](QWidget* dialog) {
            type(dialog->findChild<QLineEdit*>(), QStringLiteral("x"));
            cancel(dialog);
        });
        QCOMPARE(prompts.promptText(QStringLiteral("a"), QStringLiteral("b")), std::nullopt);
        QCOMPARE(cancelled.answered(), 1);

        // Escape cancels as well.
        ModalAnswer escape([](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
        QCOMPARE(prompts.promptText(QStringLiteral("a"), QStringLiteral("b")), std::nullopt);
        QCOMPARE(escape.answered(), 1);
    }

    void fieldsGrowWithALargeFont() {
        WidgetPrompts prompts;
        const QFont saved = QApplication::font();
        QFont large = saved;
        large.setPixelSize(40);
        QApplication::setFont(large);
        int fieldHeight = 0;
        int textHeight = 0;
        ModalAnswer answer([&](QWidget* dialog) {
            auto* field = dialog->findChild<QLineEdit*>();
            fieldHeight = field->height();
            textHeight = field->fontMetrics().height();
            cancel(dialog);
        });
        prompts.promptText(QStringLiteral("添加前缀"), QStringLiteral("输入要添加到文件名前面的文字。"));
        QApplication::setFont(saved);
        QCOMPARE(answer.answered(), 1);
        QVERIFY2(fieldHeight >= textHeight,
                 qPrintable(QStringLiteral("%1 < %2").arg(fieldHeight).arg(textHeight)));
    }

    void resizePromptExplainsItselfAndHintsInsideItsFields() {
        WidgetPrompts prompts;
        ModalAnswer answer([](QWidget* dialog) {
            const QStringList texts = labelTexts(dialog);
            QVERIFY(texts.contains(QStringLiteral("调整图片大小")));
            QVERIFY(texts.contains(QStringLiteral("输入宽度和高度，例如 1024 x 768。")));
            // The hints are placeholders, not labels beside the fields.
            QVERIFY(!texts.contains(QStringLiteral("宽度（像素）")));
            const QList<QLineEdit*> fields = dialog->findChildren<QLineEdit*>();
            QCOMPARE(fields.size(), 2);
            QCOMPARE(fields.at(0)->placeholderText(), QStringLiteral("宽度（像素）"));
            QCOMPARE(fields.at(1)->placeholderText(), QStringLiteral("高度（像素）"));
            QCOMPARE(QApplication::focusWidget(), fields.at(0));
            type(fields.at(0), QStringLiteral("1024"));
            QTest::keyClick(fields.at(0), Qt::Key_Tab);
            type(QApplication::focusWidget(), QStringLiteral("768"));
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        });
        const auto size = prompts.promptTwoTexts(
            QStringLiteral("调整图片大小"), QStringLiteral("输入宽度和高度，例如 1024 x 768。"),
            QStringLiteral("宽度（像素）"), QStringLiteral("高度（像素）"));
        QCOMPARE(answer.answered(), 1);
        QCOMPARE(size, std::optional(std::pair(QStringLiteral("1024"), QStringLiteral("768"))));
    }

    void folderPanelsAnswerTheChosenFolder() {
        TestEnvironment environment;
        WidgetPrompts prompts;
        const QString folder = environment.makeFolder(QStringLiteral("目标 夹 'x'"));
        ModalAnswer answer([&](QWidget* dialog) {
            auto* panel = qobject_cast<QFileDialog*>(dialog);
            QVERIFY(panel);
            QCOMPARE(panel->windowTitle(), QStringLiteral("选择目标文件夹"));
            QCOMPARE(panel->labelText(QFileDialog::Accept), QStringLiteral("复制到这里"));
            // Qt's own texts of the panel are Chinese too.
            auto* box = panel->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
            QCOMPARE(box->button(QDialogButtonBox::Cancel)->text().remove(QLatin1Char('&')).left(2),
                     QStringLiteral("取消"));
            typeIntoFilePanel(dialog, folder);
        });
        QCOMPARE(prompts.chooseDirectory(QStringLiteral("复制到这里")), std::optional(folder));
        QCOMPARE(answer.answered(), 1);

        OpenPanelRequest request;
        request.title = QStringLiteral("选择要添加到“复制到文件夹”的文件夹");
        request.buttonLabel = QStringLiteral("添加");
        request.choose = OpenPanelRequest::Choose::folder;
        request.initialDirectory = environment.root();
        request.canCreateFolders = true;
        ModalAnswer add([&](QWidget* dialog) {
            auto* panel = qobject_cast<QFileDialog*>(dialog);
            QCOMPARE(panel->windowTitle(), request.title);
            QCOMPARE(panel->labelText(QFileDialog::Accept), QStringLiteral("添加"));
            QCOMPARE(QDir(panel->directory()).canonicalPath(), QDir(environment.root()).canonicalPath());
            QCOMPARE(panel->fileMode(), QFileDialog::Directory);
            QVERIFY(!panel->testOption(QFileDialog::ReadOnly));
            typeIntoFilePanel(dialog, folder + QLatin1Char('/'));
        });
        QCOMPARE(prompts.chooseItem(request), std::optional(folder));
        QCOMPARE(add.answered(), 1);

        ModalAnswer cancelled([](QWidget* dialog) { cancel(dialog); });
        QCOMPARE(prompts.chooseItem(request), std::nullopt);
        QCOMPARE(cancelled.answered(), 1);
    }

    void filePanelAnswersAnExistingFileOnly() {
        TestEnvironment environment;
        WidgetPrompts prompts;
        const QString script = environment.writeFile(QStringLiteral("home/脚本 1.py"), "print(1)\n");
        OpenPanelRequest request;
        request.title = QStringLiteral("选择扩展脚本");
        request.buttonLabel = QStringLiteral("添加");
        request.choose = OpenPanelRequest::Choose::file;
        request.initialDirectory = environment.home();
        ModalAnswer answer([&](QWidget* dialog) {
            auto* panel = qobject_cast<QFileDialog*>(dialog);
            QCOMPARE(panel->fileMode(), QFileDialog::ExistingFile);
            QVERIFY(panel->testOption(QFileDialog::ReadOnly)); // no new folders here
            // A relative name is taken in the panel's folder.
            typeIntoFilePanel(dialog, QStringLiteral("脚本 1.py"));
        });
        QCOMPARE(prompts.chooseItem(request), std::optional(script));
        QCOMPARE(answer.answered(), 1);
    }

    void applicationPanelTakesDesktopEntriesAndProgramsAndRefusesOtherFiles() {
        TestEnvironment environment;
        WidgetPrompts prompts;
        const QString entry =
            environment.writeFile(QStringLiteral("apps/org.example.Viewer.desktop"),
                                  "[Desktop Entry]\nType=Application\nName=Viewer\nExec=true\n");
        const QString program = makeExecutable(environment, QStringLiteral("apps/viewer"));
        const QString text = environment.writeFile(QStringLiteral("apps/notes.txt"), "not an application");
        OpenPanelRequest request;
        request.title = QStringLiteral("选择常用应用");
        request.buttonLabel = QStringLiteral("添加");
        request.choose = OpenPanelRequest::Choose::application;
        request.initialDirectory = environment.root() + QStringLiteral("/apps");

        for (const QString& chosen : {entry, program}) {
            ModalAnswer answer([&](QWidget* picker) {
                QCOMPARE(picker->windowTitle(), QStringLiteral("选择常用应用"));
                throughOtherApplications(picker, [&](QWidget* dialog) {
                    QCOMPARE(dialog->windowTitle(), QStringLiteral("选择常用应用"));
                    typeIntoFilePanel(dialog, chosen);
                });
            });
            QCOMPARE(prompts.chooseItem(request), std::optional(chosen));
            QCOMPARE(answer.answered(), 1);
        }

        // A plain file is refused with a message; the panel stays open until the user gives up.
        QString message;
        QString buttonText;
        std::unique_ptr<ModalAnswer> warning;
        ModalAnswer refuse([&](QWidget* picker) {
            throughOtherApplications(picker, [&](QWidget* dialog) {
                auto* panel = qobject_cast<QFileDialog*>(dialog);
                // The panel lists folders and applications only.
                QTRY_VERIFY(panel->proxyModel());
                warning = std::make_unique<ModalAnswer>(
                    [&](QWidget* box) {
                        auto* alert = qobject_cast<QMessageBox*>(box);
                        message = alert ? alert->text() : QString();
                        buttonText = alert && alert->buttons().size() == 1
                                         ? alert->buttons().constFirst()->text()
                                         : QString();
                        QTest::keyClick(box, Qt::Key_Return);
                        QTimer::singleShot(50, panel, [panel] { cancel(panel); });
                    },
                    dialog);
                typeIntoFilePanel(dialog, text);
            });
            cancel(picker); // the panel given up, the picker is too
        });
        QCOMPARE(prompts.chooseItem(request), std::nullopt);
        QCOMPARE(refuse.answered(), 1);
        QCOMPARE(warning->answered(), 1);
        QCOMPARE(message, QStringLiteral("“%1”不是应用：请选择 .desktop 文件或可执行文件。").arg(text));
        QCOMPARE(buttonText.remove(QLatin1Char('&')).left(2), QStringLiteral("确定"));
    }

    void shortcutPickerListsCompletesAndTakesTypedNames() {
        WidgetPrompts prompts;
        const QStringList names{QStringLiteral("压缩图片"), QStringLiteral("Resize Photos"),
                                QStringLiteral("Rename All")};
        ModalAnswer preset([&](QWidget* dialog) {
            QVERIFY(labelTexts(dialog).contains(QStringLiteral("添加快捷指令")));
            QVERIFY(labelTexts(dialog).contains(QStringLiteral("选一个")));
            auto* box = dialog->findChild<QComboBox*>();
            QVERIFY(box && box->isEditable());
            QCOMPARE(box->count(), 3);
            QCOMPARE(box->currentText(), QStringLiteral("压缩图片")); // preset to the first
            QCOMPARE(box->lineEdit()->placeholderText(), QStringLiteral("快捷指令名称"));
            QCOMPARE(button(dialog, QStringLiteral("添加"))->text(), QStringLiteral("添加"));
            // Typing completes from the list.
            box->lineEdit()->selectAll();
            type(box->lineEdit(), QStringLiteral("Ren"));
            QCOMPARE(box->currentText(), QStringLiteral("Rename All"));
            click(button(dialog, QStringLiteral("添加")));
        });
        QCOMPARE(prompts.chooseShortcutName(QStringLiteral("添加快捷指令"), QStringLiteral("选一个"),
                                            QStringLiteral("快捷指令名称"), names),
                 std::optional(QStringLiteral("Rename All")));
        QCOMPARE(preset.answered(), 1);

        // With no names the box starts empty and takes what is typed.
        ModalAnswer typed([&](QWidget* dialog) {
            auto* box = dialog->findChild<QComboBox*>();
            QCOMPARE(box->count(), 0);
            QCOMPARE(box->currentText(), QString());
            type(box->lineEdit(), QStringLiteral("我的 快捷指令"));
            QTest::keyClick(box->lineEdit(), Qt::Key_Return);
        });
        QCOMPARE(prompts.chooseShortcutName(QStringLiteral("添加快捷指令"), QStringLiteral("没有"),
                                            QStringLiteral("快捷指令名称"), {}),
                 std::optional(QStringLiteral("我的 快捷指令")));
        QCOMPARE(typed.answered(), 1);

        ModalAnswer cancelled([](QWidget* dialog) { cancel(dialog); });
        QCOMPARE(
            prompts.chooseShortcutName(QStringLiteral("t"), QStringLiteral("m"), QStringLiteral("p"), names),
            std::nullopt);
        QCOMPARE(cancelled.answered(), 1);
    }

    void featureRequestDialogAnswersTheWrittenText() {
        WidgetPrompts prompts;
        ModalAnswer answer([](QWidget* dialog) {
            QVERIFY(labelTexts(dialog).contains(QStringLiteral("请求新功能")));
            auto* editor = dialog->findChild<QPlainTextEdit*>();
            type(editor, QStringLiteral("批量加水印"));
            QTest::keyClick(editor, Qt::Key_Return);
            type(editor, QStringLiteral("第二行"));
            click(button(dialog, QStringLiteral("提交")));
        });
        QCOMPARE(prompts.requestFeatureText(), std::optional(QStringLiteral("批量加水印\n第二行")));
        QCOMPARE(answer.answered(), 1);
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
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), before);

        // The switch flips it, on both copies; so does the space bar on the current row.
        clickRow(list, 0, switchOf);
        QVERIFY(!storedList("enabledChildIDs").contains(first) &&
                !window.featureSettings.isChildEnabled(first));
        QCOMPARE(readAll(FeatureSettingsPersistence::extensionFileURL()),
                 readAll(FeatureSettingsPersistence::applicationFileURL()));
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::keyClick(list, Qt::Key_Space);
        QVERIFY(storedList("enabledChildIDs").contains(first));
        QCOMPARE(list->model()->index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("createFile")));
    }

    void twoLineRowsAreAsTallAsTheirText() {
        Window window;
        QListView* list = window.open(KestroFeature::createFile)->childrenSection()->listView();
        for (int pixels : {12, 40}) {
            QFont font = list->font();
            font.setPixelSize(pixels);
            list->setFont(font);
            list->doItemsLayout();
            QFont bold = font;
            bold.setBold(true);
            const int text = QFontMetrics(bold).height() + QFontMetrics(font).height();
            const int height = rowRect(list, 0).height();
            // Chinese from a fallback face makes a line up to a third taller than the font's own metrics.
            QVERIFY2(height >= text + 8 && height <= text * 3 / 2 + 20,
                     qPrintable(QStringLiteral("%1 for %2").arg(height).arg(text)));
        }
    }

    void everyAddButtonOpensItsPanelAndAddsTheChoice() {
        Window window;
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        const auto add = [&](KestroFeature feature, const QString& button,
                             std::function<void(QWidget*)> answer) {
            ModalAnswer panel(std::move(answer));
            click(visibleButton(window.open(feature)->userSection(), button));
            return panel.answered();
        };
        // 添加常用路径: a folder, through the folder panel.
        const QString folder = window.environment.makeFolder(QStringLiteral("常用 夹 'x'"));
        QCOMPARE(add(KestroFeature::copyFile, QStringLiteral("添加常用路径"),
                     [&](QWidget* dialog) { typeIntoFilePanel(dialog, folder); }),
                 1);
        const CustomDestination copy =
            CustomDestinationPersistence::load()->value(QStringLiteral("copy")).constLast();
        QVERIFY(copy.path == folder && copy.name == QStringLiteral("常用 夹 'x'"));

        // 添加应用: the installed applications by name and icon (hidden ones left out), named by Name.
        const QString iconPath = window.environment.root() + QStringLiteral("/viewer.png");
        QImage(16, 16, QImage::Format_RGB32).save(iconPath);
        const QString entry =
            KestroPaths::applicationsDirectory() + QStringLiteral("/org.example.Viewer.desktop");
        window.environment.writeFile(
            entry, "[Desktop Entry]\nType=Application\nExec=true\nName=Viewer\nName[zh_CN]=看图\nIcon=" +
                       iconPath.toUtf8() + '\n');
        window.environment.writeFile(
            entry + QStringLiteral(".hidden.desktop"),
            "[Desktop Entry]\nType=Application\nExec=true\nName=藏起来\nNoDisplay=true\n");
        QCOMPARE(add(KestroFeature::openWith, QStringLiteral("添加应用"),
                     [&](QWidget* dialog) {
                         auto* list = dialog->findChild<QListWidget*>();
                         const QList<QListWidgetItem*> found =
                             list->findItems(QStringLiteral("看图"), Qt::MatchExactly);
                         QVERIFY(found.size() == 1 && !found.constFirst()->icon().isNull());
                         QVERIFY(list->findItems(QStringLiteral("藏起来"), Qt::MatchExactly).isEmpty());
                         list->setCurrentItem(found.constFirst());
                         click(button(dialog, QStringLiteral("添加")));
                     }),
                 1);
        const CustomDestination application =
            CustomDestinationPersistence::load()->value(QStringLiteral("openApplication")).constLast();
        QVERIFY(application.path == entry && application.name == QStringLiteral("看图"));

        // 添加脚本: a file, starting in the home folder.
        const QString script =
            window.environment.writeFile(QStringLiteral("home/整理 照片.sh"), "#!/bin/sh\n");
        QCOMPARE(add(KestroFeature::customActions, QStringLiteral("添加脚本"),
                     [&](QWidget* dialog) { typeIntoFilePanel(dialog, QStringLiteral("整理 照片.sh")); }),
                 1);
        QCOMPARE(CustomShortcutActionPersistence::load().constLast().scriptPath, script);
        QCOMPARE(CustomShortcutActionPersistence::load().constLast().name, QStringLiteral("整理 照片"));

        // 添加快捷指令: the picker lists what the shortcuts tool lists (a stand-in: this system has none).
        const QString tool = window.environment.writeFile(
            QStringLiteral("bin/shortcuts"), "#!/bin/sh\nprintf '压缩图片\\n  Rename All \\n\\n'\n");
        QFile::setPermissions(tool, QFile::permissions(tool) | QFileDevice::ExeOwner);
        ShortcutsTool::setExecutablePath(tool);
        const int picked =
            add(KestroFeature::customActions, QStringLiteral("添加快捷指令"), [&](QWidget* dialog) {
                auto* box = dialog->findChild<QComboBox*>();
                QCOMPARE(box->count(), 2);
                box->lineEdit()->selectAll();
                type(box->lineEdit(), QStringLiteral("Ren"));
                click(button(dialog, QStringLiteral("添加")));
            });
        ShortcutsTool::resetExecutablePath();
        QCOMPARE(picked, 1);
        const CustomShortcutAction added = CustomShortcutActionPersistence::load().constLast();
        QVERIFY(added.kind == CustomShortcutAction::Kind::shortcut &&
                added.shortcutName == QStringLiteral("Rename All"));
        // Cancelling a panel adds nothing.
        QCOMPARE(add(KestroFeature::customActions, QStringLiteral("添加脚本"),
                     [](QWidget* dialog) { cancel(dialog); }),
                 1);
        QCOMPARE(window.customActions.actions().size(), 2);
    }

    void presetSectionAddsEditsAndRemovesThroughItsControls() {
        Window window;
        auto* section = window.section<FinderViewPresetSection>(KestroFeature::viewOptions);
        QCOMPARE(window.presets.presets().size(), 3);
        click(visibleButton(section, QStringLiteral("添加显示方案")));
        QCOMPARE(FinderViewPresetPersistence::load()->size(), 4);
        const QString id = window.presets.presets().constLast().id;
        QCOMPARE(section->nameField()->text(), QStringLiteral("列表 · 按修改日期"));
        // Another sort, chosen with the keyboard: the automatic name follows it.
        section->sortBox()->setFocus();
        QTest::keyClick(section->sortBox(), Qt::Key_Down);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->sortMode, FinderSortMode::creationDate);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, QStringLiteral("列表 · 按创建日期"));
        // A typed name is kept through later changes; an emptied one is put back.
        const QString mine = QStringLiteral("我的 \"方案\"");
        section->nameField()->setFocus();
        section->nameField()->selectAll();
        type(section->nameField(), mine);
        QTest::keyClick(section->nameField(), Qt::Key_Return);
        section->viewBox()->setFocus();
        QTest::keyClick(section->viewBox(), Qt::Key_Down);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->viewMode, FinderViewMode::column);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, mine);
        section->nameField()->setFocus();
        section->nameField()->selectAll();
        QTest::keyClick(section->nameField(), Qt::Key_Backspace);
        QTest::keyClick(section->nameField(), Qt::Key_Return);
        QCOMPARE(FinderViewPresetPersistence::preset(id)->name, mine);
        QCOMPARE(section->nameField()->text(), mine);
        // 移除 takes the selected preset away, and only that one.
        click(visibleButton(section, QStringLiteral("移除")));
        QCOMPARE(FinderViewPresetPersistence::load()->size(), 3);
        QVERIFY(!FinderViewPresetPersistence::preset(id));
    }

    void featureSwitchesAndTheAllChildrenButton() {
        Window window;
        FeatureChildrenSection* section = window.open(KestroFeature::imageTools)->childrenSection();
        const QStringList images = KestroFeature(KestroFeature::imageTools).childIDs();
        // Not every image action is on by default, so the button offers to turn them all on, then off.
        for (const bool on : {true, false}) {
            QCOMPARE(section->allButton()->text(),
                     on ? QStringLiteral("全部开启") : QStringLiteral("全部关闭"));
            click(section->allButton());
            for (const QString& id : images)
                QVERIFY2(storedList("enabledChildIDs").contains(id) == on, qPrintable(id));
        }
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("imageTools")));
        // The feature's own switch writes, and follows the store when it changes elsewhere.
        FeatureDetailView* page = window.open(KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
        click(page->enableRow()->toggle());
        QVERIFY(storedList("enabledFeatureIDs").contains(QStringLiteral("developerTools")));
        window.featureSettings.setEnabled(false, KestroFeature::developerTools);
        QVERIFY(!page->enableRow()->toggle()->isChecked());
    }

    // The real drags are in test_settings_drag (under Xvfb); here a drop's effect on a selection that is not
    // the dragged row, and a drop that changes nothing.
    void aFeatureDropKeepsTheSelectedPage() {
        Window window;
        FeatureSidebarModel* model = window.view.sidebar()->model();
        const QList<KestroFeature> before = window.featureSettings.orderedFeatures();
        const KestroFeature selected = before.at(2);
        window.view.showPage(SettingsPage::of(selected));
        QVERIFY(model->moveRows({}, 5, 1, {}, 0));
        QCOMPARE(window.featureSettings.orderedFeatures().constFirst(), before.at(5));
        QCOMPARE(storedList("featureOrder").at(0), before.at(5).id());
        QCOMPARE(window.view.currentPage(), SettingsPage::of(selected));
        QCOMPARE(window.view.sidebar()->featureList()->currentIndex().row(), 3);
        const QByteArray file = readAll(FeatureSettingsPersistence::applicationFileURL());
        QVERIFY(!model->moveRows({}, 3, 1, {}, 4));
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), file);
        QVERIFY(model->moveRows({}, 3, 1, {}, model->rowCount()));
        QCOMPARE(window.featureSettings.orderedFeatures().constLast(), selected);
        QCOMPARE(window.view.sidebar()->featureList()->currentIndex().row(), model->rowCount() - 1);
    }

    void preferenceSwitchesSaveAtOnceAndARefusedLoginItemFlipsBack() {
        Window window;
        PreferencesDetailView* page = window.view.preferencesPage();
        window.view.showPage(SettingsPage::preferences());
        click(page->revealCreatedItemsRow()->toggle());
        QVERIFY(AppPreferencesPersistence::load().revealCreatedItems);
        click(page->revealActionResultsRow()->toggle());
        QVERIFY(!AppPreferencesPersistence::load().revealActionResults);
        QVERIFY(labelTexts(page->failureNotificationsRow()).contains(QStringLiteral("操作失败时显示通知")));
        click(page->failureNotificationsRow()->toggle());
        QVERIFY(!AppPreferencesPersistence::load().showsFailureNotifications);
        click(page->groupingRow()->toggle()); // on by default
        QCOMPARE(PropertyListFile::read(FeatureSettingsPersistence::applicationFileURL())
                     ->toMap()
                     .value("groupsFeaturesUnderKestro"),
                 QVariant(false));
        click(page->collapsedLayoutRow()->toggle());
        QCOMPARE(FeatureSettingsPersistence::loadSettings()->menuLayout, FinderMenuLayout::expanded);

        SettingsToggleRow* login = page->launchAtLoginRow();
        FakePlatform::loginItems().refuses = true;
        click(login->toggle());
        QVERIFY(!login->toggle()->isChecked() && !window.preferences.launchAtLogin());
        QVERIFY2(login->note().contains(QStringLiteral("login item refused")), qPrintable(login->note()));
        FakePlatform::loginItems().refuses = false;
        click(login->toggle());
        QVERIFY(login->toggle()->isChecked() && login->note().isEmpty() &&
                FakePlatform::loginItems().enabled);
        QVERIFY(AppPreferencesPersistence::load().launchAtLogin);
    }

    void theWindowKeepsWhatTheStoreHoldsWhenTheFileGoes() {
        Window window;
        QVERIFY(QFile::remove(FeatureSettingsPersistence::applicationFileURL()));
        FeatureChildrenSection* section = window.open(KestroFeature::copyPath)->childrenSection();
        clickRow(section->listView(), 1, switchOf);
        QVERIFY(!storedList("enabledChildIDs").contains(section->model()->children().at(1).actionID));
        QCOMPARE(storedList("featureOrder").size(), 14);
        window.environment.writeFile(FeatureSettingsPersistence::applicationFileURL(), "not a property list");
        click(window.view.featurePage(KestroFeature::copyPath)->enableRow()->toggle());
        QVERIFY(!storedList("enabledFeatureIDs").contains(QStringLiteral("copyPath")));
    }

    void everyPageShowsItsOwnLists() {
        Window window;
        const QSet<KestroFeature> withList{KestroFeature::copyFile,         KestroFeature::organizeFile,
                                           KestroFeature::quickOpen,        KestroFeature::openWith,
                                           KestroFeature::customActions,    KestroFeature::viewOptions,
                                           KestroFeature::scheduledDeletion};
        for (KestroFeature feature : KestroFeature::allCases()) {
            FeatureDetailView* page = window.open(feature);
            QCOMPARE(window.view.currentDetail(), page);
            QCOMPARE(page->userSection() != nullptr, withList.contains(feature));
            QCOMPARE(page->childrenSection() != nullptr, !feature.children().isEmpty());
        }
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
    }

    void scheduledDeletionCanBeCancelledFromThePage() {
        Window window;
        const QString keep = window.environment.writeFile(QStringLiteral("files/keep me.txt"), "a");
        const QString gone = window.environment.writeFile(QStringLiteral("files/cancel me.txt"), "b");
        ScheduledDeletionStore::schedule({keep}, 3600);
        ScheduledDeletionStore::schedule({gone}, 60);
        auto* section = window.section<ScheduledDeletionSection>(KestroFeature::scheduledDeletion);
        QTRY_COMPARE(section->model()->rowCount(), 2);
        QCOMPARE(section->model()->rows().at(0).title, QStringLiteral("cancel me.txt")); // earliest first
        QPushButton* cancelButton = visibleButton(section, QStringLiteral("取消清理"));
        QVERIFY(cancelButton && !cancelButton->isEnabled()); // nothing chosen yet
        clickRow(section->listView(), 0);
        click(cancelButton);
        QTRY_COMPARE(section->model()->rowCount(), 1);
        QCOMPARE(ScheduledDeletionStore::items().size(), 1);
        QCOMPARE(ScheduledDeletionStore::items().constFirst().path, keep);
        QVERIFY(QFile::exists(gone)); // cancelling never touches the file
    }

    void aVanishedFolderIsShownWithAWarningAndRowsRemoveExactly() {
        Window window;
        const QString folder = window.environment.makeFolder(
            QStringLiteral("a folder with a very long name ") + QString(70, QChar(0x6587)));
        QVERIFY(window.destinations.addDestinationPath(CustomDestinationKind::copy, folder));
        auto* section = window.section<CustomDestinationSection>(KestroFeature::copyFile);
        const int row = section->model()->rowCount() - 1;
        QVERIFY(!section->model()->rows().at(row).warning);
        // The store is unchanged; the row follows the folder as it goes and comes back.
        QVERIFY(QDir(folder).removeRecursively());
        QTRY_VERIFY(section->model()->rows().at(row).warning);
        QVERIFY(section->model()->rows().at(row).subtitle.contains(folder));
        QVERIFY(QDir().mkpath(folder));
        QTRY_VERIFY(!section->model()->rows().at(row).warning);
        // Paths under the home folder read from "~"; a sibling that merely starts alike does not.
        const QString home = window.environment.home();
        QCOMPARE(UserListModel::displayPath(home + QStringLiteral("/Downloads/a b")),
                 QStringLiteral("~/Downloads/a b"));
        QCOMPARE(UserListModel::displayPath(home + QStringLiteral("2/x")), home + QStringLiteral("2/x"));
        clickRow(section->listView(), row);
        click(visibleButton(section, QStringLiteral("移除")));
        QCOMPARE(window.destinations.destinations(CustomDestinationKind::copy).size(), row);
        QCOMPARE(section->model()->rowCount(), row);

        // A custom action renamed in place is trimmed.
        QVERIFY(window.customActions.addScript(
            window.environment.writeFile(QStringLiteral("scripts/tidy.sh"), "#!/bin/sh\n")));
        auto* actions = window.section<CustomShortcutActionSection>(KestroFeature::customActions);
        QVERIFY(
            actions->model()->setData(actions->model()->index(0), QStringLiteral("  整理 \n"), Qt::EditRole));
        QCOMPARE(CustomShortcutActionPersistence::load().constFirst().name, QStringLiteral("整理"));
    }

    void featureRequestSheetOpensAPrefilledMailOrKeepsTheWish() {
        TestEnvironment environment;
        FeatureRequestSheet sheet;
        sheet.show();
        QVERIFY(QTest::qWaitForWindowExposed(&sheet));
        type(sheet.editor(), QStringLiteral("  "));
        QVERIFY(!sheet.submitButton()->isEnabled());
        sheet.editor()->clear();
        const QString wish = QStringLiteral("批量加水印 & 压缩");
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
            items.append(consent.environment.writeFile(QStringLiteral("home/item %1.txt").arg(index), "x"));
        bool sawEverything = false;
        const ModalAnswer answer0 = whenDialogShows([&](ConsentDialog& dialog) {
            auto* confirm = buttonOf(dialog, "confirmButton");
            auto* list = dialog.findChild<QListWidget*>(QStringLiteral("itemList"));
            auto* destination = dialog.findChild<QListWidget*>(QStringLiteral("destinationList"));
            QVERIFY(confirm && list && destination);
            QVERIFY(!confirm->isEnabled());
            QVERIFY(buttonOf(dialog, "cancelButton")->isDefault());
            QCOMPARE(list->count(), 40);
            QCOMPARE(list->item(39)->text(), items.at(39));
            // The destination as the file system resolves it, not the link's text.
            QCOMPARE(destination->item(0)->text(), QFileInfo(consent.destination).canonicalFilePath());
            QVERIFY(Modal::labelTexts(&dialog).contains(QStringLiteral("另一个程序请求 Kestro 执行此操作")));
            QVERIFY(dialog.findChild<QLabel*>(QStringLiteral("actionLabel"))
                        ->text()
                        .contains(QStringLiteral("复制到文件夹")));
            // A click on the sleeping button does nothing.
            Modal::click(confirm);
            QVERIFY(dialog.isVisible());
            sawEverything = true;
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            Modal::click(confirm);
        });
        QVERIFY(consent.model.handleIncomingURL(
            kestroActionURL(QStringLiteral("copyFilesToFolder"), items, std::nullopt,
                            consent.destination + QString(300, QLatin1Char('/')) +
                                QStringLiteral("../shared/.")),
            RequestOrigin::link));
        QVERIFY(sawEverything);
        QVERIFY(consent.copied());
        QVERIFY(consent.environment.logText().contains(
            QStringLiteral("link request confirmed: action=copyFilesToFolder")));
    }

    void enterAndCancelRefuse() {
        Consent consent;
        // Return goes to the default button, which is Cancel, even once confirming is possible.
        const ModalAnswer answer1 = whenDialogShows([](ConsentDialog& dialog) {
            QTest::qWait(400);
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        QVERIFY(!consent.model.handleIncomingURL(consent.request(), RequestOrigin::link));
        // A refused request leaves the duplicate filter alone: the same link at once is asked again.
        const ModalAnswer answer2 =
            whenDialogShows([](ConsentDialog& dialog) { Modal::click(buttonOf(dialog, "cancelButton")); });
        QVERIFY(!consent.model.handleIncomingURL(consent.request(), RequestOrigin::link));
        QVERIFY(!consent.copied());
        QCOMPARE(consent.environment.logText().count(QStringLiteral("reason=not confirmed")), 2);
    }

    void theConfirmButtonSleepsAgainWhenTheDialogComesBack() {
        Consent consent;
        QWidget other;
        other.show();
        const ModalAnswer answer3 = whenDialogShows([&](ConsentDialog& dialog) {
            auto* confirm = buttonOf(dialog, "confirmButton");
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            // The user switches away and back: clicks aimed at the other window must not confirm.
            other.activateWindow();
            QTRY_VERIFY(!dialog.isActiveWindow());
            dialog.activateWindow();
            QTRY_VERIFY(dialog.isActiveWindow());
            QVERIFY(!confirm->isEnabled());
            Modal::click(confirm);
            QVERIFY(dialog.isVisible());
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            Modal::click(confirm);
        });
        QVERIFY(consent.model.handleIncomingURL(consent.request(), RequestOrigin::link));
        QVERIFY(consent.copied());
    }

    void noAnswerRefusesByItself() {
        Consent consent;
        Platform::setPrompts(std::make_shared<WidgetPrompts>(ConsentTiming{100ms, 600ms}));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!consent.model.handleIncomingURL(consent.request(), RequestOrigin::link));
        QVERIFY(clock.elapsed() >= 500);
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(!consent.copied());
    }

    void withNoDisplayNothingIsAskedAndNothingRuns() {
        Consent consent;
        Platform::setPrompts(std::make_shared<HeadlessPrompts>());
        QVERIFY(!consent.model.handleIncomingURL(consent.request(), RequestOrigin::link));
        QVERIFY(!consent.copied());
        QVERIFY(consent.environment.logText().contains(
            QStringLiteral("link request refused: action=copyFilesToFolder reason=not confirmed")));
    }

    void theUsersOwnRequestAsksNothing() {
        Consent consent;
        QVERIFY(consent.model.handleIncomingURL(consent.request(), RequestOrigin::user));
        QVERIFY(consent.copied());
        QVERIFY(!consent.environment.logText().contains(QStringLiteral("link request")));
    }

    void textsFromTheLinkAreNeverMarkup() {
        Consent consent;
        const QString folder =
            consent.environment.makeFolder(QStringLiteral("<b>bold</b> <a href='x'>link</a>"));
        ConsentDialog dialog(
            {QStringLiteral("拷贝到"), QStringLiteral("copyFilesToFolder"), {folder}, folder});
        for (QLabel* label : dialog.findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }
};

QTEST_MAIN(TestWidgets)
#include "test_widgets.moc"
