// The queue road: decoding queue files, one pass over both folders, and the runner's own thread.
#include "intake/KestroQueuedAction.h"
#include "intake/KestroQueuedActionRunner.h"
#include "intake/KestroQueueDrain.h"
#include "platform/KestroPaths.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QProcess>
#include <QtTest>

#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
QByteArray request(const QString& actionID, const QStringList& paths, const QString& extra = {}) {
    QStringList quoted;
    for (const QString& path : paths)
        quoted.append(u"\"%1\""_qs.arg(path));
    return QStringLiteral(R"({"actionID":"%1","selectedPaths":[%2]%3})")
        .arg(actionID, quoted.join(u','), extra)
        .toUtf8();
}

// A drain whose performer records the first path of each request, in order.
struct RecordingDrain {
    QStringList firstPaths;
    KestroQueueDrain drain{[this](const KestroQueuedAction& action) {
        firstPaths.append(action.selectedURLs.value(0));
    }};
};

QString extension() {
    return KestroPaths::extensionQueueDirectory();
}
QString shared() {
    return KestroPaths::sharedQueueDirectory();
}
} // namespace

class TestQueue : public QObject {
    Q_OBJECT
    std::unique_ptr<TestEnvironment> m_environment;

    QString queue(const QString& path, const QByteArray& bytes) {
        return m_environment->writeFile(path, bytes);
    }
    bool logged(const QString& text) const { return m_environment->logText().contains(text); }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void decodesRequestsAndTreatsWrongTypesAsAbsent() {
        const std::optional<KestroQueuedAction> full = KestroQueuedAction::decode(
            "{\"actionID\":\"copyFilesToFolder\",\"selectedPaths\":[\"/a b/\\\"q\\\".txt\",\"/ü/日本\\n名\"],"
            R"("targetedPath":"/a b","destinationPath":"/dest/folder/","presetID":"P1","other":3})");
        QVERIFY(full);
        QCOMPARE(full->actionID, u"copyFilesToFolder"_qs);
        QCOMPARE(full->selectedURLs, QStringList({"/a b/\"q\".txt", "/ü/日本\n名"}));
        QCOMPARE(full->targetedURL, u"/a b"_qs);
        QCOMPARE(full->destinationURL, u"/dest/folder"_qs); // a folder's path, without the slash
        QCOMPARE(full->presetID, u"P1"_qs);
        const std::optional<KestroQueuedAction> plain = KestroQueuedAction::decode(
            R"({"actionID":"x","selectedPaths":[],"targetedPath":7,"destinationPath":["/d"],"presetID":null})");
        QVERIFY(plain && plain->selectedURLs.isEmpty());
        QVERIFY(!plain->targetedURL && !plain->destinationURL && !plain->presetID);
        for (const QByteArray& bytes :
             {QByteArray("[]"), QByteArray(R"({"selectedPaths":[]})"), QByteArray(R"({"actionID":"x"})"),
              QByteArray(R"({"actionID":"x","selectedPaths":"/a"})"),
              QByteArray(R"({"actionID":"x","selectedPaths":["/a",2]})"),
              QByteArray(R"({"actionID":"x","selectedPaths":[]} trailing)")})
            QVERIFY2(!KestroQueuedAction::decode(bytes), bytes.constData());
    }

    void whatIsNoRequestIsSetAsideOnceOrRemoved() {
        queue(extension() + "/note.txt", "keep me");
        queue(extension() + "/.json", request("completed", {"/hidden"}));
        QDir().mkpath(extension() + "/folder.json");
        // Requests the user's own channel never writes: one others may write, one with a second name.
        QCOMPARE(
            ::chmod(QFile::encodeName(queue(extension() + "/writable.json", request("completed", {"/w"})))
                        .constData(),
                    0622),
            0);
        QCOMPARE(::link(QFile::encodeName(queue("downloaded.json", request("completed", {"/x"}))).constData(),
                        QFile::encodeName(extension() + "/linked.json").constData()),
                 0);
        // A link under a queue name is not followed.
        QVERIFY(
            QFile::link(queue("secret.json", request("completed", {"/secret"})), extension() + "/link.json"));
        queue(extension() + "/real.json", request("completed", {"/real"}));
        // Invalid requests are removed and logged.
        const QList<std::pair<QString, QByteArray>> bad = {
            {"1-empty.json", QByteArray()},
            {"2-no-paths.json", R"({"actionID":"completed"})"},
            {"3-huge.json",
             request("completed", {"/huge"},
                     u",\"pad\":\"%1\""_qs.arg(QString(int(KestroQueueDrain::maximumFileSize), 'x')))},
            {"4-latin1.json", QByteArray("{\"actionID\":\"completed\",\"selectedPaths\":[\"/caf\xe9\"]}")}};
        for (const auto& [name, bytes] : bad)
            queue(extension() + "/" + name, bytes);
        // Another name is set aside only once no writer has touched it for a minute; until then, and for
        // hidden names (a hand-off's file in progress), nothing happens.
        queue(extension() + "/being written.part", "{");
        // A name too long to take the set-aside prefix stays where it is, logged once.
        const QString longName = QString(250, u'n');
        queue(extension() + "/" + longName, "x");
        for (const QString& name : QStringList{"/note.txt", "/" + longName}) {
            const timespec old[2] = {{::time(nullptr) - 120, 0}, {::time(nullptr) - 120, 0}};
            QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(extension() + name).constData(), old, 0), 0);
        }
        RecordingDrain recording;
        QCOMPARE(recording.drain.run().failed, int(bad.size()));
        QCOMPARE(recording.firstPaths, QStringList({"/real"}));
        QStringList expected{".json"};
        for (const char* name : {"folder.json", "link.json", "linked.json", "note.txt", "writable.json"})
            expected.append(u".kestro-set-aside-"_qs + name);
        expected << "being written.part" << longName;
        QCOMPARE(namesIn(extension()), expected);
        QCOMPARE(readAll(extension() + "/.kestro-set-aside-note.txt"), QByteArray("keep me"));
        QVERIFY(QFileInfo::exists(m_environment->root() + "/secret.json"));
        QCOMPARE(m_environment->logText().count(u" (left in place: "_qs), 1);
        QVERIFY(logged(u"set aside: %1/linked.json reason=has 2 names (renamed)"_qs.arg(extension())));
        QVERIFY(
            logged(u"] queue entry set aside: %1/link.json reason=not a regular file"_qs.arg(extension())));
        for (const auto& [name, bytes] : bad)
            QVERIFY2(logged(u"] queued action invalid: %1/%2\n"_qs.arg(extension(), name)), qPrintable(name));
        // Later passes pass over them in silence.
        const QString log = m_environment->logText();
        recording.drain.run();
        QCOMPARE(recording.firstPaths.size(), 1);
        QCOMPARE(m_environment->logText(), log);
    }

    void foldersThatAreNotTheUsersAloneAreSkipped() {
        RecordingDrain recording;
        // Missing: quiet; the shared one is created private.
        QCOMPARE(recording.drain.run().entriesFound, 0);
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(shared()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0700));
        QVERIFY(!QFileInfo::exists(extension()));
        QCOMPARE(m_environment->logText(), QString());
        QVERIFY(QDir(shared()).removeRecursively());
        queue(extension() + "/ok.json", request("completed", {"/ok"}));
        // Somebody else's folder behind a link in the shared temporary root.
        const QString planted = m_environment->makeFolder(u"planted"_qs);
        queue(planted + "/evil.json", request("completed", {"/evil"}));
        QVERIFY(QFile::link(planted, shared()));
        QCOMPARE(recording.drain.run().skippedFolders, 1);
        QCOMPARE(recording.firstPaths, QStringList({"/ok"}));
        QCOMPARE(namesIn(planted), QStringList({"evil.json"}));
        const QString linkLine =
            u"] queue drain skipped: %1 error=the queue folder is a symbolic link\n"_qs.arg(shared());
        recording.drain.run();
        QCOMPARE(m_environment->logText().count(linkLine), 1); // logged once, not on every pass
        // A folder others can write to.
        QFile::remove(shared());
        QVERIFY(QDir().mkdir(shared()));
        queue(shared() + "/open.json", request("completed", {"/open"}));
        for (const int mode : {0777, 0770, 0702}) {
            QCOMPARE(::chmod(QFile::encodeName(shared()).constData(), mode_t(mode)), 0);
            QCOMPARE(recording.drain.run().skippedFolders, 1);
            QVERIFY(logged(QStringLiteral("] queue drain skipped: %1 error=the queue folder can be written "
                                          "by group or others (mode %2)\n")
                               .arg(shared())
                               .arg(mode, 4, 8, QLatin1Char('0'))));
        }
        QCOMPARE(::chmod(QFile::encodeName(shared()).constData(), 0755), 0);
        QCOMPARE(recording.drain.run().skippedFolders, 0);
        QCOMPARE(recording.firstPaths, QStringList({"/ok", "/open"}));
        if (::geteuid() != 0)
            QSKIP("only root can give a folder to another user");
        queue(shared() + "/theirs.json", request("completed", {"/theirs"}));
        QCOMPARE(::chown(QFile::encodeName(shared()).constData(), 65534, 65534), 0);
        QCOMPARE(recording.drain.run().skippedFolders, 1);
        QCOMPARE(namesIn(shared()), QStringList({"theirs.json"}));
        QVERIFY(logged(
            QStringLiteral(
                "] queue drain skipped: %1 error=the queue folder belongs to user 65534, not to user 0\n")
                .arg(shared())));
    }

    void theRunnerDrainsOnAnnouncement() {
        if (!QDBusConnection::sessionBus().isConnected())
            QSKIP("no session bus");
        std::atomic<int> handled = 0, passes = 0;
        KestroQueuedActionRunner runner(nullptr, std::chrono::hours(1)); // polling cannot be what finds it
        connect(
            &runner, &KestroQueuedActionRunner::actionHandled, this, [&] { ++handled; },
            Qt::DirectConnection);
        connect(
            &runner, &KestroQueuedActionRunner::passFinished, this, [&] { ++passes; }, Qt::DirectConnection);
        runner.start();
        QVERIFY(runner.isListening());
        QTRY_COMPARE(passes.load(), 1);
        queue(extension() + "/n.json", request("completed", {"/n"}));
        // Announced from another connection, as the file-manager side would.
        QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"announcer"_qs);
        QVERIFY(other.send(
            QDBusMessage::createSignal("/app/tandry/Kestro", "app.tandry.Kestro", "ActionQueued")));
        QTRY_COMPARE(handled.load(), 1);
        runner.stop();
        QDBusConnection::disconnectFromBus(u"announcer"_qs);
    }

    // Two processes draining the same queue at once run every file exactly once.
    void twoProcessesRunEachFileOnce() {
        const int count = 1000;
        QVERIFY(QDir().mkpath(shared()));
        QFile::setPermissions(shared(),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        for (int index = 0; index < count; ++index) // half in each folder, so both folders are raced over
            queue(
                u"%1/%2.json"_qs.arg(index % 2 ? shared() : extension()).arg(index, 4, 10, QLatin1Char('0')),
                request("completed", {u"/item %1"_qs.arg(index)}));
        QProcess processes[2];
        for (QProcess& process : processes) {
            process.setProcessEnvironment(KestroProcess::environment());
            process.start(KestroProcess::binary(), {u"--drain"_qs});
        }
        for (QProcess& process : processes) {
            QVERIFY(process.waitForFinished(120000));
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), 0);
        }
        const QString log = m_environment->logText();
        // Each ran once: none twice (the count would be higher), none left (the folders would not be empty).
        QCOMPARE(log.count(u"] app delegate queued action succeeded: completed\n"_qs), count);
        QVERIFY(namesIn(shared()).isEmpty() && namesIn(extension()).isEmpty());
        // How the work was shared depends on timing; whoever lost a race logged the claim it skipped.
        qInfo() << "claims lost to the other process:" << log.count(u"] queue claim skipped: "_qs);
    }
};

QTEST_GUILESS_MAIN(TestQueue)
#include "test_queue.moc"
