// The real kestro binary on each road once: a kestro: URL (a second launch, and --perform), the queue
// folder (--drain), the hand-off from a file manager, and a link from another program that the user
// confirms in the real dialog; then what only the real binary can show about an attacker's plants.
#include "app/SingleInstance.h"
#include "integration/FileManagerIntegration.h"
#include "platform/KestroPaths.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QImage>
#include <QLocalServer>
#include <QLockFile>
#include <QStandardPaths>
#include <QtTest>

#include <atomic>
#include <cstring>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

KestroProcess perform(const QString& url) {
    return KestroProcess::run({QStringLiteral("--perform"), url});
}

// Another account owns what it plants: only root can make that happen here.
bool giveToAnotherAccount(const QString& path) {
    return ::getuid() == 0 && ::lchown(QFile::encodeName(path).constData(), 65534, 65534) == 0;
}

// xdotool against the test's own X server; its standard output, trimmed.
QByteArray xdotool(const QString& display, const QStringList& arguments) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished(20000);
    return process.readAllStandardOutput().trimmed();
}

} // namespace

class TestEndToEndRoads : public QObject {
    Q_OBJECT
    std::unique_ptr<TestEnvironment> m_environment;

private slots:
    void init() {
        QVERIFY(!KestroProcess::binary().isEmpty());
        m_environment = std::make_unique<TestEnvironment>();
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
    }
    void cleanup() { m_environment.reset(); }

    void theUrlRoad() {
        const QString target = m_environment->makeFolder(QStringLiteral("目标 it's a \"folder\""));
        // --perform: one request in this process, its text on standard output, failures on standard error.
        for (const QString& expected : {QStringLiteral("Untitled.txt"), QStringLiteral("Untitled 2.txt")}) {
            const KestroProcess run = perform(kestroActionURL(QStringLiteral("createTextFile"), {}, target));
            QVERIFY(run.exitCode == 0 && run.standardError.isEmpty());
            QVERIFY(QFile::exists(target + u'/' + expected));
        }
        const QString file = m_environment->writeFile(QStringLiteral("it's \"here\" 文件.txt"), "abc");
        QCOMPARE(perform(kestroActionURL(QStringLiteral("copyFullPath"), {file})).standardOutput,
                 file.toUtf8() + '\n');
        KestroProcess run = perform(kestroActionURL(QStringLiteral("noSuchAction"), {}, QStringLiteral("/")));
        QVERIFY(run.exitCode == 1 && run.standardError.contains("noSuchAction"));
        QCOMPARE(perform(QStringLiteral("https://example.com")).exitCode, 1);
        QCOMPARE(KestroProcess::run({QStringLiteral("--no-such-option")}).exitCode, 2);
        run = KestroProcess::run({QStringLiteral("--help")});
        for (const char* command : {"--login-item", "--open-link", "--perform", "--drain",
                                    "--install-integration", "--uninstall-integration", "--version"})
            QVERIFY2(run.standardOutput.contains(QByteArray("  kestro ") + command), command);

        // A second launch hands its URL to the running host and ends; the host runs it once.
        KestroHostProcess host;
        QVERIFY(host.start());
        const QString folder = m_environment->makeFolder(QStringLiteral("forwarded"));
        QCOMPARE(
            KestroProcess::run({kestroActionURL(QStringLiteral("createMarkdownFile"), {}, folder)}).exitCode,
            0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(folder + QStringLiteral("/Untitled.md")), 10000);
        QTRY_VERIFY(
            m_environment->logText().contains(QStringLiteral("action succeeded: createMarkdownFile")));
        QCOMPARE(m_environment->logText().count(QStringLiteral("action=createMarkdownFile passed=0")), 1);
        // Without a URL it asks the host to show itself, and ends too.
        QCOMPARE(KestroProcess::run({}).exitCode, 0);
        QCOMPARE(m_environment->logText().count(QStringLiteral("KestroApp init")), 1);
        QCOMPARE(host.process().state(), QProcess::Running);
    }

    void aTerminalSeesProgressAPipeDoesNot() {
        const QString big = m_environment->root() + QStringLiteral("/big file.bin");
        QVERIFY(QFile::resize(m_environment->writeFile(big), qint64(64) << 20));
        const QString url = kestroActionURL(QStringLiteral("copySHA256"), {big});
        QCOMPARE(perform(url).standardError, QByteArray());
        const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
        if (script.isEmpty())
            QSKIP("script(1) is not installed: no terminal to run kestro in");
        QProcess terminal;
        terminal.setProcessEnvironment(KestroProcess::environment());
        terminal.start(script,
                       {QStringLiteral("-qec"),
                        QStringLiteral("'%1' --perform '%2' >/dev/null").arg(KestroProcess::binary(), url),
                        QStringLiteral("/dev/null")});
        QVERIFY(terminal.waitForFinished(60000) && terminal.exitCode() == 0);
        const QString shown = QString::fromUtf8(terminal.readAllStandardOutput());
        // The line is drawn and, last of all, cleared again.
        QVERIFY2(shown.contains(QStringLiteral("\r\x1b[K复制 SHA-256  100%  big file.bin")) &&
                     shown.endsWith(QStringLiteral("\r\x1b[K")),
                 qPrintable(shown));
    }

    void theQueueRoad() {
        const QString folder = m_environment->makeFolder(QStringLiteral("queued"));
        const QString queue = KestroPaths::sharedQueueDirectory();
        m_environment->writeFile(
            queue + QStringLiteral("/a.json"),
            QStringLiteral(R"({"actionID":"createFolder","selectedPaths":[],"targetedPath":"%1"})")
                .arg(folder)
                .toUtf8());
        m_environment->writeFile(queue + QStringLiteral("/b.json"), "not json");
        QFile::setPermissions(queue,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QCOMPARE(KestroProcess::run({QStringLiteral("--drain")}).exitCode,
                 1); // the invalid file counts as a failure
        QVERIFY(QFileInfo(folder + QStringLiteral("/Untitled Folder")).isDir());
        QVERIFY(namesIn(queue).isEmpty());
        QCOMPARE(KestroProcess::run({QStringLiteral("--drain")}).exitCode, 0);
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Untitled Folder 2")));
    }

    void theHandOffRoadStartsAHostWhenNoneRuns() {
        FileManagerIntegration::refresh();
        const QString folder = m_environment->makeFolder(QStringLiteral("sub folder"));
        QProcess handoff;
        QProcessEnvironment environment = KestroProcess::environment();
        handoff.setProcessEnvironment(environment);
        handoff.start(
            QFileInfo(KestroProcess::binary()).absolutePath() + QStringLiteral("/kestro-handoff"),
            {QStringLiteral("--folder"), QStringLiteral("createTextFile"), QStringLiteral("--"), folder});
        QVERIFY(handoff.waitForFinished(20000) && handoff.exitCode() == 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(folder + QStringLiteral("/Untitled.txt")), 30000);
        // End the host it started: its pid is in the single-instance lock.
        qint64 pid = 0;
        QString hostName, application;
        QLockFile lock(SingleInstance::lockPath());
        QTRY_VERIFY(lock.getLockInfo(&pid, &hostName, &application) && pid > 0);
        QVERIFY(::kill(pid_t(pid), SIGTERM) == 0);
        QTRY_VERIFY(::kill(pid_t(pid), 0) != 0);
    }

    // On an X server of the test's own: the dialog of the real host, answered with the keyboard.
    void aLinkRunsOnlyOnceTheUserConfirms() {
        const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (xvfb.isEmpty() || QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
            QSKIP("Xvfb or xdotool is not installed (scripts/install-dependencies installs them)");
        QProcess server;
        server.start(xvfb, {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "1024x768x24"});
        QVERIFY(server.waitForReadyRead(15000));
        const QString display =
            QStringLiteral(":") + QString::fromLatin1(server.readAllStandardOutput().trimmed());
        const auto stop = qScopeGuard([&] {
            server.terminate();
            server.waitForFinished(5000);
        });
        const QString source = m_environment->writeFile(QStringLiteral("home/secret.txt"), "s");
        const QString shared = m_environment->makeFolder(QStringLiteral("shared"));
        QProcessEnvironment environment = KestroProcess::environment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("DISPLAY"), display);
        KestroHostProcess host;
        QVERIFY(host.start({QStringLiteral("--login-item")}, environment));
        const QString link =
            kestroActionURL(QStringLiteral("copyFilesToFolder"), {source}, std::nullopt, shared);
        QCOMPARE(KestroProcess::run({QStringLiteral("--open-link"), link}).exitCode, 0);
        const QByteArray window =
            xdotool(display, {"search", "--sync", "--onlyvisible", "--name", "^Kestro$"});
        QVERIFY(!window.isEmpty());
        xdotool(display, {"windowfocus", "--sync", QString::fromLatin1(window.split('\n').constFirst())});
        // Return now answers with the default button, Cancel: nothing is copied.
        xdotool(display, {"key", "Return"});
        QTRY_VERIFY(m_environment->logText().contains(QStringLiteral("reason=not confirmed")));
        QVERIFY(namesIn(shared).isEmpty());
        // Asked again; past the confirm button's waking delay it is one step back from Cancel.
        QCOMPARE(KestroProcess::run({QStringLiteral("--open-link"), link}).exitCode, 0);
        const QByteArray again =
            xdotool(display, {"search", "--sync", "--onlyvisible", "--name", "^Kestro$"});
        xdotool(display, {"windowfocus", "--sync", QString::fromLatin1(again.split('\n').constFirst())});
        QTest::qWait(2200);
        xdotool(display, {"key", "shift+Tab", "space"});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(shared + QStringLiteral("/secret.txt")), 10000);
        QVERIFY(m_environment->logText().contains(
            QStringLiteral("link request confirmed: action=copyFilesToFolder")));
    }

    void aLongActionHoldsUpNothing() {
        const QString big = m_environment->root() + QStringLiteral("/big.bin"); // sparse: seconds to hash
        QVERIFY(QFile::resize(m_environment->writeFile(big), qint64(16) << 30));
        const QString folder = m_environment->makeFolder(QStringLiteral("home/Notes"));
        KestroHostProcess host;
        QVERIFY(host.start());
        QCOMPARE(KestroProcess::run({kestroActionURL(QStringLiteral("copySHA256"), {big})}).exitCode, 0);
        QCOMPARE(KestroProcess::run({kestroActionURL(QStringLiteral("createTextFile"), {}, folder)}).exitCode,
                 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(folder + QStringLiteral("/Untitled.txt")), 10000);
        QVERIFY(!m_environment->logText().contains(QStringLiteral("action succeeded: copySHA256")));
    }

    void aFloodOfSilentConnectionsNeverStopsTheHost() {
        // Few descriptors, so that serving every silent connection would run out of them.
        rlimit saved{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        rlimit low = saved;
        low.rlim_cur = 256;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
        const auto restore = qScopeGuard([&] { ::setrlimit(RLIMIT_NOFILE, &saved); });
        SingleInstance host;
        QVERIFY(host.listen());
        QSignalSpy messages(&host, &SingleInstance::messageReceived);
        QList<int> flood;
        const auto closeAll = qScopeGuard([&] {
            for (const int socket : flood)
                ::close(socket);
        });
        for (int index = 0; index < 200; ++index) {
            // Non-blocking: with the backlog full, a blocking connect would wait for this very thread.
            flood.append(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            std::strncpy(address.sun_path, QFile::encodeName(SingleInstance::socketPath()).constData(),
                         sizeof address.sun_path - 1);
            while (::connect(flood.last(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
                QCOMPARE(errno, EAGAIN);
                QTest::qWait(5); // the host accepts meanwhile
            }
        }
        std::atomic<bool> sent = false;
        std::thread sender(
            [&] { sent = SingleInstance::sendToRunningInstance({QStringLiteral("show")}, 8000); });
        QTest::qWaitFor([&] { return messages.size() == 1; }, 10000);
        sender.join();
        QVERIFY(sent && messages.size() == 1);
    }

    void aRuntimeFolderSomeoneElsePlantedIsRefused() {
        qunsetenv("XDG_RUNTIME_DIR"); // the socket goes to the shared temporary root then
        const QString planted = KestroPaths::runtimeDirectory();
        QVERIFY(planted.startsWith(m_environment->kestroTmp()) && QDir().mkpath(planted));
        QVERIFY(QFile::setPermissions(planted, QFileDevice::Permissions(0x7777)));
        const bool foreign = giveToAnotherAccount(planted);
        // The planter listens there, hoping to read the user's requests.
        QLocalServer listener;
        listener.setSocketOptions(QLocalServer::WorldAccessOption);
        QVERIFY(listener.listen(planted + QStringLiteral("/kestro.socket")));
        const KestroProcess launch = KestroProcess::run(
            {kestroActionURL(QStringLiteral("createFolder"), {}, m_environment->home())}, 20000);
        QCOMPARE(launch.exitCode, 1);
        QVERIFY2(QString::fromUtf8(launch.standardError).contains(planted), launch.standardError.constData());
        QVERIFY(!listener.hasPendingConnections());
        QVERIFY(!QFile::exists(m_environment->home() + QStringLiteral("/Untitled Folder")));
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(planted).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0777)); // someone else's folder is never "fixed"
        if (!foreign)
            QSKIP("the folder was the user's own 0777 folder (refused too); a second account's needs root");
    }

    void aPipeInPlaceOfTheLogBlocksNothing() {
        const QString log = m_environment->kestroTmp() + QStringLiteral("/kestro-app-action.log");
        QCOMPARE(::mkfifo(QFile::encodeName(log).constData(), 0666), 0);
        const bool foreign = giveToAnotherAccount(log);
        const QString folder = m_environment->makeFolder(QStringLiteral("home/Notes"));
        QCOMPARE(perform(kestroActionURL(QStringLiteral("createTextFile"), {}, folder)).exitCode, 0);
        QVERIFY(QFile::exists(folder + QStringLiteral("/Untitled.txt")));
        KestroHostProcess host;
        QVERIFY(host.start()); // ready although it logs at every step
        if (!foreign)
            QSKIP("the pipe was the user's own; one planted by a second account needs root");
    }

    void desktopEntriesOpenTheWindowAndMarkLinks() {
        QProcess install;
        install.setProcessEnvironment(KestroProcess::environment());
        install.start(qEnvironmentVariable("KESTRO_SOURCE_DIR") +
                          QStringLiteral("/scripts/install-desktop-entries"),
                      {KestroProcess::binary()});
        QVERIFY(install.waitForFinished(30000) && install.exitCode() == 0);
        const QString data = m_environment->home() + QStringLiteral("/.local/share");
        const QString binary = QFileInfo(KestroProcess::binary()).canonicalFilePath();
        const QString launcher =
            QString::fromUtf8(readAll(data + QStringLiteral("/applications/kestro.desktop")));
        QVERIFY2(launcher.contains("\nExec=" + binary + u'\n') &&
                     launcher.contains(QStringLiteral("\nIcon=kestro\n")) &&
                     !launcher.contains(QStringLiteral("NoDisplay")),
                 qPrintable(launcher));
        const QString handler =
            QString::fromUtf8(readAll(data + QStringLiteral("/applications/kestro-url-handler.desktop")));
        QVERIFY2(handler.contains("\nExec=" + binary + QStringLiteral(" --open-link %u\n")) &&
                     handler.contains(QStringLiteral("\nNoDisplay=true\n")),
                 qPrintable(handler));
        for (const char* entry : {"kestro.desktop", "kestro-url-handler.desktop"}) {
            QProcess validate;
            validate.start(QStringLiteral("desktop-file-validate"),
                           {data + QStringLiteral("/applications/") + entry});
            QVERIFY2(validate.waitForFinished(10000) && validate.exitCode() == 0 &&
                         validate.readAll().isEmpty(),
                     entry);
        }
        QVERIFY(QFile::exists(data + QStringLiteral("/icons/hicolor/scalable/apps/kestro.svg")));
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
            QCOMPARE(QImage(data + QStringLiteral("/icons/hicolor/%1x%1/apps/kestro.png").arg(size)).size(),
                     QSize(size, size));
    }
};

QTEST_GUILESS_MAIN(TestEndToEndRoads)
#include "test_end_to_end_roads.moc"
