// The user's own scripts and shortcuts: the stored list, a shortcut's name typed into the real picker, how a
// script is run (interpreter, awkward paths as plain arguments), and failures that say what went wrong.
#include "app/WidgetPrompts.h"
#include "platform/KestroPaths.h"
#include "stores/CustomShortcutActionPersistence.h"
#include "stores/CustomShortcutActionStore.h"
#include "support/ActionRequests.h"
#include "support/ModalAnswer.h"

#include <QComboBox>

namespace {

// A script that writes every argument it receives, each followed by a NUL byte, to $KESTRO_TEST_RECORD.
const QByteArray recordingShellScript = "out=\"$KESTRO_TEST_RECORD\"\n: > \"$out\"\nfor a in \"$@\"; do "
                                        "printf '%s\\0' \"$a\" >> \"$out\"; done\n";

} // namespace

class TestCustomActions : public QObject {
    Q_OBJECT

    QString scriptID(const QString& path) { return CustomShortcutActionStore().addScript(path)->actionID(); }

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    // Moving is the settings window's drag test; here names, removal and the two stored copies.
    void editsSaveBothCopies() {
        CustomShortcutActionStore store;
        const QString script = m_env->writeFile("scripts/tidy up.v2.sh", "true\n");
        QVERIFY(store.addScript(script)); // picked through the file panel in the settings window's test
        QVERIFY(store.addShortcut("  Make GIF \n", " "));
        QVERIFY(!store.addShortcut(" \t", "Name"));
        QVERIFY(store.addScript(m_env->writeFile("scripts/.hidden", "")));
        QCOMPARE(store.actions().at(0).name, "tidy up.v2");
        QCOMPARE(store.actions().at(1).shortcutName, "Make GIF");

        store.update(store.actions().at(1), "  整理 \n");
        store.update(store.actions().at(0), "   ");
        QCOMPARE(store.actions().at(1).name, "整理");
        QCOMPARE(store.actions().at(0).name, script);
        store.removeActions({1});
        QCOMPARE(store.actions().at(1).name, ".hidden");
        QCOMPARE(CustomShortcutActionPersistence::load(), store.actions());
        QCOMPARE(readAll(CustomShortcutActionPersistence::settingsFilePath()),
                 readAll(KestroPaths::extensionDirectory() + "/CustomShortcutActions.plist"));
    }

    // This system has no Shortcuts tool: a name typed into the picker is taken.
    void thePickerTakesATypedName() {
        CustomShortcutActionStore store;
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        ModalAnswer typed([](QWidget* dialog) {
            Modal::type(dialog->findChild<QComboBox*>()->lineEdit(), " Typed ");
            Modal::click(Modal::button(dialog, "添加"));
        });
        store.addAction();
        QCOMPARE(store.actions().at(0).shortcutName, "Typed");
    }

    // Awkward names reach the script as plain arguments, never as shell text.
    void scriptsReceiveAwkwardPathsIntact() {
        const QString record = m_env->root() + "/record";
        qputenv("KESTRO_TEST_RECORD", record.toUtf8());
        const QString folder = m_env->makeFolder("in");
        const QStringList inputs{
            m_env->writeFile("in/-n 文件", "x"),
            m_env->writeFile("in/two  'a' \"b\"\nbreak $(touch pwned) `id` ;&|*.txt", "x"),
            folder,
        };
        perform(scriptID(m_env->writeFile("scripts/record.SH", recordingShellScript)), inputs);
        QCOMPARE(QString::fromUtf8(readAll(record)).split(QChar(0), Qt::SkipEmptyParts), inputs);
        QVERIFY(!QFileInfo::exists(folder + "/pwned") && !QFileInfo::exists(QDir::currentPath() + "/pwned"));
    }

    // The script's own message, a script removed after it was added, no input at all.
    void failuresSayWhatWentWrong() {
        const QStringList input{m_env->writeFile("in/a.txt", "x")};
        const QString failing =
            scriptID(m_env->writeFile("s/fail.sh", "echo '  出错了: boom ' >&2\nexit 3\n"));
        QVERIFY(names(failureText([&] { perform(failing, input); }), {"出错了: boom"}));
        QCOMPARE(caseOf([&] { perform(failing, {}); }), Case::noSelection);
        const QString gone = m_env->writeFile("s/gone.sh", "true\n");
        const QString goneID = scriptID(gone);
        QVERIFY(QFile::remove(gone));
        QCOMPARE(caseOf([&] { perform(goneID, input); }), Case::sourceItemMissing);
        const QString appleScript = scriptID(m_env->writeFile("s/a.applescript", "beep\n"));
        QVERIFY(names(failureText([&] { perform(appleScript, input); }), {"这个系统上没有"}));
    }

    // This system has no Shortcuts application: running a shortcut fails with a clear error.
    void shortcutsCannotRunHere() {
        const CustomShortcutAction shortcut = *CustomShortcutActionStore().addShortcut("Make GIF", "GIF");
        const QString input = m_env->writeFile("in/-a b.txt", "x");
        QCOMPARE(caseOf([&] { perform(shortcut.actionID(), {input}); }), Case::commandFailed);
        QCOMPARE(caseOf([&] { perform("runScript__" + shortcut.id, {input}); }), Case::unsupportedAction);
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_MAIN(TestCustomActions)
#include "test_custom_actions.moc"
