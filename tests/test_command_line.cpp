#include "app/SingleInstance.h"
#include "support/KestroProcess.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>
#include <QUrl>
#include <QUrlQuery>

#include <atomic>
#include <cstring>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {
QString actionURL(const QString& actionID, const QStringList& paths, const QString& target) {
    QUrlQuery query;
    const auto encoded = [](const QString& text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text));
    };
    query.addQueryItem(QStringLiteral("actionID"), actionID);
    for (const QString& path : paths)
        query.addQueryItem(QStringLiteral("path"), encoded(path));
    if (!target.isEmpty())
        query.addQueryItem(QStringLiteral("target"), encoded(target));
    return QStringLiteral("kestro://finder-action?") + query.query(QUrl::FullyEncoded);
}
} // namespace

class CommandLineTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void aFloodOfSilentConnectionsNeverStopsTheHost() {
        // Few descriptors, so that serving every silent connection would run out of them (which made Qt
        // close the listener for good).
        rlimit saved{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        rlimit low = saved;
        low.rlim_cur = 256;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
        SingleInstance host;
        QVERIFY(host.listen());
        QSignalSpy messages(&host, &SingleInstance::messageReceived);
        QList<int> flood;
        for (int index = 0; index < 200; ++index) {
            // Non-blocking: with the backlog full, a blocking connect would wait for this very thread.
            const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            std::strncpy(address.sun_path, QFile::encodeName(SingleInstance::socketPath()).constData(),
                         sizeof address.sun_path - 1);
            while (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
                QCOMPARE(errno, EAGAIN);
                QTest::qWait(5); // the host accepts meanwhile
            }
            flood.append(socket);
        }
        QTest::qWait(200);
        std::atomic<bool> sent = false;
        std::thread sender(
            [&] { sent = SingleInstance::sendToRunningInstance({QStringLiteral("show")}, 8000); });
        QTest::qWaitFor([&] { return messages.size() == 1; }, 10000);
        sender.join();
        QVERIFY(sent);
        QCOMPARE(messages.size(), 1);
        for (const int socket : flood)
            ::close(socket);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &saved), 0);
    }

    void performRunsOneRequestAndExits() {
        const QString folder = m_environment->makeFolder(QStringLiteral("it's a \"folder\" 文件夹"));
        for (const QString& expected : {QStringLiteral("Untitled.txt"), QStringLiteral("Untitled 2.txt")}) {
            const KestroProcess run = KestroProcess::run(
                {QStringLiteral("--perform"), actionURL(QStringLiteral("createTextFile"), {}, folder)});
            QCOMPARE(run.exitCode, 0);
            QVERIFY(run.standardError.isEmpty());
            QVERIFY(QFile::exists(folder + QLatin1Char('/') + expected));
        }
        for (const char* actionID :
             {"createWordDocument", "createPDFDocument", "createPNGImage", "createFolder"})
            QCOMPARE(KestroProcess::run(
                         {QStringLiteral("--perform"), actionURL(QString::fromLatin1(actionID), {}, folder)})
                         .exitCode,
                     0);
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 6);
        QVERIFY(m_environment->logText().contains(QStringLiteral("action succeeded: createWordDocument")));
    }

    void failuresExitNonZeroWithTheMessage() {
        KestroProcess run =
            KestroProcess::run({QStringLiteral("--perform"),
                                actionURL(QStringLiteral("noSuchAction"), {}, QStringLiteral("/"))});
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(QString::fromUtf8(run.standardError),
                 QStringLiteral("暂不支持这个右键动作：noSuchAction。\n"));

        const QString missing = m_environment->root() + QStringLiteral("/vanished/deeper");
        run = KestroProcess::run(
            {QStringLiteral("--perform"), actionURL(QStringLiteral("createTextFile"), {}, missing)});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.standardError.contains("No such file or directory"));
        QVERIFY(m_environment->logText().contains(QStringLiteral("suppressed error alert: ")));

        run = KestroProcess::run({QStringLiteral("--perform"), QStringLiteral("https://example.com")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(!run.standardError.isEmpty());
        QCOMPARE(KestroProcess::run({QStringLiteral("--no-such-option")}).exitCode, 2);

        // The help names the program and every command it takes.
        run = KestroProcess::run({QStringLiteral("--help")});
        QCOMPARE(run.exitCode, 0);
        const QString help = QString::fromUtf8(run.standardOutput);
        QVERIFY2(help.startsWith(QStringLiteral("用法：kestro ")) &&
                     !help.contains(QStringLiteral("<executable")),
                 qPrintable(help));
        for (const char* command : {"--login-item", "--open-link", "--perform", "--drain",
                                    "--install-integration", "--uninstall-integration", "--version"}) {
            QVERIFY2(help.contains(QStringLiteral("  kestro ") + QLatin1String(command)), command);
        }
    }

    void clipboardTextAlsoGoesToStandardOutput() {
        const QString file = m_environment->writeFile(QStringLiteral("it's \"here\" 文件.txt"), "abc");
        KestroProcess run = KestroProcess::run(
            {QStringLiteral("--perform"), actionURL(QStringLiteral("copyFullPath"), {file}, {})});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(QString::fromUtf8(run.standardOutput), file + QLatin1Char('\n'));
        run = KestroProcess::run(
            {QStringLiteral("--perform"), actionURL(QStringLiteral("copySHA256"), {file}, {})});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.standardOutput,
                 QByteArray("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  ") +
                     QFileInfo(file).fileName().toUtf8() + "\n");
    }

    void aTerminalSeesProgressAPipeDoesNot() {
        // 64 MiB, so that hashing it takes long enough for the line to be drawn more than once.
        const QString big = m_environment->root() + QStringLiteral("/big file.bin");
        QFile file(big);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(64) << 20));
        file.close();
        const QString url = actionURL(QStringLiteral("copySHA256"), {big}, {});
        // Standard error is a pipe here: no progress line.
        const KestroProcess piped = KestroProcess::run({QStringLiteral("--perform"), url});
        QCOMPARE(piped.exitCode, 0);
        QCOMPARE(piped.standardError, QByteArray());

        // Under a terminal (script(1) gives the command one) the line shows and is cleared at the end.
        const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
        if (script.isEmpty())
            QSKIP("script(1) is not installed: no terminal to run kestro in");
        QProcess terminal;
        terminal.setProcessEnvironment(KestroProcess::environment());
        const QString command =
            QStringLiteral("'%1' --perform '%2' >/dev/null").arg(KestroProcess::binary(), url);
        terminal.start(script, {QStringLiteral("-qec"), command, QStringLiteral("/dev/null")});
        QVERIFY(terminal.waitForFinished(60000));
        QCOMPARE(terminal.exitCode(), 0);
        const QString shown = QString::fromUtf8(terminal.readAllStandardOutput());
        QVERIFY2(shown.contains(QStringLiteral("\r\x1b[K复制 SHA-256  100%  big file.bin")),
                 qPrintable(shown));
        // The last thing written clears the line again.
        QVERIFY(shown.endsWith(QStringLiteral("\r\x1b[K")));
    }

    void drainRunsTheQueueOnceAndExits() {
        const QString folder = m_environment->makeFolder(QStringLiteral("queued"));
        const QString queue = m_environment->kestroTmp() + QStringLiteral("/kestro-action-queue");
        QDir().mkpath(queue);
        QFile::setPermissions(queue,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        const QByteArray request =
            QJsonDocument(QJsonObject{{QStringLiteral("actionID"), QStringLiteral("createFolder")},
                                      {QStringLiteral("selectedPaths"), QJsonArray()},
                                      {QStringLiteral("targetedPath"), folder}})
                .toJson();
        m_environment->writeFile(queue + QStringLiteral("/a.json"), request);
        m_environment->writeFile(queue + QStringLiteral("/b.json"), "not json");
        const KestroProcess run = KestroProcess::run({QStringLiteral("--drain")});
        QCOMPARE(run.exitCode, 1); // the invalid file counts as a failure
        QVERIFY(QFileInfo(folder + QStringLiteral("/Untitled Folder")).isDir());
        QVERIFY(QDir(queue).entryList(QDir::Files).isEmpty());
        QCOMPARE(KestroProcess::run({QStringLiteral("--drain")}).exitCode, 0);
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Untitled Folder 2")));
    }

    void aSecondLaunchHandsItsUrlToTheRunningHost() {
        QProcess host;
        host.setProcessEnvironment(KestroProcess::environment());
        host.start(KestroProcess::binary(), {});
        QVERIFY(host.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(SingleInstance::socketPath()), 20000);

        const QString folder = m_environment->makeFolder(QStringLiteral("forwarded"));
        const QString url = actionURL(QStringLiteral("createMarkdownFile"), {}, folder);
        const KestroProcess launch = KestroProcess::run({url});
        QCOMPARE(launch.exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(folder + QStringLiteral("/Untitled.md")), 10000);
        QCOMPARE(readAll(folder + QStringLiteral("/Untitled.md")), QByteArray("# Untitled\n"));
        QCOMPARE(host.state(), QProcess::Running);
        QCOMPARE(m_environment->logText().count(QStringLiteral("action succeeded: createMarkdownFile")), 1);

        host.terminate();
        QVERIFY(host.waitForFinished(10000));
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "test_command_line.moc"
