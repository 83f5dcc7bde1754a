// The queue road: decoding queue files, one pass over both folders, and the runner's own thread.
#include "intake/KestroQueuedAction.h"
#include "intake/KestroQueuedActionRunner.h"
#include "intake/KestroQueueDrain.h"
#include "platform/KestroError.h"
#include "platform/KestroPaths.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QByteArray request(const QString& actionID, const QStringList& paths, const QString& extra = {}) {
    QStringList quoted;
    for (const QString& path : paths)
        quoted.append(QStringLiteral("\"%1\"").arg(path));
    return QStringLiteral(R"({"actionID":"%1","selectedPaths":[%2]%3})")
        .arg(actionID, quoted.join(QLatin1Char(',')), extra)
        .toUtf8();
}

// A drain whose performer records what it was asked, in order.
struct RecordingDrain {
    QList<KestroQueuedAction> performed;
    KestroQueueDrain drain{[this](const KestroQueuedAction& action) {
        performed.append(action);
    }};

    QStringList firstPaths() const {
        QStringList result;
        for (const KestroQueuedAction& action : performed)
            result.append(action.selectedURLs.value(0));
        return result;
    }
};

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

int permissions(const QString& path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return int(status.st_mode & 07777);
}
} // namespace

class TestQueue : public QObject {
    Q_OBJECT
private slots:
    void decodesRequestsAndTreatsWrongTypesAsAbsent();
    void rejectsMalformedRequests();
    void runsBothFoldersInPathOrder();
    void setsAsideOnceWhatIsNoRequest();
    void removesAndLogsInvalidFiles();
    void logsSuccessAndFailure();
    void claimOfVanishedFileIsSkipped();
    void missingFoldersAreQuietAndSharedOneIsCreatedPrivate();
    void unsafeFoldersAreSkipped();
    void folderOfAnotherUserIsSkipped();
    void drainOnceReportsFailures();
    void runnerPollsOnItsOwnThread();
    void runnerDrainsOnAnnouncement();
    void stopLetsTheRunningActionFinish();
};

void TestQueue::decodesRequestsAndTreatsWrongTypesAsAbsent() {
    const std::optional<KestroQueuedAction> full = KestroQueuedAction::decode(
        R"({"actionID":"copyFilesToFolder","selectedPaths":["/a b/\"q\".txt","/ü/日本\n名"],)"
        R"("targetedPath":"/a b","destinationPath":"/dest/folder/","presetID":"P1","other":3})");
    QVERIFY(full);
    QCOMPARE(full->actionID, QStringLiteral("copyFilesToFolder"));
    QCOMPARE(full->selectedURLs,
             QStringList({QStringLiteral("/a b/\"q\".txt"), QStringLiteral("/ü/日本\n名")}));
    QCOMPARE(full->targetedURL, QStringLiteral("/a b"));
    // A folder, with or without the trailing slash, arrives as the folder's path.
    QCOMPARE(full->destinationURL, QStringLiteral("/dest/folder"));
    QCOMPARE(full->presetID, QStringLiteral("P1"));

    const std::optional<KestroQueuedAction> plain =
        KestroQueuedAction::decode(R"({"actionID":"x","selectedPaths":[],"targetedPath":7,)"
                                   R"("destinationPath":["/d"],"presetID":null})");
    QVERIFY(plain);
    QVERIFY(plain->selectedURLs.isEmpty());
    QVERIFY(!plain->targetedURL);
    QVERIFY(!plain->destinationURL);
    QVERIFY(!plain->presetID);
}

void TestQueue::rejectsMalformedRequests() {
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("not json"), QByteArray("[]"), QByteArray("\"x\""),
          QByteArray(R"({"selectedPaths":[]})"), QByteArray(R"({"actionID":"x"})"),
          QByteArray(R"({"actionID":3,"selectedPaths":[]})"),
          QByteArray(R"({"actionID":"x","selectedPaths":"/a"})"),
          QByteArray(R"({"actionID":"x","selectedPaths":["/a",2]})"),
          QByteArray(R"({"actionID":"x","selectedPaths":[]} trailing)")})
        QVERIFY2(!KestroQueuedAction::decode(bytes), bytes.constData());
}

void TestQueue::runsBothFoldersInPathOrder() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    const QString shared = KestroPaths::sharedQueueDirectory();
    QDir().mkpath(shared);
    QFile::setPermissions(shared, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    // Plain string order: "10" before "9", upper case before lower case.
    for (const QString& name :
         {QStringLiteral("9"), QStringLiteral("10"), QStringLiteral("b"), QStringLiteral("B")}) {
        environment.writeFile(shared + QLatin1Char('/') + name + QStringLiteral(".json"),
                              request(QStringLiteral("completed"), {QStringLiteral("/shared/") + name}));
        environment.writeFile(extension + QLatin1Char('/') + name + QStringLiteral(".json"),
                              request(QStringLiteral("completed"), {QStringLiteral("/extension/") + name}));
    }

    RecordingDrain recording;
    const KestroQueueDrain::Summary summary = recording.drain.run();
    QCOMPARE(summary.succeeded, 8);
    QCOMPARE(summary.failed, 0);
    // The extension's folder lies under the home folder, which sorts before the temporary root here as on a
    // real system; the order is by full path either way.
    QVERIFY(extension < shared);
    QCOMPARE(recording.firstPaths(),
             QStringList({"/extension/10", "/extension/9", "/extension/B", "/extension/b", "/shared/10",
                          "/shared/9", "/shared/B", "/shared/b"}));
    QVERIFY(entriesOf(shared).isEmpty());
    QVERIFY(entriesOf(extension).isEmpty());
    QVERIFY(environment.logText().contains(QStringLiteral("queue drain found 8 files\n")));
}

void TestQueue::setsAsideOnceWhatIsNoRequest() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    environment.writeFile(extension + QStringLiteral("/upper.JSON"), request("completed", {"/upper"}));
    environment.writeFile(extension + QStringLiteral("/note.txt"), "keep me");
    environment.writeFile(extension + QStringLiteral("/.json"), request("completed", {"/hidden"}));
    environment.writeFile(extension + QStringLiteral("/left.processing"), request("completed", {"/left"}));
    QDir().mkpath(extension + QStringLiteral("/folder.json"));
    // Requests the user's own channel never writes: one others may write, one with a second name.
    const QString writable = environment.writeFile(extension + QStringLiteral("/writable.json"),
                                                   request("completed", {"/writable"}));
    QCOMPARE(::chmod(QFile::encodeName(writable).constData(), 0622), 0);
    const QString linked =
        environment.writeFile(QStringLiteral("downloaded.json"), request("completed", {"/x"}));
    QCOMPARE(::link(QFile::encodeName(linked).constData(),
                    QFile::encodeName(extension + QStringLiteral("/linked.json")).constData()),
             0);
    environment.writeFile(extension + QStringLiteral("/real.json"), request("completed", {"/real"}));
    // Another name is set aside only once no writer has touched it for a minute; until then, and for
    // hidden names (a hand-off's file in progress), nothing happens at all.
    environment.writeFile(extension + QStringLiteral("/being written.part"), "{");
    for (const char* name : {"/upper.JSON", "/note.txt", "/left.processing"}) {
        const timespec old[2] = {{::time(nullptr) - 120, 0}, {::time(nullptr) - 120, 0}};
        QCOMPARE(
            ::utimensat(AT_FDCWD, QFile::encodeName(extension + QLatin1String(name)).constData(), old, 0), 0);
    }

    RecordingDrain recording;
    recording.drain.run();
    QCOMPARE(recording.firstPaths(), QStringList({"/real"}));
    const QStringList setAside{"folder.json", "left.processing", "linked.json",
                               "note.txt",    "upper.JSON",      "writable.json"};
    QStringList expected{QStringLiteral(".json")};
    for (const QString& name : setAside)
        expected.append(QStringLiteral(".kestro-set-aside-") + name);
    expected.append(QStringLiteral("being written.part"));
    QCOMPARE(entriesOf(extension), expected);
    QCOMPARE(readAll(extension + QStringLiteral("/.kestro-set-aside-note.txt")), QByteArray("keep me"));
    QVERIFY(environment.logText().contains(QStringLiteral("queue drain found 7 files\n")));
    QVERIFY(environment.logText().contains(
        QStringLiteral("set aside: %1/linked.json reason=has 2 names (renamed)").arg(extension)));

    // Later passes pass over them in silence: nothing runs, nothing more is logged.
    const QString log = environment.logText();
    recording.drain.run();
    recording.drain.run();
    QCOMPARE(recording.performed.size(), 1);
    QCOMPARE(environment.logText(), log);
}

void TestQueue::removesAndLogsInvalidFiles() {
    TestEnvironment environment;
    const QString shared = KestroPaths::sharedQueueDirectory();
    RecordingDrain recording;
    recording.drain.run(); // creates the shared folder
    const QList<std::pair<QString, QByteArray>> bad = {
        {"1-empty.json", QByteArray()},
        {"2-text.json", "hello"},
        {"3-array.json", R"(["completed"])"},
        {"4-no-paths.json", R"({"actionID":"completed"})"},
        {"5-number-paths.json", R"({"actionID":"completed","selectedPaths":[1]})"},
        {"6-huge.json",
         request(
             "completed", {"/huge"},
             QStringLiteral(",\"pad\":\"%1\"").arg(QString(int(KestroQueueDrain::maximumFileSize), 'x')))},
        {"7-latin1.json", QByteArray("{\"actionID\":\"completed\",\"selectedPaths\":[\"/caf\xe9\"]}")},
    };
    for (const auto& [name, bytes] : bad)
        environment.writeFile(shared + QLatin1Char('/') + name, bytes);
    environment.writeFile(shared + QStringLiteral("/8-good.json"), request("completed", {"/good"}));
    // A link under a queue name is not followed: the file it points to is neither read nor removed.
    const QString secret =
        environment.writeFile(QStringLiteral("secret.json"), request("completed", {"/secret"}));
    QVERIFY(QFile::link(secret, shared + QStringLiteral("/9-link.json")));

    const KestroQueueDrain::Summary summary = recording.drain.run();
    QCOMPARE(recording.firstPaths(), QStringList({"/good"}));
    QCOMPARE(summary.failed, int(bad.size()));
    QCOMPARE(entriesOf(shared), QStringList{QStringLiteral(".kestro-set-aside-9-link.json")});
    QVERIFY(QFileInfo::exists(secret));
    const QString log = environment.logText();
    for (const auto& [name, bytes] : bad)
        QVERIFY2(log.contains(QStringLiteral("] queued action invalid: %1/%2\n").arg(shared, name)),
                 qPrintable(name));
    QVERIFY(log.contains(
        QStringLiteral("] queue entry set aside: %1/9-link.json reason=not a regular file").arg(shared)));
}

void TestQueue::logsSuccessAndFailure() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    const QString good =
        environment.writeFile(extension + QStringLiteral("/a.json"),
                              request("completed", {"/x y", "/z"},
                                      R"(,"targetedPath":"/x","destinationPath":"/d/","presetID":"p")"));
    const QString bare =
        environment.writeFile(extension + QStringLiteral("/b.json"), request("completed", {}));
    const QString broken =
        environment.writeFile(extension + QStringLiteral("/c.json"), request("failing", {"/f"}));

    KestroQueueDrain drain([](const KestroQueuedAction& action) {
        if (action.actionID == QLatin1String("failing"))
            throw PlatformError(QStringLiteral("磁盘已满"));
    });
    drain.run();
    const QString log = environment.logText();
    QVERIFY(log.contains(
        QStringLiteral("] app delegate queued action=completed selected=[\"/x y\", \"/z\"] target=/x "
                       "destination=/d presetID=p file=%1\n")
            .arg(good)));
    QVERIFY(log.contains(QStringLiteral("] app delegate queued action=completed selected=[] target=none "
                                        "destination=none presetID=none file=%1\n")
                             .arg(bare)));
    QCOMPARE(log.count(QStringLiteral("] app delegate queued action succeeded: completed\n")), 2);
    const qsizetype failed =
        log.indexOf(QStringLiteral("] app delegate queued action failed: %1 error=磁盘已满\n").arg(broken));
    const qsizetype reported =
        log.indexOf(QStringLiteral("] suppressed queued action error alert: 磁盘已满\n"));
    QVERIFY(failed > 0);
    QVERIFY(reported > failed);
    QVERIFY(entriesOf(extension).isEmpty());
}

void TestQueue::claimOfVanishedFileIsSkipped() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    environment.writeFile(extension + QStringLiteral("/1.json"), request("completed", {"/1"}));
    const QString second =
        environment.writeFile(extension + QStringLiteral("/2.json"), request("completed", {"/2"}));
    environment.writeFile(extension + QStringLiteral("/3.json"), request("completed", {"/3"}));
    QStringList ran;
    // The first action takes the second file away after the listing, as another process would.
    KestroQueueDrain drain([&](const KestroQueuedAction& action) {
        ran.append(action.selectedURLs.value(0));
        QFile::remove(second);
    });
    drain.run();
    QCOMPARE(ran, QStringList({"/1", "/3"}));
    QVERIFY(environment.logText().contains(
        QStringLiteral("] queue claim skipped: %1 error=No such file or directory\n").arg(second)));
}

void TestQueue::missingFoldersAreQuietAndSharedOneIsCreatedPrivate() {
    TestEnvironment environment;
    const QString shared = KestroPaths::sharedQueueDirectory();
    QVERIFY(!QFileInfo::exists(shared));
    RecordingDrain recording;
    const KestroQueueDrain::Summary summary = recording.drain.run();
    QCOMPARE(summary.entriesFound, 0);
    QCOMPARE(summary.skippedFolders, 0);
    QVERIFY(QFileInfo(shared).isDir());
    QCOMPARE(permissions(shared), 0700);
    QVERIFY(!QFileInfo::exists(KestroPaths::extensionQueueDirectory()));
    // Passes that find nothing log nothing.
    recording.drain.run();
    QCOMPARE(environment.logText(), QString());
}

void TestQueue::unsafeFoldersAreSkipped() {
    TestEnvironment environment;
    const QString shared = KestroPaths::sharedQueueDirectory();
    const QString extension = KestroPaths::extensionQueueDirectory();
    environment.writeFile(extension + QStringLiteral("/ok.json"), request("completed", {"/ok"}));

    // Somebody else's folder behind a link in the shared temporary root.
    const QString planted = environment.makeFolder(QStringLiteral("planted"));
    QFile::setPermissions(planted, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    environment.writeFile(planted + QStringLiteral("/evil.json"), request("completed", {"/evil"}));
    QVERIFY(QFile::link(planted, shared));

    RecordingDrain recording;
    KestroQueueDrain::Summary summary = recording.drain.run();
    QCOMPARE(recording.firstPaths(), QStringList({"/ok"}));
    QCOMPARE(summary.skippedFolders, 1);
    QCOMPARE(entriesOf(planted), QStringList({"evil.json"}));
    const QString linkLine =
        QStringLiteral("] queue drain skipped: %1 error=the queue folder is a symbolic link\n").arg(shared);
    QVERIFY(environment.logText().contains(linkLine));
    // A folder that stays unsafe is logged once, not on every pass.
    recording.drain.run();
    QCOMPARE(environment.logText().count(linkLine), 1);

    // A folder others can write to.
    QFile::remove(shared);
    QVERIFY(QDir().mkdir(shared));
    environment.writeFile(shared + QStringLiteral("/open.json"), request("completed", {"/open"}));
    for (const int mode : {0777, 0770, 0702}) {
        QCOMPARE(::chmod(QFile::encodeName(shared).constData(), mode_t(mode)), 0);
        summary = recording.drain.run();
        QCOMPARE(summary.skippedFolders, 1);
        QVERIFY(environment.logText().contains(
            QStringLiteral(
                "] queue drain skipped: %1 error=the queue folder can be written by group or others "
                "(mode %2)\n")
                .arg(shared)
                .arg(mode, 4, 8, QLatin1Char('0'))));
    }
    QCOMPARE(entriesOf(shared), QStringList({"open.json"}));

    // Made private again, it is drained.
    QCOMPARE(::chmod(QFile::encodeName(shared).constData(), 0755), 0);
    summary = recording.drain.run();
    QCOMPARE(summary.skippedFolders, 0);
    QCOMPARE(recording.firstPaths(), QStringList({"/ok", "/open"}));
}

void TestQueue::folderOfAnotherUserIsSkipped() {
    if (::geteuid() != 0)
        QSKIP("only root can give a folder to another user");
    TestEnvironment environment;
    const QString shared = KestroPaths::sharedQueueDirectory();
    QVERIFY(QDir().mkdir(shared));
    QCOMPARE(::chmod(QFile::encodeName(shared).constData(), 0700), 0);
    environment.writeFile(shared + QStringLiteral("/theirs.json"), request("completed", {"/theirs"}));
    QCOMPARE(::chown(QFile::encodeName(shared).constData(), 65534, 65534), 0);

    RecordingDrain recording;
    QCOMPARE(recording.drain.run().skippedFolders, 1);
    QVERIFY(recording.performed.isEmpty());
    QCOMPARE(entriesOf(shared), QStringList({"theirs.json"}));
    QVERIFY(environment.logText().contains(
        QStringLiteral(
            "] queue drain skipped: %1 error=the queue folder belongs to user 65534, not to user 0\n")
            .arg(shared)));
}

void TestQueue::drainOnceReportsFailures() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    environment.writeFile(extension + QStringLiteral("/a.json"), request("completed", {"/a"}));
    QCOMPARE(KestroQueuedActionRunner::drainOnce(), 0);
    environment.writeFile(extension + QStringLiteral("/b.json"), request("noSuchAction", {"/b"}));
    QCOMPARE(KestroQueuedActionRunner::drainOnce(), 1);
    QVERIFY(entriesOf(extension).isEmpty());
    QVERIFY(environment.logText().contains(
        QStringLiteral("] app delegate queued action failed: %1/b.json error=").arg(extension)));
}

void TestQueue::runnerPollsOnItsOwnThread() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    std::atomic<QThread*> performedOn = nullptr;
    std::atomic<int> handled = 0;
    KestroQueuedActionRunner runner(nullptr, std::chrono::milliseconds(50), [&](const KestroQueuedAction&) {
        performedOn = QThread::currentThread();
    });
    connect(
        &runner, &KestroQueuedActionRunner::actionHandled, this, [&] { ++handled; }, Qt::DirectConnection);
    runner.start();
    QTRY_VERIFY(QFileInfo(KestroPaths::sharedQueueDirectory()).isDir()); // the first pass ran
    // Written after start: only the timer can find it.
    environment.writeFile(extension + QStringLiteral("/late.json"), request("completed", {"/late"}));
    QTRY_COMPARE(handled.load(), 1);
    QVERIFY(performedOn.load() != QThread::currentThread());
    QVERIFY(performedOn.load() != nullptr);
    runner.stop();
    QVERIFY(!runner.isRunning());
}

void TestQueue::runnerDrainsOnAnnouncement() {
    TestEnvironment environment;
    if (!QDBusConnection::sessionBus().isConnected())
        QSKIP("no session bus");
    std::atomic<int> handled = 0;
    // Polling so slow it cannot be what finds the file.
    KestroQueuedActionRunner runner(nullptr, std::chrono::hours(1));
    connect(
        &runner, &KestroQueuedActionRunner::actionHandled, this, [&] { ++handled; }, Qt::DirectConnection);
    std::atomic<int> passes = 0;
    connect(
        &runner, &KestroQueuedActionRunner::passFinished, this, [&] { ++passes; }, Qt::DirectConnection);
    runner.start();
    QVERIFY(runner.isListening());
    QTRY_COMPARE(passes.load(), 1);
    environment.writeFile(KestroPaths::extensionQueueDirectory() + QStringLiteral("/n.json"),
                          request("completed", {"/n"}));
    // Announced from another connection, as the file-manager side would.
    QDBusConnection other =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("announcer"));
    QVERIFY(other.send(QDBusMessage::createSignal(QStringLiteral("/app/tandry/Kestro"),
                                                  QStringLiteral("app.tandry.Kestro"),
                                                  QStringLiteral("ActionQueued"))));
    QTRY_COMPARE(handled.load(), 1);
    runner.stop();
    QDBusConnection::disconnectFromBus(QStringLiteral("announcer"));
}

void TestQueue::stopLetsTheRunningActionFinish() {
    TestEnvironment environment;
    const QString extension = KestroPaths::extensionQueueDirectory();
    environment.writeFile(extension + QStringLiteral("/1.json"), request("completed", {"/1"}));
    environment.writeFile(extension + QStringLiteral("/2.json"), request("completed", {"/2"}));
    std::atomic<bool> started = false;
    std::atomic<bool> finished = false;
    KestroQueuedActionRunner runner(nullptr, std::chrono::hours(1), [&](const KestroQueuedAction&) {
        started = true;
        QThread::msleep(300);
        finished = true;
    });
    runner.start();
    QTRY_VERIFY(started.load());
    runner.stop();
    QVERIFY(finished.load());
    // The second request was not claimed: it waits for the next start.
    QCOMPARE(entriesOf(extension), QStringList({"2.json"}));
}

QTEST_GUILESS_MAIN(TestQueue)
#include "test_queue.moc"
