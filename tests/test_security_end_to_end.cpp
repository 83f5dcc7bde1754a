// The real kestro binary as a web page and another local account would attack it: links from other programs,
// a request that never ends, a planted runtime folder, a pipe in place of the log.
#include "platform/KestroPaths.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QLocalServer>
#include <QProcess>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Another account owns what it plants: only root can make that happen here.
bool giveToAnotherAccount(const QString& path) {
    return ::getuid() == 0 && ::lchown(QFile::encodeName(path).constData(), 65534, 65534) == 0;
}

} // namespace

class TestSecurityEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void init() { QVERIFY(!KestroProcess::binary().isEmpty()); }

    void linksFromOtherProgramsNeverActUnseen() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        const QString home = environment.home();
        const QString notes = environment.makeFolder(QStringLiteral("home/Notes"));
        const QString secret = environment.writeFile(QStringLiteral("home/.ssh/id_ed25519"), "KEY");
        KestroHostProcess host;
        QVERIFY(host.start());

        // As the scheme handler delivers them: a shell with its arguments as "paths", a private key packed
        // where others can read it, and a harmless new file.
        const QStringList links{
            kestroActionURL(
                QStringLiteral("openWithApplicationPath"),
                {QStringLiteral("-c"), QStringLiteral("touch ") + home + QStringLiteral("/PWNED")},
                std::nullopt, QStringLiteral("/bin/sh")),
            kestroActionURL(QStringLiteral("compressToZIP"), {QFileInfo(secret).path()}, environment.root()),
            kestroActionURL(QStringLiteral("createTextFile"), {}, notes)};
        for (const QString& link : links) {
            const KestroProcess forwarded = KestroProcess::run({QStringLiteral("--open-link"), link});
            QCOMPARE(forwarded.exitCode, 0);
        }
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(notes + QStringLiteral("/Untitled.txt")), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(environment.logText().count(QStringLiteral("link request refused")) == 2,
                                 10000);
        const QString log = environment.logText();
        QVERIFY(log.contains(QStringLiteral(
            "link request refused: action=openWithApplicationPath reason=not an installed application")));
        // A hidden folder of the home is never a link's to touch: refused without a question.
        QVERIFY(log.contains(QStringLiteral(
            "link request refused: action=compressToZIP reason=reaches a hidden item of the home")));
        QVERIFY(!QFile::exists(home + QStringLiteral("/PWNED")));
        QVERIFY(!namesIn(environment.root()).join(QLatin1Char(' ')).contains(QStringLiteral(".zip")));

        // The same request from the user's own command line is the user's: it runs.
        QCOMPARE(KestroProcess::run({links.at(1)}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(home + QStringLiteral("/.ssh.zip")) ||
                                     QFile::exists(home + QStringLiteral("/Archive.zip")),
                                 15000);
    }

    void aLongActionHoldsUpNothing() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        // A file that takes seconds to hash (sparse, so it costs no disk).
        const QString big = environment.root() + QStringLiteral("/big.bin");
        QFile file(big);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(16) << 30));
        file.close();
        const QString folder = environment.makeFolder(QStringLiteral("home/Notes"));
        KestroHostProcess host;
        QVERIFY(host.start());

        QCOMPARE(KestroProcess::run({kestroActionURL(QStringLiteral("copySHA256"), {big})}).exitCode, 0);
        QCOMPARE(KestroProcess::run({kestroActionURL(QStringLiteral("createTextFile"), {}, folder)}).exitCode,
                 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(folder + QStringLiteral("/Untitled.txt")), 10000);
        // The second request was done while the first one was still hashing.
        QVERIFY(environment.logText().contains(QStringLiteral("action=copySHA256")));
        QVERIFY(!environment.logText().contains(QStringLiteral("action succeeded: copySHA256")));
    }

    void aRuntimeFolderSomeoneElsePlantedIsRefused() {
        TestEnvironment environment;
        // Without a per-user runtime folder the socket goes to the shared temporary root.
        qunsetenv("XDG_RUNTIME_DIR");
        const QString planted = KestroPaths::runtimeDirectory();
        QVERIFY(planted.startsWith(environment.kestroTmp()));
        QVERIFY(QDir().mkpath(planted));
        QVERIFY(QFile::setPermissions(planted, QFileDevice::Permissions(0x7777)));
        const bool foreign = giveToAnotherAccount(planted);

        // The planter listens there, hoping to read the user's requests.
        QLocalServer listener;
        listener.setSocketOptions(QLocalServer::WorldAccessOption);
        QVERIFY(listener.listen(planted + QStringLiteral("/kestro.socket")));

        const KestroProcess launch = KestroProcess::run(
            {kestroActionURL(QStringLiteral("createFolder"), {}, environment.home())}, 20000);
        QCOMPARE(launch.exitCode, 1);
        QVERIFY2(QString::fromUtf8(launch.standardError).contains(planted + QStringLiteral("”不安全")),
                 launch.standardError.constData());
        QVERIFY(!listener.hasPendingConnections());
        QVERIFY(!QFile::exists(environment.home() + QStringLiteral("/Untitled Folder")));
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(planted).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0777)); // someone else's folder is never "fixed"
        if (!foreign)
            QSKIP("the folder was the user's own 0777 folder (refused too); a second account's needs root");
    }

    void aPipeInPlaceOfTheLogBlocksNothing() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        const QString log = environment.kestroTmp() + QStringLiteral("/kestro-app-action.log");
        QCOMPARE(::mkfifo(QFile::encodeName(log).constData(), 0666), 0);
        const bool foreign = giveToAnotherAccount(log);
        const QString folder = environment.makeFolder(QStringLiteral("home/Notes"));

        QElapsedTimer clock;
        clock.start();
        const KestroProcess performed = KestroProcess::run(
            {QStringLiteral("--perform"), kestroActionURL(QStringLiteral("createTextFile"), {}, folder)},
            20000);
        QCOMPARE(performed.exitCode, 0);
        QVERIFY(QFile::exists(folder + QStringLiteral("/Untitled.txt")));

        KestroHostProcess host;
        QVERIFY(host.start()); // the host becomes ready although it logs at every step
        if (!foreign)
            QSKIP("the pipe was the user's own; one planted by a second account needs root");
    }

    void desktopEntriesOpenTheWindowAndMarkLinks() {
        TestEnvironment environment;
        QProcess install;
        install.setProcessEnvironment(KestroProcess::environment());
        install.start(qEnvironmentVariable("KESTRO_SOURCE_DIR") +
                          QStringLiteral("/scripts/install-desktop-entries"),
                      {KestroProcess::binary()});
        QVERIFY(install.waitForFinished(30000));
        QCOMPARE(install.exitCode(), 0);
        const QString data = environment.home() + QStringLiteral("/.local/share");
        const QString binary = QFileInfo(KestroProcess::binary()).canonicalFilePath();
        // The menu's "Kestro" starts (or brings forward) the settings window; the link handler hides from
        // menus.
        const QString launcher =
            QString::fromUtf8(readAll(data + QStringLiteral("/applications/kestro.desktop")));
        QVERIFY2(launcher.contains(QStringLiteral("\nExec=") + binary + u'\n') &&
                     launcher.contains(QStringLiteral("\nIcon=kestro\n")) &&
                     !launcher.contains(QStringLiteral("NoDisplay")),
                 qPrintable(launcher));
        const QString handler =
            QString::fromUtf8(readAll(data + QStringLiteral("/applications/kestro-url-handler.desktop")));
        QVERIFY2(handler.contains(QStringLiteral("\nExec=") + binary + QStringLiteral(" --open-link %u\n")) &&
                     handler.contains(QStringLiteral("\nNoDisplay=true\n")),
                 qPrintable(handler));
        for (const char* entry : {"kestro.desktop", "kestro-url-handler.desktop"}) {
            QProcess validate;
            validate.start(QStringLiteral("desktop-file-validate"),
                           {data + QStringLiteral("/applications/") + QLatin1String(entry)});
            QVERIFY(validate.waitForFinished(10000));
            QVERIFY2(validate.exitCode() == 0 && validate.readAll().isEmpty(), entry);
        }
        QVERIFY(QFile::exists(data + QStringLiteral("/icons/hicolor/scalable/apps/kestro.svg")));
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
            QCOMPARE(QImage(data + QStringLiteral("/icons/hicolor/%1x%1/apps/kestro.png").arg(size)).size(),
                     QSize(size, size));
    }
};

QTEST_GUILESS_MAIN(TestSecurityEndToEnd)
#include "test_security_end_to_end.moc"
