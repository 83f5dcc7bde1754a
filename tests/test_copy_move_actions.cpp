// Copying and moving through the dispatcher: free names, the chooser, the reveal rule, and that a failing
// item keeps what was done before it and loses nothing.
#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/RecordingProgress.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

QStringList perform(const QString& actionID, const QStringList& selection,
                    const std::optional<QString>& destination = std::nullopt) {
    return FinderActionExecutor::perform(actionID, selection, std::nullopt, destination, std::nullopt);
}

FinderActionExecutionError::Case failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const FinderActionExecutionError& error) {
        return error.errorCase();
    }
    throw std::runtime_error("the action did not fail");
}

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

QByteArray attribute(const QString& path, const char* name) {
    char value[256];
    const ssize_t size = ::lgetxattr(QFile::encodeName(path).constData(), name, value, sizeof value);
    return size < 0 ? QByteArray("none") : QByteArray(value, size);
}

bool setAttribute(const QString& path, const char* name, const QByteArray& value) {
    return ::lsetxattr(QFile::encodeName(path).constData(), name, value.constData(), size_t(value.size()),
                       0) == 0;
}

struct stat statusOf(const QString& path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status;
}

// A POSIX ACL as the kernel stores it: the owner rw, user "nobody" read, group, mask and others read.
QByteArray aclGivingNobodyRead() {
    QByteArray acl("\x02\0\0\0", 4);
    const auto entry = [&acl](quint16 tag, quint16 permissions, quint32 id) {
        acl.append(reinterpret_cast<const char*>(&tag), 2)
            .append(reinterpret_cast<const char*>(&permissions), 2);
        acl.append(reinterpret_cast<const char*>(&id), 4);
    };
    entry(0x01, 6, ~0u);
    entry(0x02, 4, 65534);
    entry(0x04, 4, ~0u);
    entry(0x10, 4, ~0u);
    entry(0x20, 4, ~0u);
    return acl;
}

// A file of 8 MiB that holds four bytes at each end and nothing between.
QString sparseFile(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    const bool written = ::pwrite(fd, "head", 4, 0) == 4 && ::pwrite(fd, "tail", 4, (8 << 20) - 4) == 4;
    ::close(fd);
    return written ? path : QString();
}

void setRevealResults(bool on) {
    AppPreferences preferences;
    preferences.revealActionResults = on;
    QVERIFY(AppPreferencesPersistence::save(preferences));
}

} // namespace

class TestCopyMoveActions : public QObject {
    Q_OBJECT

private slots:
    void copiesUnderFreeNames() {
        TestEnvironment environment;
        setRevealResults(false);
        const QString destination = environment.makeFolder(QStringLiteral("dst"));
        environment.writeFile(destination + QStringLiteral("/a.txt"), "old a");
        environment.writeFile(destination + QStringLiteral("/a 2.txt"), "old a2");
        environment.writeFile(destination + QStringLiteral("/a.tar.gz"), "old tar");
        environment.makeFolder(QStringLiteral("dst/Photos"));
        const QString a = environment.writeFile(QStringLiteral("src/a.txt"), "new a");
        const QString tar = environment.writeFile(QStringLiteral("src/a.tar.gz"), "new tar");
        const QString photos = environment.makeFolder(QStringLiteral("src/Photos"));
        environment.writeFile(photos + QStringLiteral("/p.jpg"), "jpg");

        const QStringList results =
            perform(QStringLiteral("copyFilesToFolder"), {a, tar, photos}, destination);

        QCOMPARE(results, (QStringList{destination + QStringLiteral("/a 3.txt"),
                                       destination + QStringLiteral("/a.tar 2.gz"),
                                       destination + QStringLiteral("/Photos 2")}));
        QCOMPARE(readAll(results[0]), QByteArray("new a"));
        QCOMPARE(readAll(results[1]), QByteArray("new tar"));
        QCOMPARE(readAll(results[2] + QStringLiteral("/p.jpg")), QByteArray("jpg"));
        QCOMPARE(readAll(destination + QStringLiteral("/a.txt")), QByteArray("old a"));
        QCOMPARE(readAll(destination + QStringLiteral("/a.tar.gz")), QByteArray("old tar"));
        QVERIFY(QFileInfo::exists(a) && QFileInfo::exists(photos));
        QVERIFY(FakePlatform::workspace().selections.isEmpty());
    }

    void awkwardNamesSurviveCopyAndMove() {
        TestEnvironment environment;
        setRevealResults(false);
        const QStringList names = {QStringLiteral("-n"), QStringLiteral("it's \"here\".txt"),
                                   QStringLiteral("two\nlines"), QStringLiteral("文件 ✓.md"),
                                   QStringLiteral("--")};
        QStringList sources;
        for (const QString& name : names)
            sources << environment.writeFile(QStringLiteral("src/") + name, name.toUtf8());
        const QString copies = environment.makeFolder(QStringLiteral("copies"));
        const QString moved = environment.makeFolder(QStringLiteral("moved"));

        perform(QStringLiteral("copyFilesToPath"), sources, copies);
        const QStringList results = perform(QStringLiteral("moveFilesToPath"), sources, moved);

        for (const QString& name : names) {
            QCOMPARE(readAll(copies + QLatin1Char('/') + name), name.toUtf8());
            QCOMPARE(readAll(moved + QLatin1Char('/') + name), name.toUtf8());
        }
        QCOMPARE(results.size(), names.size());
        QCOMPARE(entriesOf(environment.root() + QStringLiteral("/src")), QStringList());
    }

    void copiesBesideTheOriginal() {
        TestEnvironment environment;
        setRevealResults(true);
        const QString report = environment.writeFile(QStringLiteral("work/report.pdf"), "pdf");
        const QString makefile = environment.writeFile(QStringLiteral("work/Makefile"), "all:");
        const QString docs = environment.makeFolder(QStringLiteral("work/Docs"));
        environment.writeFile(docs + QStringLiteral("/d.txt"), "d");
        const QString folder = QFileInfo(report).absolutePath();

        const QStringList first = perform(QStringLiteral("copyBesideOriginal"), {report, makefile, docs});
        const QStringList second = perform(QStringLiteral("copyBesideOriginal"), {report, docs});

        QCOMPARE(first, (QStringList{folder + QStringLiteral("/report copy.pdf"),
                                     folder + QStringLiteral("/Makefile copy"),
                                     folder + QStringLiteral("/Docs copy")}));
        QCOMPARE(second, (QStringList{folder + QStringLiteral("/report copy 2.pdf"),
                                      folder + QStringLiteral("/Docs copy 2")}));
        QCOMPARE(readAll(second[0]), QByteArray("pdf"));
        QCOMPARE(readAll(second[1] + QStringLiteral("/d.txt")), QByteArray("d"));
        // With the preference on, each action selects its results in the file manager, opening nothing.
        QCOMPARE(FakePlatform::workspace().selections, (QList<QStringList>{first, second}));
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
    }

    void theChooserAsksAndCancelLosesNothing() {
        TestEnvironment environment;
        setRevealResults(false);
        const QString file = environment.writeFile(QStringLiteral("src/f.txt"), "f");
        const QString chosen = environment.makeFolder(QStringLiteral("chosen"));
        FakePlatform::prompts().directoryAnswers = {chosen, std::nullopt, chosen};

        perform(QStringLiteral("copyFilesToFolder"), {file});
        QCOMPARE(failureOf([&] { perform(QStringLiteral("moveFilesToFolder"), {file}); }),
                 FinderActionExecutionError::Case::noSelection);
        QVERIFY(QFileInfo::exists(file));
        perform(QStringLiteral("moveFilesToFolder"), {file});

        QCOMPARE(FakePlatform::prompts().asked,
                 (QStringList{QStringLiteral("复制"), QStringLiteral("移动"), QStringLiteral("移动")}));
        QCOMPARE(entriesOf(chosen), (QStringList{QStringLiteral("f 2.txt"), QStringLiteral("f.txt")}));
        QVERIFY(!QFileInfo::exists(file));
    }

    void badInputIsRefusedBeforeAnythingHappens() {
        TestEnvironment environment;
        const QString present = environment.writeFile(QStringLiteral("src/present.txt"), "p");
        const QString missing = environment.root() + QStringLiteral("/src/missing.txt");
        const QString destination = environment.makeFolder(QStringLiteral("dst"));
        const QString notAFolder = environment.writeFile(QStringLiteral("dst-file"), "keep");

        QCOMPARE(failureOf([&] {
                     perform(QStringLiteral("copyFilesToFolder"), {present, missing}, destination);
                 }),
                 FinderActionExecutionError::Case::sourceItemMissing);
        QCOMPARE(failureOf([&] { perform(QStringLiteral("moveFilesToFolder"), {present}, notAFolder); }),
                 FinderActionExecutionError::Case::destinationDirectoryUnavailable);
        QCOMPARE(failureOf([&] {
                     perform(QStringLiteral("moveFilesToFolder"), {present},
                             destination + QStringLiteral("/gone"));
                 }),
                 FinderActionExecutionError::Case::destinationDirectoryUnavailable);
        QCOMPARE(failureOf([&] { perform(QStringLiteral("moveSelectionToNewFolder"), {}); }),
                 FinderActionExecutionError::Case::noSelection);
        QCOMPARE(failureOf([&] {
                     perform(QStringLiteral("moveSelectionToNewFolder"), {present, missing});
                 }),
                 FinderActionExecutionError::Case::sourceItemMissing);
        QCOMPARE(failureOf([&] { perform(QStringLiteral("copyBesideOriginal"), {}); }),
                 FinderActionExecutionError::Case::noSelection);

        QCOMPARE(entriesOf(destination), QStringList());
        QCOMPARE(entriesOf(QFileInfo(present).absolutePath()), QStringList{QStringLiteral("present.txt")});
        QCOMPARE(readAll(notAFolder), QByteArray("keep"));
    }

    void aLaterFailureKeepsEarlierResults() {
        TestEnvironment environment;
        setRevealResults(true);
        const QString first = environment.writeFile(QStringLiteral("src/first.txt"), "1");
        const QString pipe = environment.root() + QStringLiteral("/src/pipe");
        QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        const QString last = environment.writeFile(QStringLiteral("src/last.txt"), "3");
        const QString destination = environment.makeFolder(QStringLiteral("dst"));

        QVERIFY_THROWS_EXCEPTION(
            PlatformError, perform(QStringLiteral("copyFilesToFolder"), {first, pipe, last}, destination));

        QCOMPARE(entriesOf(destination), QStringList{QStringLiteral("first.txt")});
        QVERIFY(QFileInfo::exists(first) && QFileInfo::exists(last));
        QVERIFY(FakePlatform::workspace().selections.isEmpty());
    }

    void aReadOnlyDestinationIsAClearErrorForAnOrdinaryUser() {
        TestEnvironment environment;
        const QString file = environment.writeFile(QStringLiteral("src/f \"1\".txt"), "f");
        const QString destination = environment.makeFolder(QStringLiteral("locked 只读"));
        QVERIFY(::chmod(QFile::encodeName(destination).constData(), 0555) == 0);
        // As the superuser permissions would not bind: the real binary runs as an account without privileges.
        for (const QString& actionID :
             {QStringLiteral("copyFilesToFolder"), QStringLiteral("moveFilesToFolder")}) {
            QString skipReason;
            const auto run = KestroProcess::runUnprivileged(
                {QStringLiteral("--perform"), kestroActionURL(actionID, {file}, std::nullopt, destination)},
                environment.root(), &skipReason);
            if (!run)
                QSKIP(qPrintable(skipReason));
            QVERIFY2(run->exitCode != 0, qPrintable(actionID));
            const QString error = QString::fromUtf8(run->standardError);
            QVERIFY2(error.contains(file), qPrintable(error));
        }
        QCOMPARE(readAll(file), QByteArray("f"));
        QCOMPARE(namesIn(destination), QStringList());
        ::chmod(QFile::encodeName(destination).constData(), 0755);
    }

    void movesToTheStandardFolders() {
        TestEnvironment environment;
        setRevealResults(false);
        const QString desktop = environment.makeFolder(QStringLiteral("home/Desktop"));
        const QString documents = environment.makeFolder(QStringLiteral("home/Documents"));
        const QString file = environment.writeFile(QStringLiteral("src/n.txt"), "n");

        QCOMPARE(perform(QStringLiteral("copyFilesToDocuments"), {file}),
                 QStringList{documents + QStringLiteral("/n.txt")});
        QCOMPARE(perform(QStringLiteral("moveFilesToDesktop"), {file}),
                 QStringList{desktop + QStringLiteral("/n.txt")});
        QVERIFY(!QFileInfo::exists(file));
    }

    void gathersTheSelectionIntoANewFolder() {
        TestEnvironment environment;
        setRevealResults(true);
        const QString work = environment.makeFolder(QStringLiteral("work"));
        const QString a = environment.writeFile(work + QStringLiteral("/a.txt"), "a");
        const QString sub = environment.makeFolder(QStringLiteral("work/sub"));
        const QString elsewhere = environment.writeFile(QStringLiteral("other/a.txt"), "other a");

        const QStringList first = perform(QStringLiteral("moveSelectionToNewFolder"), {a, sub, elsewhere});
        const QString b = environment.writeFile(work + QStringLiteral("/b.txt"), "b");
        const QStringList second = perform(QStringLiteral("moveSelectionToNewFolder"), {b});

        const QString gathered = work + QStringLiteral("/New Folder With Items");
        QCOMPARE(first, QStringList{gathered});
        QCOMPARE(second, QStringList{gathered + QStringLiteral(" 2")});
        QCOMPARE(entriesOf(gathered),
                 (QStringList{QStringLiteral("a 2.txt"), QStringLiteral("a.txt"), QStringLiteral("sub")}));
        QCOMPARE(readAll(gathered + QStringLiteral("/a 2.txt")), QByteArray("other a"));
        QCOMPARE(entriesOf(second.first()), QStringList{QStringLiteral("b.txt")});
        QCOMPARE(FakePlatform::workspace().selections, (QList<QStringList>{first, second}));
    }

    // What `cp -a` and `mv` keep: the user's attributes, ACLs (a folder's default one too), hard links within
    // an item and between selected items, holes; also when a move has to copy to another file system.
    void keepsAttributesAclsHardLinksAndHoles_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("otherFileSystem");
        QTest::newRow("copy") << QStringLiteral("copyFilesToFolder") << false;
        QTest::newRow("copy to tmpfs") << QStringLiteral("copyFilesToFolder") << true;
        QTest::newRow("move to tmpfs") << QStringLiteral("moveFilesToFolder") << true;
    }
    void keepsAttributesAclsHardLinksAndHoles() {
        QFETCH(QString, action);
        QFETCH(bool, otherFileSystem);
        TestEnvironment environment;
        setRevealResults(false);
        QTemporaryDir shm(QStringLiteral("/dev/shm/kestro-test-XXXXXX"));
        const QString destination =
            otherFileSystem ? shm.path() : environment.makeFolder(QStringLiteral("dst"));
        if (otherFileSystem &&
            (!shm.isValid() || statusOf(shm.path()).st_dev == statusOf(environment.root()).st_dev))
            QSKIP("no second file system at /dev/shm");
        const QString tree = environment.makeFolder(QStringLiteral("src/Tree"));
        const QString tagged = environment.writeFile(tree + QStringLiteral("/tagged.txt"), "t");
        const QString shared = environment.makeFolder(QStringLiteral("src/Tree/shared"));
        if (!setAttribute(tagged, "user.xdg.tags", "red,work"))
            QSKIP("this file system keeps no user attributes");
        QVERIFY(setAttribute(tagged, "system.posix_acl_access", aclGivingNobodyRead()));
        QVERIFY(setAttribute(shared, "user.xdg.comment", "notes"));
        QVERIFY(setAttribute(shared, "system.posix_acl_default", aclGivingNobodyRead()));
        const QString a = environment.writeFile(tree + QStringLiteral("/a"), "linked");
        QCOMPARE(::link(QFile::encodeName(a).constData(),
                        QFile::encodeName(shared + QStringLiteral("/b")).constData()),
                 0);
        QVERIFY(!sparseFile(tree + QStringLiteral("/disk.img")).isEmpty());
        const QString one = environment.writeFile(QStringLiteral("src/one.txt"), "one");
        const QString two = environment.root() + QStringLiteral("/src/two.txt");
        QCOMPARE(::link(QFile::encodeName(one).constData(), QFile::encodeName(two).constData()), 0);

        perform(action, {tree, one, two}, destination);

        const QString copy = destination + QStringLiteral("/Tree");
        QCOMPARE(attribute(copy + QStringLiteral("/tagged.txt"), "user.xdg.tags"), QByteArray("red,work"));
        QCOMPARE(attribute(copy + QStringLiteral("/tagged.txt"), "system.posix_acl_access"),
                 aclGivingNobodyRead());
        QCOMPARE(attribute(copy + QStringLiteral("/shared"), "user.xdg.comment"), QByteArray("notes"));
        QCOMPARE(attribute(copy + QStringLiteral("/shared"), "system.posix_acl_default"),
                 aclGivingNobodyRead());
        // b was linked, not created in the folder: it inherits no ACL from the copy's default one either.
        QCOMPARE(attribute(copy + QStringLiteral("/shared/b"), "system.posix_acl_access"),
                 QByteArray("none"));
        QCOMPARE(statusOf(copy + QStringLiteral("/a")).st_ino,
                 statusOf(copy + QStringLiteral("/shared/b")).st_ino);
        QCOMPARE(statusOf(destination + QStringLiteral("/one.txt")).st_ino,
                 statusOf(destination + QStringLiteral("/two.txt")).st_ino);
        QCOMPARE(statusOf(destination + QStringLiteral("/two.txt")).st_nlink, nlink_t(2));
        const QByteArray image = readAll(copy + QStringLiteral("/disk.img"));
        QCOMPARE(image.size(), 8 << 20);
        QVERIFY(image.startsWith("head") && image.endsWith("tail") && image.count('\0') == (8 << 20) - 8);
        QVERIFY2(statusOf(copy + QStringLiteral("/disk.img")).st_blocks * 512 < 1 << 20,
                 "the holes were filled");
        QCOMPARE(QFileInfo::exists(one), action.startsWith(QLatin1String("copy")));
        QCOMPARE(QFileInfo::exists(tree), action.startsWith(QLatin1String("copy")));
        QVERIFY(!environment.logText().contains(QStringLiteral("kept not everything")));
    }

    // A file system that cannot hold an attribute costs the attribute, logged, not the copy.
    void whatTheDestinationCannotHoldIsLogged() {
        TestEnvironment environment;
        setRevealResults(false);
        QTemporaryDir shm(QStringLiteral("/dev/shm/kestro-test-XXXXXX"));
        const QString source = shm.path() + QStringLiteral("/big.txt");
        QVERIFY(QFile(source).open(QIODevice::WriteOnly));
        // tmpfs holds a 10 kB attribute; ext4 keeps attributes within one block unless it was made otherwise.
        if (!setAttribute(source, "user.big", QByteArray(10000, 'x')) ||
            !setAttribute(source, "user.small", "s"))
            QSKIP("no user attributes at /dev/shm");
        const QString destination = environment.makeFolder(QStringLiteral("dst"));
        if (setAttribute(environment.writeFile(QStringLiteral("probe")), "user.big", QByteArray(10000, 'x')))
            QSKIP("this file system holds large attributes");

        perform(QStringLiteral("copyFilesToFolder"), {source}, destination);

        QCOMPARE(attribute(destination + QStringLiteral("/big.txt"), "user.small"), QByteArray("s"));
        QCOMPARE(attribute(destination + QStringLiteral("/big.txt"), "user.big"), QByteArray("none"));
        QVERIFY2(
            environment.logText().contains(QStringLiteral("kept not everything: %1 user.big: ").arg(source)),
            qPrintable(environment.logText()));
    }

    void aLargeSelectionCopiesEveryItem() {
        TestEnvironment environment;
        setRevealResults(false);
        QStringList sources;
        for (int i = 0; i < 1000; ++i)
            sources << environment.writeFile(QStringLiteral("many/item %1.txt").arg(i),
                                             QByteArray::number(i));
        const QString destination = environment.makeFolder(QStringLiteral("dst"));

        const QStringList results = perform(QStringLiteral("copyFilesToFolder"), sources, destination);

        QCOMPARE(results.size(), sources.size());
        QCOMPARE(entriesOf(destination).size(), sources.size());
        QCOMPARE(readAll(destination + QStringLiteral("/item 999.txt")), QByteArray("999"));
    }

    void progressCountsItemsAndCancelKeepsWhatIsDone() {
        TestEnvironment environment;
        setRevealResults(false);
        QStringList sources;
        for (int i = 0; i < 20; ++i)
            sources << environment.writeFile(QStringLiteral("src/f%1.bin").arg(i, 2, 10, QLatin1Char('0')),
                                             QByteArray(4096, char('a' + i)));
        sources << environment.makeFolder(QStringLiteral("src/tree/deep"));
        environment.writeFile(QStringLiteral("src/tree/deep/x.txt"), "x");
        sources.last() = QFileInfo(sources.last()).path(); // the tree itself
        const QString destination = environment.makeFolder(QStringLiteral("dst"));

        RecordingProgress progress;
        {
            const ActionProgressScope scope(progress);
            perform(QStringLiteral("copyFilesToFolder"), sources, destination);
        }
        QCOMPARE(progress.titles, QStringList({QStringLiteral("复制")}));
        QCOMPARE(progress.finishedCount, 1);
        QVERIFY(progress.isMonotonic());
        QVERIFY(progress.percentNeverFalls());
        QCOMPARE(progress.states.constLast().itemsDone, qint64(21));
        QCOMPARE(progress.states.constLast().itemsTotal, qint64(21));
        // 20 files of 4 KiB and one of a single byte, counted while the copy ran.
        QCOMPARE(progress.states.constLast().bytesTotal, qint64(20 * 4096 + 1));
        QCOMPARE(progress.states.constLast().bytesDone, qint64(20 * 4096 + 1));

        // Stopped after seven items of a move: those seven are moved whole, the rest stay where they were,
        // and nothing half-made is left anywhere.
        const QString second = environment.makeFolder(QStringLiteral("dst2"));
        RecordingProgress stopping;
        stopping.stopAfterItems = 7;
        {
            const ActionProgressScope scope(stopping);
            QVERIFY_THROWS_EXCEPTION(ActionCancelled,
                                     perform(QStringLiteral("moveFilesToFolder"), sources, second));
        }
        QCOMPARE(entriesOf(second).size(), 7);
        QCOMPARE(entriesOf(environment.root() + QStringLiteral("/src")).size(), 21 - 7);
        QCOMPARE(readAll(second + QStringLiteral("/f06.bin")), QByteArray(4096, char('a' + 6)));
        QCOMPARE(stopping.finishedCount, 1);

        // One selected folder of many files: its bytes are counted and copied, and the file in hand inside
        // it is named.
        const QByteArray fileData(64 * 1024, 'z');
        for (int i = 0; i < 64; ++i)
            environment.writeFile(QStringLiteral("tree/sub %1/file\n%2.dat").arg(i % 4).arg(i), fileData);
        const QString tree = environment.root() + QStringLiteral("/tree");
        RecordingProgress treeProgress;
        const QString fourth = environment.makeFolder(QStringLiteral("dst4"));
        {
            const ActionProgressScope scope(treeProgress);
            perform(QStringLiteral("copyFilesToFolder"), {tree}, fourth);
        }
        QVERIFY(treeProgress.isMonotonic());
        QVERIFY(treeProgress.percentNeverFalls());
        QCOMPARE(treeProgress.states.constLast().bytesTotal, qint64(64 * fileData.size()));
        QCOMPARE(treeProgress.states.constLast().bytesDone, qint64(64 * fileData.size()));
        QVERIFY(std::any_of(treeProgress.states.cbegin(), treeProgress.states.cend(), [&](const auto& state) {
            return state.currentItem.startsWith(tree + QStringLiteral("/sub ")) && state.itemsDone == 0;
        }));

        // Stopped inside a folder, in the middle of its large files: the half-made tree goes, nothing
        // appears, the original stays whole.
        for (int i = 0; i < 8; ++i)
            environment.writeFile(QStringLiteral("big tree/part %1.bin").arg(i),
                                  QByteArray(8 << 20, char('0' + i)));
        const QString bigTree = environment.root() + QStringLiteral("/big tree");
        RecordingProgress stoppingInTree;
        stoppingInTree.stopAfterBytes = qint64(40) << 20;
        const QString fifth = environment.makeFolder(QStringLiteral("dst5"));
        {
            const ActionProgressScope scope(stoppingInTree);
            QVERIFY_THROWS_EXCEPTION(ActionCancelled,
                                     perform(QStringLiteral("copyFilesToFolder"), {bigTree}, fifth));
        }
        QCOMPARE(namesIn(fifth), QStringList());
        QCOMPARE(namesIn(bigTree).size(), 8);
        QCOMPARE(readAll(bigTree + QStringLiteral("/part 7.bin")), QByteArray(8 << 20, '7'));

        // Stopped inside one large file: its partial copy goes, nothing appears, the original stays.
        const QString big =
            environment.writeFile(QStringLiteral("big/disk image.iso"), QByteArray(16 << 20, 'b'));
        const QString third = environment.makeFolder(QStringLiteral("dst3"));
        RecordingProgress inside;
        inside.stopAfterItems = 0;
        {
            const ActionProgressScope scope(inside);
            QVERIFY_THROWS_EXCEPTION(ActionCancelled,
                                     perform(QStringLiteral("copyFilesToFolder"), {big}, third));
        }
        QCOMPARE(namesIn(third), QStringList());
        QCOMPARE(QFileInfo(big).size(), qint64(16 << 20));
    }
};

QTEST_GUILESS_MAIN(TestCopyMoveActions)
#include "test_copy_move_actions.moc"
