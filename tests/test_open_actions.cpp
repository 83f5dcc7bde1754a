// Terminal, editors, open-with, the bounded launch wait, quick open of folders, typed and copied paths.
#include "actions/FinderActionExecutor.h"
#include "actions/OpenActions.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

#include <thread>

namespace {

void perform(const QString& actionID, const QStringList& selection,
             const std::optional<QString>& target = std::nullopt,
             const std::optional<QString>& destination = std::nullopt) {
    FinderActionExecutor::perform(actionID, selection, target, destination, std::nullopt);
}

FinderActionExecutionError failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const FinderActionExecutionError& error) {
        return error;
    }
    throw std::runtime_error("the action did not fail");
}

// A workspace whose launches fail the way a broken desktop entry does.
class RefusingWorkspace : public FakeWorkspace {
public:
    void openWithApplication(const QString&, const QStringList&) override {
        throw PlatformError(QStringLiteral("Failed to execute child process “nothing”"));
    }
};

} // namespace

class TestOpenActions : public QObject {
    Q_OBJECT

private slots:
    void terminalOpensInTheTargetFolder() {
        TestEnvironment environment;
        const QString file = environment.writeFile(QStringLiteral("proj/src/main.cpp"));
        perform(QStringLiteral("openInTerminal"), {file});
        perform(QStringLiteral("openInTerminal"), {}, environment.root() + QStringLiteral("/proj"));
        QCOMPARE(FakePlatform::workspace().terminals,
                 (QStringList{environment.root() + QStringLiteral("/proj/src"),
                              environment.root() + QStringLiteral("/proj")}));

        FakePlatform::workspace().terminalInstalled = false;
        const FinderActionExecutionError error =
            failureOf([&] { perform(QStringLiteral("openInTerminal"), {file}); });
        QCOMPARE(error.errorDescription(),
                 QStringLiteral("没有找到可用的终端：请安装一个终端，或用 TERMINAL 环境变量指定。"));
        QCOMPARE(failureOf([] { perform(QStringLiteral("openInTerminal"), {}); }).errorCase(),
                 FinderActionExecutionError::Case::noTargetDirectory);
    }

    void editorsAreFoundByIdentifierThenCommand() {
        TestEnvironment environment;
        const QString folder = environment.makeFolder(QStringLiteral("repo"));
        FakeWorkspace& workspace = FakePlatform::workspace();
        workspace.installedApplications.insert(QStringLiteral("com.microsoft.VSCode"),
                                               QStringLiteral("/opt/VSCode/code"));
        workspace.installedApplications.insert(QStringLiteral("code"), QStringLiteral("/usr/bin/code"));
        workspace.installedApplications.insert(QStringLiteral("cursor"),
                                               QStringLiteral("/usr/share/applications/cursor.desktop"));

        perform(QStringLiteral("openInVSCode"), {}, folder);
        perform(QStringLiteral("openInCursor"), {}, folder);

        QCOMPARE(workspace.launches.size(), 2);
        QCOMPARE(workspace.launches[0],
                 std::make_pair(QStringLiteral("/opt/VSCode/code"), QStringList{folder}));
        QCOMPARE(
            workspace.launches[1],
            std::make_pair(QStringLiteral("/usr/share/applications/cursor.desktop"), QStringList{folder}));
        QVERIFY(environment.logText().contains(
            QStringLiteral("open application succeeded app=/opt/VSCode/code urls=[\"") + folder +
            QStringLiteral("\"]")));

        workspace.installedApplications.clear();
        QCOMPARE(failureOf([&] { perform(QStringLiteral("openInVSCode"), {}, folder); }).errorDescription(),
                 QStringLiteral("没有找到 Visual Studio Code 应用。"));
        QCOMPARE(failureOf([&] { perform(QStringLiteral("openInCursor"), {}, folder); }).errorDescription(),
                 QStringLiteral("没有找到 Cursor 应用。"));
        QCOMPARE(workspace.launches.size(), 2);
    }

    void openWithAnApplicationPath() {
        TestEnvironment environment;
        const QString entry =
            environment.writeFile(QStringLiteral("apps/viewer.desktop"), "[Desktop Entry]\n");
        const QString plain = environment.writeFile(QStringLiteral("apps/not-a-program.txt"), "x");
        const QString a = environment.writeFile(QStringLiteral("docs/a \"b\".txt"));
        const QString dashed = environment.writeFile(QStringLiteral("docs/-v"));

        perform(QStringLiteral("openWithApplicationPath"), {a, dashed}, std::nullopt, entry);
        perform(QStringLiteral("openWithApplicationPath"), {}, environment.root() + QStringLiteral("/docs"),
                entry);

        FakeWorkspace& workspace = FakePlatform::workspace();
        QCOMPARE(workspace.launches.size(), 2);
        QCOMPARE(workspace.launches[0], std::make_pair(entry, QStringList{a, dashed}));
        QCOMPARE(workspace.launches[1].second, QStringList{environment.root() + QStringLiteral("/docs")});
        const QString listed = QStringLiteral("urls=[\"%1\", \"%2\"]").arg(a, dashed);
        QVERIFY(environment.logText().contains(QStringLiteral("open with application app=") + entry +
                                               QLatin1Char(' ') + listed));
        QVERIFY(environment.logText().contains(QStringLiteral("open application succeeded app=") + entry +
                                               QLatin1Char(' ') + listed));

        QCOMPARE(
            failureOf([&] { perform(QStringLiteral("openWithApplicationPath"), {a}); }).errorDescription(),
            QStringLiteral("没有找到 指定应用 应用。"));
        QCOMPARE(failureOf([&] {
                     perform(QStringLiteral("openWithApplicationPath"), {a}, std::nullopt,
                             environment.root() + QStringLiteral("/apps/Gone.desktop"));
                 }).errorDescription(),
                 QStringLiteral("没有找到 Gone.desktop 应用。"));
        QCOMPARE(failureOf([&] {
                     perform(QStringLiteral("openWithApplicationPath"), {a}, std::nullopt, plain);
                 }).errorCase(),
                 FinderActionExecutionError::Case::applicationNotFound);
        QCOMPARE(failureOf([&] {
                     perform(QStringLiteral("openWithApplicationPath"), {}, std::nullopt, entry);
                 }).errorCase(),
                 FinderActionExecutionError::Case::noSelection);
        QCOMPARE(workspace.launches.size(), 2);
    }

    void aFailedLaunchIsReportedAndLogged() {
        TestEnvironment environment;
        Platform::setWorkspace(std::make_shared<RefusingWorkspace>());
        const QString entry =
            environment.writeFile(QStringLiteral("apps/broken.desktop"), "[Desktop Entry]\n");
        const QString file = environment.writeFile(QStringLiteral("f.txt"));

        const FinderActionExecutionError error = failureOf(
            [&] { perform(QStringLiteral("openWithApplicationPath"), {file}, std::nullopt, entry); });

        QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
        QCOMPARE(error.errorDescription(), QStringLiteral("Failed to execute child process “nothing”"));
        QVERIFY(environment.logText().contains(
            QStringLiteral("open application failed app=%1 urls=[\"%2\"] error=Failed to execute")
                .arg(entry, file)));
    }

    void theWaitForALaunchIsBounded() {
        TestEnvironment environment;
        const QString application = QStringLiteral("/opt/app.desktop");
        const QStringList urls = {QStringLiteral("/w/x")};
        std::optional<QString> failure;
        // The main thread is busy joining, so the launch queued to it cannot start before the wait ends.
        std::thread worker([&] {
            try {
                OpenActions::openURLs(urls, application, std::chrono::milliseconds(200));
            } catch (const FinderActionExecutionError& error) {
                failure = error.errorDescription();
            }
        });
        worker.join();
        QCOMPARE(failure, std::optional<QString>(QStringLiteral("打开应用超时。")));
        QVERIFY(environment.logText().contains(
            QStringLiteral("open application timed out app=/opt/app.desktop urls=[\"/w/x\"]")));
        QVERIFY(FakePlatform::workspace().launches.isEmpty());
        // The application still starts once the main thread gets to it.
        QTRY_COMPARE(FakePlatform::workspace().launches.size(), 1);

        // From a worker with a free main thread the launch completes within the bound.
        std::thread second([&] { OpenActions::openURLs(urls, application); });
        while (FakePlatform::workspace().launches.size() < 2)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        second.join();
        QVERIFY(environment.logText().contains(
            QStringLiteral("open application succeeded app=/opt/app.desktop")));
    }

    void quickOpensWellKnownFolders() {
        TestEnvironment environment;
        const QString desktop = environment.makeFolder(QStringLiteral("home/Desktop"));
        const QString downloads = environment.makeFolder(QStringLiteral("home/Downloads"));
        const QString custom = environment.makeFolder(QStringLiteral("my place"));

        perform(QStringLiteral("quickOpenHome"), {});
        perform(QStringLiteral("quickOpenDesktop"), {});
        perform(QStringLiteral("quickOpenDownloads"), {});
        perform(QStringLiteral("quickOpenPath"), {}, std::nullopt, custom);
        perform(QStringLiteral("quickOpenApplications"), {});

        const QList<QUrl> opened = FakePlatform::workspace().openedUrls;
        QCOMPARE(opened.mid(0, 4),
                 (QList<QUrl>{QUrl::fromLocalFile(environment.home()), QUrl::fromLocalFile(desktop),
                              QUrl::fromLocalFile(downloads), QUrl::fromLocalFile(custom)}));
        QCOMPARE(opened.size(), 5);
        QVERIFY(opened[4].toLocalFile().endsWith(QLatin1String("/applications")));

        // Documents was never made in this home: nothing to open.
        QCOMPARE(failureOf([] { perform(QStringLiteral("quickOpenDocuments"), {}); }).errorCase(),
                 FinderActionExecutionError::Case::noTargetDirectory);
        const QString file = environment.writeFile(QStringLiteral("plain.txt"));
        QCOMPARE(
            failureOf([&] { perform(QStringLiteral("quickOpenPath"), {}, std::nullopt, file); }).errorCase(),
            FinderActionExecutionError::Case::noTargetDirectory);
        FakePlatform::workspace().openUrlSucceeds = false;
        QVERIFY_THROWS_EXCEPTION(PlatformError, perform(QStringLiteral("quickOpenHome"), {}));
    }

    void quickOpensATypedPath() {
        TestEnvironment environment;
        const QString file = environment.writeFile(QStringLiteral("home/My Files/note.txt"));
        const QString folder = environment.home() + QStringLiteral("/My Files");
        FakePrompts& prompts = FakePlatform::prompts();
        prompts.textAnswers = {QStringLiteral("  '~/My\\ Files'  \n"),
                               QStringLiteral("\"") + file + QStringLiteral("\""), std::nullopt,
                               QStringLiteral("  ~/nowhere ")};

        perform(QStringLiteral("quickOpenTypedPath"), {});
        perform(QStringLiteral("quickOpenTypedPath"), {});
        perform(QStringLiteral("quickOpenTypedPath"), {}); // cancelled: nothing happens
        const FinderActionExecutionError error =
            failureOf([] { perform(QStringLiteral("quickOpenTypedPath"), {}); });

        QCOMPARE(prompts.asked.mid(0, 2), (QStringList{QStringLiteral("打开指定路径"),
                                                       QStringLiteral("输入要打开的文件或文件夹路径。")}));
        QCOMPARE(FakePlatform::workspace().openedUrls, QList<QUrl>{QUrl::fromLocalFile(folder)});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{QStringList{file}});
        QCOMPARE(error.errorDescription(), QStringLiteral("路径不可用：~/nowhere"));
    }

    void quickOpensTheClipboardsPaths() {
        TestEnvironment environment;
        const QString a = environment.writeFile(QStringLiteral("a b.txt"));
        const QString folder = environment.makeFolder(QStringLiteral("dir"));
        const QString missing = environment.root() + QStringLiteral("/missing.txt");
        FakeClipboard& clipboard = FakePlatform::clipboard();
        FakeWorkspace& workspace = FakePlatform::workspace();

        // Copied files win over the text.
        clipboard.files = {missing, a};
        clipboard.contents = folder;
        perform(QStringLiteral("quickOpenClipboardPath"), {});
        QCOMPARE(workspace.selections, QList<QStringList>{QStringList{a}});
        QVERIFY(workspace.openedUrls.isEmpty());

        // Text lines: a missing path is dropped, a repeat counted once, a file URL understood.
        clipboard.files = {missing};
        clipboard.contents = a + QStringLiteral("\r\n") + missing + QStringLiteral("\n") +
                             QUrl::fromLocalFile(folder).toString() + QStringLiteral("\n") + a;
        perform(QStringLiteral("quickOpenClipboardPath"), {});
        QCOMPARE(workspace.selections.size(), 2);
        QCOMPARE(workspace.selections[1], QStringList{a});
        QCOMPARE(workspace.openedUrls, QList<QUrl>{QUrl::fromLocalFile(folder)});

        clipboard.files.clear();
        clipboard.contents = missing + QStringLiteral("\nnot a path");
        QCOMPARE(failureOf([] { perform(QStringLiteral("quickOpenClipboardPath"), {}); }).errorDescription(),
                 QStringLiteral("剪贴板里没有可打开的路径。"));
    }
};

QTEST_GUILESS_MAIN(TestOpenActions)
#include "test_open_actions.moc"
