// Every question of the widget prompts, opened for real and answered through its widgets.
#include "app/QtChineseTexts.h"
#include "app/WidgetPrompts.h"
#include "support/ModalAnswer.h"
#include "support/TestEnvironment.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTest>

namespace {

QString makeExecutable(const TestEnvironment& environment, const QString& name) {
    const QString path = environment.writeFile(name, "#!/bin/sh\nexit 0\n");
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
    return path;
}

} // namespace

class TestWidgetPrompts : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { installQtChineseTexts(*QCoreApplication::instance()); }

    void textPromptAnswersWhatWasTypedOrNothing() {
        WidgetPrompts prompts;
        const QString typed = QStringLiteral("  报告 \"最终\" 版 ");
        ModalAnswer answer([&](QWidget* dialog) {
            QVERIFY(Modal::labelTexts(dialog).contains(QStringLiteral("添加前缀")));
            QVERIFY(Modal::labelTexts(dialog).contains(QStringLiteral("输入要添加到文件名前面的文字。")));
            auto* field = dialog->findChild<QLineEdit*>();
            QCOMPARE(QApplication::focusWidget(), field);
            Modal::type(field, typed);
            Modal::click(Modal::button(dialog, QStringLiteral("确定")));
        });
        QCOMPARE(
            prompts.promptText(QStringLiteral("添加前缀"), QStringLiteral("输入要添加到文件名前面的文字。")),
            std::optional<QString>(typed));
        QCOMPARE(answer.answered(), 1);

        ModalAnswer cancel([](QWidget* dialog) {
            Modal::type(dialog->findChild<QLineEdit*>(), QStringLiteral("x"));
            Modal::cancel(dialog);
        });
        QCOMPARE(prompts.promptText(QStringLiteral("a"), QStringLiteral("b")), std::nullopt);
        QCOMPARE(cancel.answered(), 1);

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
            Modal::cancel(dialog);
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
            const QStringList texts = Modal::labelTexts(dialog);
            QVERIFY(texts.contains(QStringLiteral("调整图片大小")));
            QVERIFY(texts.contains(QStringLiteral("输入宽度和高度，例如 1024 x 768。")));
            // The hints are placeholders, not labels beside the fields.
            QVERIFY(!texts.contains(QStringLiteral("宽度（像素）")));
            const QList<QLineEdit*> fields = dialog->findChildren<QLineEdit*>();
            QCOMPARE(fields.size(), 2);
            QCOMPARE(fields.at(0)->placeholderText(), QStringLiteral("宽度（像素）"));
            QCOMPARE(fields.at(1)->placeholderText(), QStringLiteral("高度（像素）"));
            QCOMPARE(QApplication::focusWidget(), fields.at(0));
            Modal::type(fields.at(0), QStringLiteral("1024"));
            QTest::keyClick(fields.at(0), Qt::Key_Tab);
            Modal::type(QApplication::focusWidget(), QStringLiteral("768"));
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
            Modal::typeIntoFilePanel(dialog, folder);
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
            Modal::typeIntoFilePanel(dialog, folder + QLatin1Char('/'));
        });
        QCOMPARE(prompts.chooseItem(request), std::optional(folder));
        QCOMPARE(add.answered(), 1);

        ModalAnswer cancel([](QWidget* dialog) { Modal::cancel(dialog); });
        QCOMPARE(prompts.chooseItem(request), std::nullopt);
        QCOMPARE(cancel.answered(), 1);
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
            Modal::typeIntoFilePanel(dialog, QStringLiteral("脚本 1.py"));
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
                Modal::throughOtherApplications(picker, [&](QWidget* dialog) {
                    QCOMPARE(dialog->windowTitle(), QStringLiteral("选择常用应用"));
                    Modal::typeIntoFilePanel(dialog, chosen);
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
            Modal::throughOtherApplications(picker, [&](QWidget* dialog) {
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
                        QTimer::singleShot(50, panel, [panel] { Modal::cancel(panel); });
                    },
                    dialog);
                Modal::typeIntoFilePanel(dialog, text);
            });
            Modal::cancel(picker); // the panel given up, the picker is too
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
            QVERIFY(Modal::labelTexts(dialog).contains(QStringLiteral("添加快捷指令")));
            QVERIFY(Modal::labelTexts(dialog).contains(QStringLiteral("选一个")));
            auto* box = dialog->findChild<QComboBox*>();
            QVERIFY(box && box->isEditable());
            QCOMPARE(box->count(), 3);
            QCOMPARE(box->currentText(), QStringLiteral("压缩图片")); // preset to the first
            QCOMPARE(box->lineEdit()->placeholderText(), QStringLiteral("快捷指令名称"));
            QCOMPARE(Modal::button(dialog, QStringLiteral("添加"))->text(), QStringLiteral("添加"));
            // Typing completes from the list.
            box->lineEdit()->selectAll();
            Modal::type(box->lineEdit(), QStringLiteral("Ren"));
            QCOMPARE(box->currentText(), QStringLiteral("Rename All"));
            Modal::click(Modal::button(dialog, QStringLiteral("添加")));
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
            Modal::type(box->lineEdit(), QStringLiteral("我的 快捷指令"));
            QTest::keyClick(box->lineEdit(), Qt::Key_Return);
        });
        QCOMPARE(prompts.chooseShortcutName(QStringLiteral("添加快捷指令"), QStringLiteral("没有"),
                                            QStringLiteral("快捷指令名称"), {}),
                 std::optional(QStringLiteral("我的 快捷指令")));
        QCOMPARE(typed.answered(), 1);

        ModalAnswer cancel([](QWidget* dialog) { Modal::cancel(dialog); });
        QCOMPARE(
            prompts.chooseShortcutName(QStringLiteral("t"), QStringLiteral("m"), QStringLiteral("p"), names),
            std::nullopt);
        QCOMPARE(cancel.answered(), 1);
    }

    void featureRequestDialogAnswersTheWrittenText() {
        WidgetPrompts prompts;
        ModalAnswer answer([](QWidget* dialog) {
            QVERIFY(Modal::labelTexts(dialog).contains(QStringLiteral("请求新功能")));
            auto* editor = dialog->findChild<QPlainTextEdit*>();
            Modal::type(editor, QStringLiteral("批量加水印"));
            QTest::keyClick(editor, Qt::Key_Return);
            Modal::type(editor, QStringLiteral("第二行"));
            Modal::click(Modal::button(dialog, QStringLiteral("提交")));
        });
        QCOMPARE(prompts.requestFeatureText(), std::optional(QStringLiteral("批量加水印\n第二行")));
        QCOMPARE(answer.answered(), 1);
    }
};

QTEST_MAIN(TestWidgetPrompts)
#include "test_widget_prompts.moc"
