// Terminal, editors, open-with, the bounded launch wait, quick open of folders, typed and copied paths.
#include "support/ActionRequests.h"

namespace {

struct Refusal {
    QString actionID;
    bool selection;
    QString destination; // under the root
    Case errorCase;
};

} // namespace

class TestOpenActions : public QObject {
    Q_OBJECT

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    void terminalsEditorsAndOpenWithLaunchWhatWasAsked() {
        FakeWorkspace& workspace = FakePlatform::workspace();
        const QString file = m_env->writeFile("proj/src/main.cpp");
        perform("openInTerminal", {file});
        QCOMPARE(workspace.terminals, QStringList{m_env->root() + "/proj/src"});

        // Editors: the application's identifier first, then its command.
        workspace.installedApplications.insert("com.microsoft.VSCode", "/opt/VSCode/code");
        workspace.installedApplications.insert("code", "/usr/bin/code");
        perform("openInVSCode", {}, m_env->root());
        // Open-with: a desktop entry gets the selection.
        const QString entry = m_env->writeFile("apps/viewer.desktop", "[Desktop Entry]\n");
        perform("openWithApplicationPath", {file}, std::nullopt, entry);
        QCOMPARE(workspace.launches, (QList<std::pair<QString, QStringList>>{
                                         {"/opt/VSCode/code", {m_env->root()}}, {entry, {file}}}));
    }

    void whatCannotBeOpenedFailsAndLaunchesNothing_data() {
        rows<Refusal>({
            {"no terminal", {"openInTerminal", true, "", Case::commandFailed}},
            {"no VS Code", {"openInVSCode", true, "", Case::applicationNotFound}},
            {"no application", {"openWithApplicationPath", true, "", Case::applicationNotFound}},
            {"missing", {"openWithApplicationPath", true, "apps/Gone.desktop", Case::applicationNotFound}},
            {"not a program", {"openWithApplicationPath", true, "apps/plain.txt", Case::applicationNotFound}},
            {"nothing to open", {"openWithApplicationPath", false, "apps/viewer.desktop", Case::noSelection}},
            {"no Documents", {"quickOpenDocuments", false, "", Case::noTargetDirectory}},
        });
    }
    void whatCannotBeOpenedFailsAndLaunchesNothing() {
        QFETCH(Refusal, row);
        FakePlatform::workspace().terminalInstalled = false;
        m_env->writeFile("apps/viewer.desktop", "[Desktop Entry]\n");
        m_env->writeFile("apps/plain.txt", "x");
        const QStringList selection = row.selection ? QStringList{m_env->writeFile("f.txt")} : QStringList{};
        const QString destination = row.destination.isEmpty() ? "" : m_env->root() + '/' + row.destination;
        QCOMPARE(caseOf([&] { perform(row.actionID, selection, {}, given(destination)); }), row.errorCase);
        QVERIFY(FakePlatform::workspace().launches.isEmpty());
    }

    // Typed: quotes, escapes, "~" and blanks understood; a folder opened, a cancel does
    // nothing, a path that is not there is named.
    void quickOpensATypedPath() {
        m_env->makeFolder("home/My Files");
        FakePlatform::prompts().textAnswers = {"  '~/My\\ Files'  \n", std::nullopt, "  ~/nowhere "};
        for (int i = 0; i < 2; ++i)
            perform("quickOpenTypedPath", {});
        QVERIFY(names(failureText([] { perform("quickOpenTypedPath", {}); }), {"~/nowhere"}));
        QCOMPARE(FakePlatform::workspace().openedUrls,
                 QList<QUrl>{QUrl::fromLocalFile(m_env->home() + "/My Files")});
    }

    // Copied files win over the text; in text, a missing path is dropped, a repeat counted once, a file
    // URL understood; nothing usable is an error.
    void quickOpensTheClipboardsPaths() {
        const QString a = m_env->writeFile("a b.txt");
        const QString folder = m_env->makeFolder("dir");
        const QString missing = m_env->root() + "/missing.txt";
        FakeClipboard& clipboard = FakePlatform::clipboard();
        FakeWorkspace& workspace = FakePlatform::workspace();
        clipboard.files = {missing, a};
        clipboard.contents = folder;
        perform("quickOpenClipboardPath", {});
        QCOMPARE(workspace.selections, QList<QStringList>{QStringList{a}});

        clipboard.files = {missing};
        clipboard.contents = a + "\r\n" + missing + "\n" + QUrl::fromLocalFile(folder).toString() + "\n" + a;
        perform("quickOpenClipboardPath", {});
        QCOMPARE(workspace.selections, (QList<QStringList>{{a}, {a}}));
        QCOMPARE(workspace.openedUrls, QList<QUrl>{QUrl::fromLocalFile(folder)});

        clipboard.files.clear();
        clipboard.contents = missing + "\nnot a path";
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, perform("quickOpenClipboardPath", {}));
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestOpenActions)
#include "test_open_actions.moc"
