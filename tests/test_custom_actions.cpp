#include "actions/CustomActionRunner.h"
#include "actions/FinderActionExecutor.h"
#include "actions/ProcessRunner.h"
#include "app/WidgetPrompts.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "platform/ShortcutsTool.h"
#include "stores/CustomShortcutActionPersistence.h"
#include "stores/CustomShortcutActionStore.h"
#include "support/FakePlatform.h"
#include "support/ModalAnswer.h"
#include "support/TestEnvironment.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>

namespace {

// Stands an executable of the test's own in for the Shortcuts tool, and puts the system's back afterwards.
struct ShortcutsToolStandIn {
    explicit ShortcutsToolStandIn(const std::optional<QString>& path) {
        ShortcutsTool::setExecutablePath(path);
    }
    ~ShortcutsToolStandIn() { ShortcutsTool::resetExecutablePath(); }
};

QString writeExecutable(const TestEnvironment& environment, const QString& name, const QByteArray& text) {
    const QString path = environment.writeFile(name, text);
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner | QFileDevice::ExeUser);
    return path;
}

// A script that writes every argument it receives, each followed by a NUL byte, to $KESTRO_TEST_RECORD.
const QByteArray recordingShellScript = "out=\"$KESTRO_TEST_RECORD\"\n: > \"$out\"\nfor a in \"$@\"; do "
                                        "printf '%s\\0' \"$a\" >> \"$out\"; done\n";

QStringList recordedArguments(const QString& path) {
    QStringList arguments;
    const QByteArray bytes = readAll(path);
    for (const QByteArray& piece : bytes.split('\0'))
        arguments.append(QString::fromUtf8(piece));
    if (!arguments.isEmpty())
        arguments.removeLast(); // after the last NUL
    return arguments;
}

QVariantMap element(const QVariantMap& fields) {
    return fields;
}

CustomShortcutAction storeScript(const QString& path) {
    CustomShortcutAction action{QUuid::createUuid().toString(QUuid::WithoutBraces), QStringLiteral("s"),
                                CustomShortcutAction::Kind::script, QString(), path};
    QList<CustomShortcutAction> actions = CustomShortcutActionPersistence::load();
    actions.append(action);
    CustomShortcutActionPersistence::save(actions);
    return action;
}

template <typename Call> FinderActionExecutionError expectFailure(Call call) {
    try {
        call();
    } catch (const FinderActionExecutionError& error) {
        return error;
    }
    QTest::qFail("no FinderActionExecutionError was thrown", __FILE__, __LINE__);
    return FinderActionExecutionError::noSelection();
}

} // namespace

class TestCustomActions : public QObject {
    Q_OBJECT

private slots:
    void init() { qunsetenv("KESTRO_TEST_RECORD"); }

    void loadingKeepsTheUsableEntriesAndSetsTheRestAside() {
        TestEnvironment environment;
        const QVariantList root{
            element({{"id", "1"}, {"name", "Script without path"}, {"kind", "script"}, {"scriptPath", ""}}),
            element({{"id", "2"}, {"name", "Old shortcut"}, {"shortcutName", "Resize"}}),
            element({{"name", "No id"}, {"kind", "shortcut"}, {"shortcutName", "X"}}),
            QStringLiteral("not a dictionary"),
            element({{"id", "3"}, {"name", "Odd kind"}, {"kind", "SCRIPT"}, {"scriptPath", "/s.sh"}}),
            element({{"id", "4"},
                     {"name", "Script"},
                     {"kind", "script"},
                     {"scriptPath", "/s.sh"},
                     {"shortcutName", 7}}),
        };
        PropertyListFile::write(CustomShortcutActionPersistence::settingsFilePath(), root);
        const QByteArray original = readAll(CustomShortcutActionPersistence::settingsFilePath());

        CustomShortcutActionStore store;
        QCOMPARE(store.actions().size(), 2);
        QCOMPARE(store.actions().at(0).id, QStringLiteral("2"));
        QCOMPARE(store.actions().at(0).kind, CustomShortcutAction::Kind::shortcut);
        QCOMPARE(store.actions().at(0).scriptPath, QString());
        QCOMPARE(store.actions().at(1).kind, CustomShortcutAction::Kind::script);
        QCOMPARE(store.actions().at(1).actionID(), QStringLiteral("runScript__4"));
        // The store writes nothing at start, and the original is kept aside before any edit rewrites it.
        QVERIFY(FakePlatform::notifications().settingsReasons.isEmpty());
        QCOMPARE(readAll(CustomShortcutActionPersistence::settingsFilePath() + QStringLiteral(".unreadable")),
                 original);

        environment.writeFile(CustomShortcutActionPersistence::settingsFilePath(), "garbage");
        QVERIFY(CustomShortcutActionPersistence::load().isEmpty());
    }

    void editsSaveBothCopiesAndAnnounceThem() {
        TestEnvironment environment;
        CustomShortcutActionStore store;
        QVERIFY(store.actions().isEmpty());
        QSignalSpy changed(&store, &CustomShortcutActionStore::actionsChanged);

        const QString script = environment.writeFile(QStringLiteral("scripts/tidy up.v2.sh"), "true\n");
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        ModalAnswer choose([&](QWidget* dialog) {
            auto* panel = qobject_cast<QFileDialog*>(dialog);
            QCOMPARE(panel->windowTitle(), QStringLiteral("选择扩展脚本"));
            QCOMPARE(panel->labelText(QFileDialog::Accept), QStringLiteral("添加"));
            QCOMPARE(panel->fileMode(), QFileDialog::ExistingFile);
            QCOMPARE(QDir(panel->directory()).canonicalPath(), QDir(environment.home()).canonicalPath());
            Modal::typeIntoFilePanel(dialog, script);
        });
        store.addScriptAction();
        QCOMPARE(choose.answered(), 1);
        ModalAnswer cancel([](QWidget* dialog) { Modal::cancel(dialog); });
        store.addScriptAction();
        QCOMPARE(cancel.answered(), 1);
        QCOMPARE(store.actions().size(), 1);
        QCOMPARE(store.actions().at(0).name, QStringLiteral("tidy up.v2"));
        QCOMPARE(store.actions().at(0).scriptPath, script);

        QVERIFY(store.addShortcut(QStringLiteral("  Make GIF \n"), QStringLiteral(" ")));
        QVERIFY(!store.addShortcut(QStringLiteral(" \t"), QStringLiteral("Name")));
        QCOMPARE(store.actions().at(1).name, QStringLiteral("Make GIF"));
        QCOMPARE(store.actions().at(1).shortcutName, QStringLiteral("Make GIF"));
        QVERIFY(store.addScript(environment.writeFile(QStringLiteral("scripts/.hidden"), "")));
        QCOMPARE(store.actions().at(2).name, QStringLiteral(".hidden"));

        store.update(store.actions().at(0), QStringLiteral("  整理 \n"));
        QCOMPARE(store.actions().at(0).name, QStringLiteral("整理"));
        store.update(store.actions().at(1), QStringLiteral("   "));
        QCOMPARE(store.actions().at(1).name, QStringLiteral("Make GIF"));
        store.update(store.actions().at(0), QString());
        QCOMPARE(store.actions().at(0).name, script);
        const int before = changed.size();
        store.update(CustomShortcutAction{QStringLiteral("unknown")}, QStringLiteral("x"));
        QCOMPARE(changed.size(), before);

        const QString first = store.actions().at(0).id;
        const QString third = store.actions().at(2).id;
        store.moveActions({0}, 3);
        QCOMPARE(store.actions().at(2).id, first);
        store.removeActions({1});
        QCOMPARE(store.actions().size(), 2);
        QCOMPARE(store.actions().at(1).id, first);
        QVERIFY(store.actions().at(0).id != third);

        QCOMPARE(CustomShortcutActionPersistence::load(), store.actions());
        QCOMPARE(readAll(CustomShortcutActionPersistence::settingsFilePath()),
                 readAll(KestroPaths::extensionDirectory() + QStringLiteral("/CustomShortcutActions.plist")));
        QCOMPARE(changed.size(), FakePlatform::notifications().settingsReasons.size());
        const QStringList reasons = FakePlatform::notifications().settingsReasons;
        QCOMPARE(QSet<QString>(reasons.cbegin(), reasons.cend()),
                 QSet<QString>{QStringLiteral("custom-shortcut-actions")});
        // Every element carries all five keys, the kind spelled out.
        const QVariantMap stored = PropertyListFile::read(CustomShortcutActionPersistence::settingsFilePath())
                                       ->toList()
                                       .at(0)
                                       .toMap();
        QCOMPARE(stored.keys(), (QStringList{"id", "kind", "name", "scriptPath", "shortcutName"}));
        QCOMPARE(stored.value("kind").toString(), QStringLiteral("shortcut"));
    }

    void thePickerOffersTheUsersShortcuts() {
        TestEnvironment environment;
        CustomShortcutActionStore store;
        {
            // This system has no Shortcuts: an empty list, and a typed name is still taken.
            Platform::setPrompts(std::make_shared<WidgetPrompts>());
            ModalAnswer typed([](QWidget* dialog) {
                QVERIFY(dialog->findChild<QLabel*>() != nullptr);
                QStringList texts;
                for (QLabel* label : dialog->findChildren<QLabel*>())
                    texts.append(label->text());
                QVERIFY(texts.contains(QStringLiteral("添加快捷指令")));
                QVERIFY(texts.contains(QStringLiteral("没有读取到快捷指令，你也可以手动输入快捷指令名称。")));
                auto* box = dialog->findChild<QComboBox*>();
                QCOMPARE(box->count(), 0);
                QCOMPARE(box->lineEdit()->placeholderText(), QStringLiteral("快捷指令名称"));
                Modal::type(box->lineEdit(), QStringLiteral(" Typed "));
                Modal::click(Modal::button(dialog, QStringLiteral("添加")));
            });
            store.addAction();
            QCOMPARE(typed.answered(), 1);
            QCOMPARE(store.actions().at(0).shortcutName, QStringLiteral("Typed"));
        }
        {
            const QString tool = writeExecutable(
                environment, QStringLiteral("bin/shortcuts"),
                "#!/bin/sh\n[ \"$1\" = list ] || exit 2\nprintf '  Resize 图片 \\n\\n\\t\\nMake GIF\\n'\n");
            ShortcutsToolStandIn standIn(tool);
            QCOMPARE(CustomShortcutActionStore::availableShortcutNames(),
                     (QStringList{QStringLiteral("Resize 图片"), QStringLiteral("Make GIF")}));
            ModalAnswer cancelled([](QWidget* dialog) {
                QStringList texts;
                for (QLabel* label : dialog->findChildren<QLabel*>())
                    texts.append(label->text());
                QVERIFY(texts.contains(
                    QStringLiteral("选择一个已有快捷指令，Kestro 会把文件管理器中选中的文件传给它。")));
                auto* box = dialog->findChild<QComboBox*>();
                QCOMPARE(box->count(), 2);
                QCOMPARE(box->currentText(), QStringLiteral("Resize 图片"));
                Modal::cancel(dialog);
            });
            store.addAction();
            QCOMPARE(cancelled.answered(), 1);
            QCOMPARE(store.actions().size(), 1);
        }
        {
            ShortcutsToolStandIn standIn(writeExecutable(environment, QStringLiteral("bin/failing"),
                                                         "#!/bin/sh\necho Name\nexit 1\n"));
            QVERIFY(CustomShortcutActionStore::availableShortcutNames().isEmpty());
        }
    }

    void scriptsReceiveAwkwardPathsIntact_data() {
        QTest::addColumn<QString>("scriptName");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("executable");
        QTest::newRow("shell, capital extension")
            << QStringLiteral("record.SH") << recordingShellScript << false;
        QTest::newRow("executable") << QStringLiteral("record it \"now\"")
                                    << ("#!/bin/sh\n" + recordingShellScript) << true;
        QTest::newRow("bash") << QStringLiteral("record.bash") << recordingShellScript << false;
        if (QFileInfo(QStringLiteral("/usr/bin/python3")).isExecutable())
            QTest::newRow("python, capital extension")
                << QStringLiteral("record.PY")
                << QByteArray("import os, sys\nwith open(os.environ['KESTRO_TEST_RECORD'], 'wb') as f:\n"
                              "    for a in sys.argv[1:]:\n        f.write(os.fsencode(a) + b'\\0')\n")
                << false;
    }

    void scriptsReceiveAwkwardPathsIntact() {
        QFETCH(QString, scriptName);
        QFETCH(QByteArray, text);
        QFETCH(bool, executable);
        TestEnvironment environment;
        const QString record = environment.root() + QStringLiteral("/record");
        qputenv("KESTRO_TEST_RECORD", record.toUtf8());
        const QString script =
            executable ? writeExecutable(environment, QStringLiteral("scripts/") + scriptName, text)
                       : environment.writeFile(QStringLiteral("scripts/") + scriptName, text);
        const QString folder = environment.makeFolder(QStringLiteral("in"));
        const QStringList inputs{
            environment.writeFile(QStringLiteral("in/-n"), "x"),
            environment.writeFile(QStringLiteral("in/two  blanks 'single' \"double\".txt"), "x"),
            environment.writeFile(QStringLiteral("in/line\nbreak $(touch pwned) `id` ;&|*.txt"), "x"),
            environment.writeFile(QStringLiteral("in/--help=文件 ✓"), "x"),
            folder,
        };
        const CustomShortcutAction action = storeScript(script);

        FinderActionExecutor::perform(action.actionID(), inputs, std::nullopt, std::nullopt, std::nullopt);
        QCOMPARE(recordedArguments(record), inputs);
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/pwned")));
        QVERIFY(!QFileInfo::exists(QDir::currentPath() + QStringLiteral("/pwned")));
        QVERIFY(environment.logText().contains(QStringLiteral("run script path=") + script +
                                               QStringLiteral(" input=[\"") + inputs.at(0) +
                                               QStringLiteral("\", \"")));

        // Without a selection the targeted folder alone is the input.
        FinderActionExecutor::perform(action.actionID(), {}, folder, std::nullopt, std::nullopt);
        QCOMPARE(recordedArguments(record), QStringList{folder});
    }

    void theInterpreterFollowsTheExtension() {
        TestEnvironment environment;
        const QString shell = QFileInfo(QStringLiteral("/bin/zsh")).isExecutable()
                                  ? QStringLiteral("/bin/zsh")
                                  : QStringLiteral("/bin/sh");
        const QString plain = environment.writeFile(QStringLiteral("s/run.SH"), "");
        const auto invocation = CustomActionRunner::scriptInvocation(plain, {QStringLiteral("/a")});
        QCOMPARE(invocation.executable, shell);
        QCOMPARE(invocation.arguments, (QStringList{plain, QStringLiteral("/a")}));
        QCOMPARE(CustomActionRunner::scriptInvocation(environment.writeFile(QStringLiteral("s/x.Py"), ""), {})
                     .executable,
                 QStringLiteral("/usr/bin/python3"));
        QCOMPARE(
            CustomActionRunner::scriptInvocation(environment.writeFile(QStringLiteral("s/x.scpt"), ""), {})
                .executable,
            ProcessRunner::appleScriptRunnerPath());
        QCOMPARE(
            CustomActionRunner::scriptInvocation(environment.writeFile(QStringLiteral("s/x.bash"), ""), {})
                .executable,
            QStringLiteral("/bin/bash"));
        QCOMPARE(CustomActionRunner::scriptInvocation(
                     environment.writeFile(QStringLiteral("s/noextension"), ""), {})
                     .executable,
                 shell);
        // An executable file runs itself whatever its extension says.
        const QString tool = writeExecutable(environment, QStringLiteral("s/tool.py"), "#!/bin/sh\n");
        QCOMPARE(CustomActionRunner::scriptInvocation(tool, {QStringLiteral("/a")}).executable, tool);
        QCOMPARE(CustomActionRunner::scriptInvocation(tool, {QStringLiteral("/a")}).arguments,
                 QStringList{QStringLiteral("/a")});
    }

    void scriptFailuresAreClear() {
        TestEnvironment environment;
        const QString input = environment.writeFile(QStringLiteral("in/a.txt"), "x");
        const QString failing =
            environment.writeFile(QStringLiteral("s/fail.sh"), "echo '  出错了: boom ' >&2\nexit 3\n");
        const CustomShortcutAction failingAction = storeScript(failing);
        FinderActionExecutionError error = expectFailure(
            [&] { CustomActionRunner::runCustomScript(failingAction.id, {input}, std::nullopt); });
        QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
        QCOMPARE(error.errorDescription(), QStringLiteral("出错了: boom"));

        const QString gone = environment.writeFile(QStringLiteral("s/gone.sh"), "true\n");
        const CustomShortcutAction goneAction = storeScript(gone);
        QFile::remove(gone);
        error =
            expectFailure([&] { CustomActionRunner::runCustomScript(goneAction.id, {input}, std::nullopt); });
        QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::sourceItemMissing);
        QCOMPARE(error.payload(), gone);

        error =
            expectFailure([&] { CustomActionRunner::runCustomScript(failingAction.id, {}, std::nullopt); });
        QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::noSelection);

        error = expectFailure(
            [&] { FinderActionExecutor::perform(QStringLiteral("runScript__nope"), {input}, {}, {}, {}); });
        QCOMPARE(error.errorDescription(), QStringLiteral("暂不支持这个右键动作：runScript__nope。"));

        CustomShortcutActionStore store;
        const CustomShortcutAction shortcut =
            *store.addShortcut(QStringLiteral("Resize"), QStringLiteral("Resize"));
        error =
            expectFailure([&] { CustomActionRunner::runCustomScript(shortcut.id, {input}, std::nullopt); });
        QCOMPARE(error.payload(), QStringLiteral("runScript__") + shortcut.id);

        if (!QFileInfo::exists(QStringLiteral("/usr/bin/osascript"))) {
            const CustomShortcutAction appleScript =
                storeScript(environment.writeFile(QStringLiteral("s/x.applescript"), ""));
            error = expectFailure(
                [&] { CustomActionRunner::runCustomScript(appleScript.id, {input}, std::nullopt); });
            QCOMPARE(error.errorDescription(),
                     QStringLiteral("这个系统上没有 /usr/bin/osascript，无法运行这个脚本。"));
        }
    }

    void shortcutsRunThroughTheShortcutsTool() {
        TestEnvironment environment;
        CustomShortcutActionStore store;
        const CustomShortcutAction shortcut =
            *store.addShortcut(QStringLiteral("Make GIF"), QStringLiteral("GIF"));
        const CustomShortcutAction script =
            *store.addScript(environment.writeFile(QStringLiteral("s/x.sh"), "true\n"));
        const QString input = environment.writeFile(QStringLiteral("in/-a b.txt"), "x");
        const QString folder = environment.makeFolder(QStringLiteral("in"));

        // This system has no Shortcuts application.
        FinderActionExecutionError error =
            expectFailure([&] { FinderActionExecutor::perform(shortcut.actionID(), {input}, {}, {}, {}); });
        QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
        QCOMPARE(error.errorDescription(), QStringLiteral("这个系统上没有“快捷指令”，无法运行快捷指令。"));
        error = expectFailure(
            [&] { FinderActionExecutor::perform(QStringLiteral("runShortcut__"), {input}, {}, {}, {}); });
        QCOMPARE(error.payload(), QStringLiteral("runShortcut__"));

        // Where there is a tool, it gets the name and one --input-path pair per input.
        const QString record = environment.root() + QStringLiteral("/record");
        qputenv("KESTRO_TEST_RECORD", record.toUtf8());
        ShortcutsToolStandIn standIn(writeExecutable(environment, QStringLiteral("bin/shortcuts"),
                                                     "#!/bin/sh\n" + recordingShellScript));
        FinderActionExecutor::perform(shortcut.actionID(), {input, folder}, folder, {}, {});
        QCOMPARE(recordedArguments(record),
                 (QStringList{"run", "Make GIF", "--input-path", input, "--input-path", folder}));
        FinderActionExecutor::perform(shortcut.actionID(), {}, folder, {}, {});
        QCOMPARE(recordedArguments(record), (QStringList{"run", "Make GIF", "--input-path", folder}));
        // A script entry run as a shortcut runs with its (empty) shortcut name.
        FinderActionExecutor::perform(QStringLiteral("runShortcut__") + script.id, {input}, {}, {}, {});
        QCOMPARE(recordedArguments(record), (QStringList{"run", "", "--input-path", input}));
        error = expectFailure(
            [&] { FinderActionExecutor::perform(shortcut.actionID(), {}, std::nullopt, {}, {}); });
        QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::noSelection);
    }
};

QTEST_MAIN(TestCustomActions)
#include "test_custom_actions.moc"
