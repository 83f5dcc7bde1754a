// The real kestro binary on each road once: a kestro: URL (a second launch, and --perform), the queue
// folder (--drain), the hand-off from a file manager, and a link from another program that the user
// confirms in the real dialog; then what only the real binary can show about an attacker's plants, and the
// pictures its screenshot hook takes.
#include "app/SingleInstance.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsStore.h"
#include "integration/FileManagerIntegration.h"
#include "platform/KestroPaths.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/ProgressDrivers.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QLocalServer>
#include <QLockFile>
#include <QStandardPaths>
#include <QtTest>

#include <atomic>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <cstring>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

KestroProcess perform(const QString& url) {
    return KestroProcess::run({u"--perform"_qs, url});
}

// Another account owns what it plants: only root can make that happen here.
bool giveToAnotherAccount(const QString& path) {
    return ::getuid() == 0 && ::lchown(QFile::encodeName(path).constData(), 65534, 65534) == 0;
}

// xdotool against the test's own X server; its standard output, trimmed.
QByteArray xdotool(const QString& display, const QStringList& arguments) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_qs, display);
    process.setProcessEnvironment(environment);
    process.start(u"xdotool"_qs, arguments);
    process.waitForFinished(20000);
    return process.readAllStandardOutput().trimmed();
}

// An X server of the test's own, ended with this object; display() is empty when it could not start.
class OwnDisplay {
public:
    OwnDisplay() {
        const QString xvfb = QStandardPaths::findExecutable(u"Xvfb"_qs);
        if (xvfb.isEmpty())
            return;
        m_server.start(xvfb, {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "1024x768x24"});
        QByteArray number; // the display's number, a line on standard output once it is up
        while (!number.endsWith('\n') && m_server.waitForReadyRead(15000))
            number += m_server.readAllStandardOutput();
        if (number.endsWith('\n'))
            m_display = u":"_qs + QString::fromLatin1(number.trimmed());
    }
    ~OwnDisplay() {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    const QString& display() const { return m_display; }
    // Kestro's environment, drawing on this display.
    QProcessEnvironment environment() const {
        QProcessEnvironment environment = KestroProcess::environment();
        environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
        environment.insert(u"DISPLAY"_qs, m_display);
        return environment;
    }

private:
    QProcess m_server;
    QString m_display;
};

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
        const QString target = m_environment->makeFolder(u"目标 it's a \"folder\""_qs);
        // --perform: one request in this process, its text on standard output, failures on standard error.
        KestroProcess run = perform(kestroActionURL(u"createTextFile"_qs, {}, target));
        QVERIFY(run.exitCode == 0 && run.standardError.isEmpty());
        QVERIFY(QFile::exists(target + u"/Untitled.txt"_qs));
        const QString file = m_environment->writeFile(u"it's \"here\" 文件.txt"_qs, "abc");
        QCOMPARE(perform(kestroActionURL(u"copyFullPath"_qs, {file})).standardOutput, file.toUtf8() + '\n');
        run = perform(kestroActionURL(u"noSuchAction"_qs, {}, u"/"_qs));
        QVERIFY(run.exitCode == 1 && run.standardError.contains("noSuchAction"));
        QCOMPARE(perform(u"https://example.com"_qs).exitCode, 1);
        QCOMPARE(KestroProcess::run({u"--no-such-option"_qs}).exitCode, 2);

        // A second launch hands its URL to the running host and ends; the host runs it once.
        KestroHostProcess host;
        QVERIFY(host.start());
        const QString folder = m_environment->makeFolder(u"forwarded"_qs);
        QCOMPARE(KestroProcess::run({kestroActionURL(u"createMarkdownFile"_qs, {}, folder)}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(folder + u"/Untitled.md"_qs), 10000);
        QTRY_VERIFY(m_environment->logText().contains(u"action succeeded: createMarkdownFile"_qs));
        QCOMPARE(m_environment->logText().count(u"action=createMarkdownFile passed=0"_qs), 1);
        // Without a URL it asks the host to show itself, and ends too.
        QCOMPARE(KestroProcess::run({}).exitCode, 0);
        QCOMPARE(m_environment->logText().count(u"KestroApp init"_qs), 1);
        QCOMPARE(host.process().state(), QProcess::Running);
    }

    void aTerminalSeesProgressAPipeDoesNot() {
        const QString big = m_environment->root() + u"/big file.bin"_qs;
        QVERIFY(QFile::resize(m_environment->writeFile(big), qint64(64) << 20));
        const QString url = kestroActionURL(u"copySHA256"_qs, {big});
        QCOMPARE(perform(url).standardError, QByteArray());
        const QString script = QStandardPaths::findExecutable(u"script"_qs);
        if (script.isEmpty())
            QSKIP("script(1) is not installed: no terminal to run kestro in");
        QProcess terminal;
        terminal.setProcessEnvironment(KestroProcess::environment());
        terminal.start(script,
                       {u"-qec"_qs, u"'%1' --perform '%2' >/dev/null"_qs.arg(KestroProcess::binary(), url),
                        u"/dev/null"_qs});
        QVERIFY(terminal.waitForFinished(60000) && terminal.exitCode() == 0);
        const QString shown = QString::fromUtf8(terminal.readAllStandardOutput());
        // The line is drawn and, last of all, cleared again.
        QVERIFY2(shown.contains(u"\r\x1b[K复制 SHA-256  100%  big file.bin"_qs) &&
                     shown.endsWith(u"\r\x1b[K"_qs),
                 qPrintable(shown));
    }

    void theQueueRoad() {
        const QString folder = m_environment->makeFolder(u"queued"_qs);
        const QString queue = KestroPaths::sharedQueueDirectory();
        m_environment->writeFile(
            queue + u"/a.json"_qs,
            QStringLiteral(R"({"actionID":"createFolder","selectedPaths":[],"targetedPath":"%1"})")
                .arg(folder)
                .toUtf8());
        m_environment->writeFile(queue + u"/b.json"_qs, "not json");
        QFile::setPermissions(queue,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        // The invalid file counts as a failure, told on standard error.
        const KestroProcess drain = KestroProcess::run({u"--drain"_qs});
        QVERIFY2(drain.exitCode == 1 && drain.standardError.contains("/b.json"), drain.standardError);
        QVERIFY(QFileInfo(folder + u"/Untitled Folder"_qs).isDir());
        QVERIFY(namesIn(queue).isEmpty());
        QCOMPARE(KestroProcess::run({u"--drain"_qs}).exitCode, 0);
        QVERIFY(!QFileInfo::exists(folder + u"/Untitled Folder 2"_qs));
        // So is a queue folder others may write to, which is skipped.
        QVERIFY(QFile::setPermissions(queue, QFile::permissions(queue) | QFileDevice::WriteOther));
        QCOMPARE(KestroProcess::run({u"--drain"_qs}).exitCode, 1);
    }

    void theHandOffRoadStartsAHostWhenNoneRuns_data() {
        QTest::addColumn<bool>("menuWritten");
        QTest::addColumn<QString>("itemID");
        QTest::newRow("menu of an earlier run") << true << "createTextFile";
        // The menus installed for every user, clicked by someone who never started Kestro.
        QTest::newRow("never started") << false << "createTextFile";
        // A refusal reaches the user as the host's notice: a host is started to show it.
        QTest::newRow("an item not in the menu") << true << "removeEverything";
    }

    void theHandOffRoadStartsAHostWhenNoneRuns() {
        QFETCH(bool, menuWritten);
        QFETCH(QString, itemID);
        if (menuWritten)
            FileManagerIntegration::refresh();
        const QString folder = m_environment->makeFolder(u"sub folder"_qs);
        QProcess handoff;
        QProcessEnvironment environment = KestroProcess::environment();
        handoff.setProcessEnvironment(environment);
        handoff.start(QFileInfo(KestroProcess::binary()).absolutePath() + u"/kestro-handoff"_qs,
                      {u"--folder"_qs, itemID, u"--"_qs, folder});
        const bool refused = itemID != u"createTextFile"_qs;
        QVERIFY(handoff.waitForFinished(20000) && handoff.exitCode() == (refused ? 1 : 0));
        if (refused)
            QTRY_VERIFY_WITH_TIMEOUT(m_environment->logText().contains(u"file manager hand-off failed: "_qs),
                                     30000);
        else
            QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(folder + u"/Untitled.txt"_qs), 30000);
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
        const OwnDisplay server;
        const QString& display = server.display();
        if (display.isEmpty() || QStandardPaths::findExecutable(u"xdotool"_qs).isEmpty())
            QSKIP("Xvfb or xdotool is not installed (scripts/install-dependencies installs them)");
        const QString source = m_environment->writeFile(u"home/secret.txt"_qs, "s");
        const QString shared = m_environment->makeFolder(u"shared"_qs);
        KestroHostProcess host;
        QVERIFY(host.start({u"--login-item"_qs}, server.environment()));
        const QString link = kestroActionURL(u"copyFilesToFolder"_qs, {source}, std::nullopt, shared);
        QCOMPARE(KestroProcess::run({u"--open-link"_qs, link}).exitCode, 0);
        // The dialog's window, found and given the keyboard.
        const auto focusDialog = [&] {
            QByteArray window;
            QTRY_VERIFY_WITH_TIMEOUT(
                !(window = xdotool(display, {"search", "--onlyvisible", "--name", "^Kestro$"})).isEmpty(),
                20000);
            xdotool(display, {"windowfocus", "--sync", QString::fromLatin1(window.split('\n').constFirst())});
        };
        focusDialog();
        // Return now answers with the default button, Cancel: nothing is copied.
        xdotool(display, {"key", "Return"});
        QTRY_VERIFY(m_environment->logText().contains(u"reason=not confirmed"_qs));
        QVERIFY(namesIn(shared).isEmpty());
        // Asked again; past the confirm button's waking delay it is one step back from Cancel.
        QCOMPARE(KestroProcess::run({u"--open-link"_qs, link}).exitCode, 0);
        focusDialog();
        QTest::qWait(2200);
        xdotool(display, {"key", "shift+Tab", "space"});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(shared + u"/secret.txt"_qs), 10000);
        QVERIFY(m_environment->logText().contains(u"link request confirmed: action=copyFilesToFolder"_qs));
    }

    // The screenshot hook: every settings page, the wish sheet, the tray menu with its sub-menu open and the
    // progress window of a packing it then stops, each a picture of its own; then the host quits.
    void theScreenshotHookPicturesEveryPageAndStopsItsPacking() {
        const OwnDisplay server;
        if (server.display().isEmpty())
            QSKIP("Xvfb is not installed (scripts/install-dependencies installs them)");
        const QString folder = m_environment->makeFolder(u"to pack"_qs);
        QVERIFY(writeRandomFile(folder + u"/noise.bin"_qs, 96)); // packing it takes a while
        const QString shots = m_environment->home() + u"/shots"_qs;
        QProcessEnvironment environment = server.environment();
        environment.insert(u"KESTRO_SCREENSHOT_DIR"_qs, shots);
        environment.insert(u"KESTRO_SCREENSHOT_PACK"_qs, folder);
        QProcess host;
        host.setProcessEnvironment(environment);
        host.start(KestroProcess::binary(), {});
        QVERIFY(host.waitForFinished(120000));
        QVERIFY2(host.exitCode() == 0, host.readAllStandardError().constData());
        const QStringList names = QDir(shots).entryList(QDir::Files, QDir::Name);
        QStringList expected;
        const auto features = FeatureSettingsStore::orderedFeatures(FeatureSettingsDefaults::settings());
        for (qsizetype index = 0; index < features.size(); ++index)
            expected << u"feature-%1-%2.png"_qs.arg(index + 1, 2, 10, QChar(u'0')).arg(features[index].id());
        expected << u"feature-request.png"_qs << u"preferences.png"_qs << u"progress-window.png"_qs
                 << u"tray-menu.png"_qs;
        QCOMPARE(names, expected);
        const QImage window(shots + u"/preferences.png"_qs), menu(shots + u"/tray-menu.png"_qs);
        QVERIFY(window.width() > 400 && window.height() > 300);
        // The quick-open sub-menu open beside the menu: the menu alone is less than 1.8 times as wide as high.
        QVERIFY(double(menu.width()) / menu.height() > 1.8);
        QCOMPARE(QDir(folder + u"/.."_qs).entryList({u"*.zip"_qs}), QStringList());
        QCOMPARE(namesIn(folder), QStringList{u"noise.bin"_qs});
    }

    void aFloodOfSilentConnectionsNeverStopsTheHost() {
        // Few descriptors, so that serving every silent connection would run out of them.
        rlimit saved{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        rlimit low = saved;
        low.rlim_cur = 256;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
        const auto restore = qScopeGuard([&] { ::setrlimit(RLIMIT_NOFILE, &saved); });
        KestroPaths::ensurePrivateDirectory(KestroPaths::runtimeDirectory());
        QVERIFY(!SingleInstance::sendToRunningInstance({u"show"_qs}, 1000)); // nobody listens yet
        SingleInstance host;
        QVERIFY(host.listen());
        QVERIFY(!SingleInstance().listen()); // one host at a time
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
        std::thread sender([&] { sent = SingleInstance::sendToRunningInstance({u"show"_qs}, 8000); });
        QTest::qWaitFor([&] { return messages.size() == 1; }, 10000);
        sender.join();
        QVERIFY(sent && messages.size() == 1);
    }

    void aRuntimeFolderSomeoneElsePlantedIsRefused() {
        // KESTRO_TMPDIR (the shared temporary root) takes the socket even where XDG_RUNTIME_DIR is set.
        QVERIFY(!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"));
        const QString planted = KestroPaths::runtimeDirectory();
        QVERIFY(planted.startsWith(m_environment->kestroTmp()) && QDir().mkpath(planted));
        QVERIFY(QFile::setPermissions(planted, QFileDevice::Permissions(0x7777)));
        const bool foreign = giveToAnotherAccount(planted);
        // The planter listens there, hoping to read the user's requests.
        QLocalServer listener;
        listener.setSocketOptions(QLocalServer::WorldAccessOption);
        QVERIFY(listener.listen(planted + u"/kestro.socket"_qs));
        const KestroProcess launch =
            KestroProcess::run({kestroActionURL(u"createFolder"_qs, {}, m_environment->home())}, 20000);
        QCOMPARE(launch.exitCode, 1);
        QVERIFY2(QString::fromUtf8(launch.standardError).contains(planted), launch.standardError.constData());
        QVERIFY(!listener.hasPendingConnections());
        QVERIFY(!QFile::exists(m_environment->home() + u"/Untitled Folder"_qs));
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(planted).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0777)); // someone else's folder is never "fixed"
        if (!foreign)
            QSKIP("the folder was the user's own 0777 folder (refused too); a second account's needs root");
    }

};

QTEST_GUILESS_MAIN(TestEndToEndRoads)
#include "test_end_to_end_roads.moc"
