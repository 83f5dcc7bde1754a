// Terminal, editors, open-with, the bounded launch wait, quick open of folders, typed and copied paths.
#include "actions/OpenActions.h"
#include "platform/KestroError.h"
#include "support/ActionRequests.h"

#include <thread>

namespace {

// A workspace whose launches fail the way a broken desktop entry does.
class RefusingWorkspace : public FakeWorkspace {
public:
    void openWithApplication(const QString&, const QStringList&) override {
        throw PlatformError("Failed to execute child process “nothing”");
    }
};

struct Refusal {
    QString actionID;
    bool selection;
    QString destination; // under the root
    Case errorCase;
    QString named;
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
        const QString project = m_env->root() + "/proj";
        perform("openInTerminal", {file});
        perform("openInTerminal", {}, project);
        QCOMPARE(workspace.terminals, (QStringList{project + "/src", project}));

        // Editors: the application's identifier first, then its command.
        workspace.installedApplications.insert("com.microsoft.VSCode", "/opt/VSCode/code");
        workspace.installedApplications.insert("code", "/usr/bin/code");
        workspace.installedApplications.insert("cursor", "/usr/share/applications/cursor.desktop");
        perform("openInVSCode", {}, project);
        perform("openInCursor", {}, project);
        // Open-with: a desktop entry gets the selection, or the targeted folder without one.
        const QString entry = m_env->writeFile("apps/viewer.desktop", "[Desktop Entry]\n");
        const QString a = m_env->writeFile("docs/a \"b\".txt");
        const QString dashed = m_env->writeFile("docs/-v");
        perform("openWithApplicationPath", {a, dashed}, std::nullopt, entry);
        const QString program = m_env->writeFile("apps/viewer"); // a program of its own, not an entry
        QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
        perform("openWithApplicationPath", {}, m_env->root() + "/docs", program);
        QCOMPARE(workspace.launches, (QList<std::pair<QString, QStringList>>{
                                         {"/opt/VSCode/code", {project}},
                                         {"/usr/share/applications/cursor.desktop", {project}},
                                         {entry, {a, dashed}},
                                         {program, {m_env->root() + "/docs"}}}));
    }

    void whatCannotBeOpenedFailsAndLaunchesNothing_data() {
        rows<Refusal>({
            {"no terminal", {"openInTerminal", true, "", Case::commandFailed, "TERMINAL"}},
            {"terminal, nowhere", {"openInTerminal", false, "", Case::noTargetDirectory, ""}},
            {"no VS Code", {"openInVSCode", true, "", Case::applicationNotFound, "Visual Studio Code"}},
            {"no application", {"openWithApplicationPath", true, "", Case::applicationNotFound, ""}},
            {"a missing entry",
             {"openWithApplicationPath", true, "apps/Gone.desktop", Case::applicationNotFound,
              "Gone.desktop"}},
            {"not a program",
             {"openWithApplicationPath", true, "apps/plain.txt", Case::applicationNotFound, ""}},
            {"nothing to open",
             {"openWithApplicationPath", false, "apps/viewer.desktop", Case::noSelection, ""}},
            {"no Documents", {"quickOpenDocuments", false, "", Case::noTargetDirectory, ""}},
            {"a file as a place", {"quickOpenPath", false, "apps/plain.txt", Case::noTargetDirectory, ""}},
        });
    }
    void whatCannotBeOpenedFailsAndLaunchesNothing() {
        QFETCH(Refusal, row);
        FakePlatform::workspace().terminalInstalled = false;
        m_env->writeFile("apps/viewer.desktop", "[Desktop Entry]\n");
        m_env->writeFile("apps/plain.txt", "x");
        const QString file = m_env->writeFile("f.txt");
        const auto error = failureOf<FinderActionExecutionError>([&] {
            perform(row.actionID, row.selection ? QStringList{file} : QStringList{}, {},
                    given(row.destination.isEmpty() ? "" : m_env->root() + '/' + row.destination));
        });
        QVERIFY(error && error->errorCase() == row.errorCase &&
                names(error->errorDescription(), {row.named}));
        QVERIFY(FakePlatform::workspace().launches.isEmpty() &&
                FakePlatform::workspace().openedUrls.isEmpty());
    }

    void aFailedLaunchIsReportedAndLogged() {
        Platform::setWorkspace(std::make_shared<RefusingWorkspace>());
        const QString entry = m_env->writeFile("apps/broken.desktop", "[Desktop Entry]\n");
        const QString file = m_env->writeFile("f.txt");
        const auto error = failureOf<FinderActionExecutionError>(
            [&] { perform("openWithApplicationPath", {file}, std::nullopt, entry); });
        QVERIFY(error && error->errorCase() == Case::commandFailed &&
                names(error->errorDescription(), {"nothing"}));
        QVERIFY(m_env->logText().contains(
            QString("open application failed app=%1 urls=[\"%2\"] error=Failed to execute")
                .arg(entry, file)));
    }

    void theWaitForALaunchIsBounded() {
        const QStringList urls = {"/w/x"};
        std::optional<FinderActionExecutionError> failure;
        // The main thread is busy joining, so the launch queued to it cannot start before the wait ends.
        std::thread worker([&] {
            failure = failureOf<FinderActionExecutionError>(
                [&] { OpenActions::openURLs(urls, "/opt/app.desktop", std::chrono::milliseconds(200)); });
        });
        worker.join();
        QVERIFY(failure);
        QVERIFY(m_env->logText().contains("open application timed out app=/opt/app.desktop urls=[\"/w/x\"]"));
        QVERIFY(FakePlatform::workspace().launches.isEmpty());
        QTRY_COMPARE(FakePlatform::workspace().launches.size(), 1); // it starts once the main thread can
    }

    void quickOpensWellKnownFolders() {
        const QString desktop = m_env->makeFolder("home/Desktop");
        const QString downloads = m_env->makeFolder("home/Downloads");
        const QString custom = m_env->makeFolder("my place");
        for (const char* actionID :
             {"quickOpenHome", "quickOpenDesktop", "quickOpenDownloads", "quickOpenApplications"})
            perform(actionID, {});
        perform("quickOpenPath", {}, std::nullopt, custom);
        QStringList opened;
        for (const QUrl& url : FakePlatform::workspace().openedUrls)
            opened << url.toLocalFile();
        QCOMPARE(opened.size(), 5);
        QVERIFY(opened.takeAt(3).endsWith("/applications"));
        QCOMPARE(opened, (QStringList{m_env->home(), desktop, downloads, custom}));
        FakePlatform::workspace().openUrlSucceeds = false;
        QVERIFY_THROWS_EXCEPTION(PlatformError, perform("quickOpenHome", {}));
    }

    // Typed: quotes, escapes, "~" and blanks understood; a folder opened, a file selected, a cancel does
    // nothing, a path that is not there is named.
    void quickOpensATypedPath() {
        m_env->makeFolder("home/My Files");
        const QString file = m_env->writeFile("home/note.txt"); // a plain path reads as a URL too
        FakePlatform::prompts().textAnswers = {"  '~/My\\ Files'  \n", "\"" + file + "\"", std::nullopt,
                                               "  ~/nowhere "};
        for (int i = 0; i < 3; ++i)
            perform("quickOpenTypedPath", {});
        QVERIFY(names(failureText([] { perform("quickOpenTypedPath", {}); }), {"~/nowhere"}));
        QCOMPARE(FakePlatform::workspace().openedUrls,
                 QList<QUrl>{QUrl::fromLocalFile(m_env->home() + "/My Files")});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{QStringList{file}});
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
        QVERIFY(workspace.openedUrls.isEmpty());

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
