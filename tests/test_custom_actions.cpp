// The user's own scripts and shortcuts: the stored list, a shortcut's name typed into the real picker, how a
// script is run (interpreter, awkward paths as plain arguments), and failures that say what went wrong.
#include "app/WidgetPrompts.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "stores/CustomShortcutActionPersistence.h"
#include "stores/CustomShortcutActionStore.h"
#include "support/ActionRequests.h"
#include "support/ModalAnswer.h"

#include <QComboBox>

namespace {

// A script that writes every argument it receives, each followed by a NUL byte, to $KESTRO_TEST_RECORD.
const QByteArray recordingShellScript = "out=\"$KESTRO_TEST_RECORD\"\n: > \"$out\"\nfor a in \"$@\"; do "
                                        "printf '%s\\0' \"$a\" >> \"$out\"; done\n";

// Each action's name, or its shortcut's name when it has one.
QStringList namesOf(const CustomShortcutActionStore& store) {
    QStringList names;
    for (const CustomShortcutAction& action : store.actions())
        names << (action.shortcutName.isEmpty() ? action.name : action.shortcutName);
    return names;
}

QStringList recordedArguments(const QString& path) {
    QStringList arguments = QString::fromUtf8(readAll(path)).split(QChar(0));
    arguments.removeLast(); // after the last NUL
    return arguments;
}

} // namespace

class TestCustomActions : public QObject {
    Q_OBJECT

    QString writeFile(const QString& name, const QByteArray& text, bool executable = false) {
        const QString path = m_env->writeFile(name, text);
        if (executable)
            QFile::setPermissions(path,
                                  QFile::permissions(path) | QFileDevice::ExeOwner | QFileDevice::ExeUser);
        return path;
    }
    CustomShortcutAction storeScript(const QString& path) {
        return *CustomShortcutActionStore().addScript(path);
    }

private slots:
    void init() {
        qunsetenv("KESTRO_TEST_RECORD");
        m_env.emplace();
        m_record = m_env->root() + "/record";
    }
    void cleanup() { m_env.reset(); }

    void loadingKeepsTheUsableEntries() {
        using Map = QVariantMap;
        PropertyListFile::write(
            CustomShortcutActionPersistence::settingsFilePath(),
            QVariantList{
                Map{{"id", "1"}, {"name", "Script without path"}, {"kind", "script"}, {"scriptPath", ""}},
                Map{{"id", "2"}, {"name", "Old shortcut"}, {"shortcutName", "Resize"}},
                Map{{"name", "No id"}, {"kind", "shortcut"}, {"shortcutName", "X"}}, "not a dictionary",
                Map{{"id", "3"}, {"name", "Odd kind"}, {"kind", "SCRIPT"}, {"scriptPath", "/s.sh"}},
                Map{{"id", "4"},
                    {"name", "Script"},
                    {"kind", "script"},
                    {"scriptPath", "/s.sh"},
                    {"shortcutName", 7}}});
        CustomShortcutActionStore store;
        QCOMPARE(store.actions().size(), 2);
        QCOMPARE(store.actions().at(0).kind, CustomShortcutAction::Kind::shortcut);
        QCOMPARE(store.actions().at(1).actionID(), "runScript__4");
        QVERIFY(FakePlatform::notifications().settingsReasons.isEmpty()); // nothing written at start
    }

    void editsSaveBothCopiesAndAnnounceThem() {
        CustomShortcutActionStore store;
        QSignalSpy changed(&store, &CustomShortcutActionStore::actionsChanged);
        const QString script = m_env->writeFile("scripts/tidy up.v2.sh", "true\n");
        QVERIFY(store.addScript(script)); // picked through the file panel in the settings window's test
        QVERIFY(store.addShortcut("  Make GIF \n", " "));
        QVERIFY(!store.addShortcut(" \t", "Name"));
        QVERIFY(store.addScript(m_env->writeFile("scripts/.hidden", "")));
        QCOMPARE(namesOf(store), (QStringList{"tidy up.v2", "Make GIF", ".hidden"}));
        QCOMPARE(store.actions().at(0).scriptPath, script);

        store.update(store.actions().at(0), "  整理 \n");
        store.update(store.actions().at(1), "   ");
        QCOMPARE(store.actions().at(1).name, "Make GIF");
        QCOMPARE(store.actions().at(0).name, "整理");
        store.update(store.actions().at(0), QString());
        QCOMPARE(store.actions().at(0).name, script);
        const QString first = store.actions().at(0).id;
        store.moveActions({0}, 3);
        QCOMPARE(store.actions().at(2).id, first);
        store.removeActions({1});
        QCOMPARE(store.actions().size(), 2);
        QCOMPARE(store.actions().at(1).id, first);

        QCOMPARE(CustomShortcutActionPersistence::load(), store.actions());
        QCOMPARE(readAll(CustomShortcutActionPersistence::settingsFilePath()),
                 readAll(KestroPaths::extensionDirectory() + "/CustomShortcutActions.plist"));
        const QStringList reasons = FakePlatform::notifications().settingsReasons;
        QCOMPARE(reasons.size(), changed.size());
        QCOMPARE(QSet<QString>(reasons.cbegin(), reasons.cend()), QSet<QString>{"custom-shortcut-actions"});
    }

    // This system has no Shortcuts tool: the picker offers nothing and a typed name is taken.
    void thePickerTakesATypedName() {
        CustomShortcutActionStore store;
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        ModalAnswer typed([](QWidget* dialog) {
            auto* box = dialog->findChild<QComboBox*>();
            QCOMPARE(box->count(), 0);
            Modal::type(box->lineEdit(), " Typed ");
            Modal::click(Modal::button(dialog, "添加"));
        });
        store.addAction();
        QCOMPARE(typed.answered(), 1);
        QCOMPARE(store.actions().at(0).shortcutName, "Typed");
    }

    void scriptsReceiveAwkwardPathsIntact_data() {
        QTest::addColumn<QString>("scriptName");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("executable");
        QTest::newRow("shell, capital extension") << "record.SH" << recordingShellScript << false;
        QTest::newRow("executable") << "record it \"now\"" << ("#!/bin/sh\n" + recordingShellScript) << true;
        QTest::newRow("bash") << "record.bash" << (": \"${BASH_VERSION:?not bash}\"\n" + recordingShellScript)
                              << false;
        QTest::newRow("python, capital extension")
            << "record.PY"
            << QByteArray("import os, sys\nwith open(os.environ['KESTRO_TEST_RECORD'], 'wb') as f:\n"
                          "    for a in sys.argv[1:]:\n        f.write(os.fsencode(a) + b'\\0')\n")
            << false;
        // An executable runs itself whatever its extension says.
        QTest::newRow("executable .py") << "record.py" << ("#!/bin/sh\n" + recordingShellScript) << true;
    }
    void scriptsReceiveAwkwardPathsIntact() {
        QFETCH(QString, scriptName);
        QFETCH(QByteArray, text);
        QFETCH(bool, executable);
        qputenv("KESTRO_TEST_RECORD", m_record.toUtf8());
        const QString script = writeFile("scripts/" + scriptName, text, executable);
        const QString folder = m_env->makeFolder("in");
        const QStringList inputs{
            m_env->writeFile("in/-n", "x"),
            m_env->writeFile("in/two  blanks 'single' \"double\".txt", "x"),
            m_env->writeFile("in/line\nbreak $(touch pwned) `id` ;&|*.txt", "x"),
            m_env->writeFile("in/--help=文件 ✓", "x"),
            folder,
        };
        const CustomShortcutAction action = storeScript(script);
        perform(action.actionID(), inputs);
        QCOMPARE(recordedArguments(m_record), inputs);
        QVERIFY(!QFileInfo::exists(folder + "/pwned") && !QFileInfo::exists(QDir::currentPath() + "/pwned"));
        // Without a selection the targeted folder alone is the input.
        perform(action.actionID(), {}, folder);
        QCOMPARE(recordedArguments(m_record), QStringList{folder});
    }

    void failuresSayWhatWentWrong_data() {
        QTest::addColumn<QString>("script"); // its text; "gone": removed after it was added
        QTest::addColumn<bool>("selection");
        QTest::addColumn<Case>("errorCase");
        QTest::addColumn<QString>("named");
        QTest::newRow("its own message") << "echo '  出错了: boom ' >&2\nexit 3\n"
                                         << true << Case::commandFailed << "出错了: boom";
        QTest::newRow("gone") << "gone" << true << Case::sourceItemMissing << "";
        QTest::newRow("no selection") << "true\n" << false << Case::noSelection << "";
        QTest::newRow("unknown") << "" << true << Case::unsupportedAction << "runScript__nope";
    }
    void failuresSayWhatWentWrong() {
        QFETCH(QString, script);
        QFETCH(bool, selection);
        QFETCH(Case, errorCase);
        QFETCH(QString, named);
        const QString input = m_env->writeFile("in/a.txt", "x");
        const QString path = writeFile("s/run.sh", script.toUtf8());
        const QString id = script.isEmpty() ? "nope" : storeScript(path).id;
        if (script == "gone")
            QFile::remove(path);
        const auto error = failureOf<FinderActionExecutionError>(
            [&] { perform("runScript__" + id, selection ? QStringList{input} : QStringList{}); });
        QVERIFY(error && error->errorCase() == errorCase);
        QVERIFY(names(error->errorDescription() + error->payload(), {script == "gone" ? path : named}));
    }

    // This system has no Shortcuts application: running a shortcut fails with a clear error.
    void shortcutsCannotRunHere() {
        CustomShortcutActionStore store;
        const CustomShortcutAction shortcut = *store.addShortcut("Make GIF", "GIF");
        const QString input = m_env->writeFile("in/-a b.txt", "x");
        QCOMPARE(caseOf([&] { perform(shortcut.actionID(), {input}); }), Case::commandFailed);
        QCOMPARE(caseOf([&] { perform("runScript__" + shortcut.id, {input}); }), Case::unsupportedAction);
        QCOMPARE(caseOf([&] { perform(shortcut.actionID(), {}); }), Case::noSelection);
        QCOMPARE(caseOf([&] { perform("runShortcut__", {input}); }), Case::unsupportedAction);
    }

private:
    std::optional<TestEnvironment> m_env;
    QString m_record;
};

QTEST_MAIN(TestCustomActions)
#include "test_custom_actions.moc"
