// Copying and moving, through the dispatcher and item by item: free names, the chooser, what a copy keeps
// (links, modes, times, attributes, ACLs, hard links, holes), and that a failure or a stop loses nothing and
// leaves nothing half-made.
#include "platform/FileTransfer.h"
#include "support/ActionRequests.h"
#include "support/RecordingProgress.h"

#include <fcntl.h>
#include <sys/xattr.h>

namespace {

// Copies and moves go to a destination folder: the request's fourth part.
QStringList transfer(const QString& actionID, const QStringList& selection,
                     const std::optional<QString>& destination = {}) {
    return perform(actionID, selection, {}, destination);
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

QString linkText(const QString& path) {
    char buffer[4096];
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), buffer, sizeof buffer);
    return length < 0 ? QString() : QString::fromUtf8(buffer, int(length));
}

// Every entry under a folder, relative, with its kind, mode, time and link target or bytes.
QStringList describeTree(const QString& root) {
    QStringList lines;
    for (const QFileInfo& entry : QDir(root).entryInfoList(
             QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name)) {
        const struct stat status = statusOf(entry.filePath());
        QString line = QStringLiteral("%1 %2 %3 ").arg(entry.fileName()).arg(status.st_mode, 0, 8);
        if (entry.isSymLink())
            lines << line + linkText(entry.filePath());
        else if (entry.isDir())
            for (const QString& child : QStringList{line} + describeTree(entry.filePath()))
                lines << entry.fileName() + QLatin1Char('/') + child;
        else
            lines << line + QString::number(status.st_mtim.tv_sec) + readAll(entry.filePath()).toHex();
    }
    return lines;
}

// A POSIX ACL as the kernel stores it: the owner rw, user "nobody" read, group, mask and others read.
// Little-endian: a version, then tag, permissions and id for each entry.
QByteArray aclGivingNobodyRead() {
    return QByteArray::fromHex("02000000 01000600ffffffff 02000400feff0000 04000400ffffffff 10000400ffffffff "
                               "20000400ffffffff");
}

struct Refusal {
    QString actionID;
    QStringList selection; // names under src/
    QString destination;   // under the root; empty: none
    Case errorCase;
};

} // namespace

class TestCopyMoveActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.emplace();
        revealResults(false);
    }
    void cleanup() { m_env.reset(); }

    void takenNamesGetTheNextFreeOne() {
        const QString destination = m_env->makeFolder("dst");
        for (const char* taken : {"a.txt", "a 2.txt", "a.tar.gz", "Photos/old.jpg"})
            m_env->writeFile(destination + QLatin1Char('/') + QLatin1String(taken), taken);
        const QString a = m_env->writeFile("src/a.txt", "new a");
        const QString tar = m_env->writeFile("src/a.tar.gz", "new tar");
        const QString photos = m_env->makeFolder("src/Photos");
        m_env->writeFile(photos + "/p.jpg", "jpg");
        const QString odd = m_env->writeFile("src/-it's \"odd\"\n报告", "odd");

        // Selected twice, a file is copied twice: two files, not two names of one.
        QCOMPARE(fileNames(transfer("copyFilesToFolder", {a, tar, photos, odd, a}, destination)),
                 (QStringList{"a 3.txt", "a.tar 2.gz", "Photos 2", "-it's \"odd\"\n报告", "a 4.txt"}));
        QCOMPARE(readAll(destination + "/a 3.txt"), QByteArray("new a"));
        QCOMPARE(statusOf(destination + "/a 4.txt").st_nlink, nlink_t(1));
        QCOMPARE(readAll(destination + "/a.txt"), QByteArray("a.txt"));
        QVERIFY(FakePlatform::workspace().selections.isEmpty());

        // Beside the original, and revealed when the preference says so.
        revealResults(true);
        const QStringList first = transfer("copyBesideOriginal", {tar, photos, m_env->writeFile("src/v1."),
                                                                  m_env->writeFile("src/.hidden")});
        const QStringList second = transfer("copyBesideOriginal", {tar});
        QCOMPARE(fileNames(first + second), (QStringList{"a.tar copy.gz", "Photos copy", "v1. copy",
                                                         ".hidden copy", "a.tar copy 2.gz"}));
        QCOMPARE(readAll(second[0]), QByteArray("new tar"));
        QCOMPARE(FakePlatform::workspace().selections, (QList<QStringList>{first, second}));
        QCOMPARE(fileNames(transfer("moveFilesToPath", {odd}, m_env->makeFolder("moved"))),
                 QStringList{QFileInfo(odd).fileName()});
        QVERIFY(!QFileInfo::exists(odd));
    }

    void standardFoldersTheChooserAndANewFolder() {
        const QString documents = m_env->makeFolder("home/Documents");
        const QString desktop = m_env->makeFolder("home/Desktop");
        const QString chosen = m_env->makeFolder("chosen");
        const QString file = m_env->writeFile("work/f.txt", "f");
        QCOMPARE(transfer("copyFilesToDocuments", {file}), QStringList{documents + "/f.txt"});
        FakePlatform::prompts().directoryAnswers = {chosen, std::nullopt};
        transfer("copyFilesToFolder", {file});
        QCOMPARE(caseOf([&] { transfer("moveFilesToFolder", {file}); }), Case::noSelection);
        QCOMPARE(FakePlatform::prompts().asked, (QStringList{"复制", "移动"}));
        QCOMPARE(namesIn(chosen), QStringList{"f.txt"});

        revealResults(true);
        const QString sub = m_env->makeFolder("work/sub");
        const QString elsewhere = m_env->writeFile("other/f.txt", "other");
        const QStringList gathered = transfer("moveSelectionToNewFolder", {file, sub, elsewhere});
        QCOMPARE(gathered, QStringList{m_env->root() + "/work/New Folder With Items"});
        QCOMPARE(namesIn(gathered[0]), (QStringList{"f 2.txt", "f.txt", "sub"}));
        QCOMPARE(readAll(gathered[0] + "/f 2.txt"), QByteArray("other"));
        const QString b = m_env->writeFile("work/b.txt", "b");
        QCOMPARE(fileNames(transfer("moveSelectionToNewFolder", {b})),
                 QStringList{"New Folder With Items 2"});
        QCOMPARE(fileNames(transfer("moveFilesToDesktop", {gathered[0]})),
                 QStringList{"New Folder With Items"});
        QVERIFY(QFileInfo(desktop + "/New Folder With Items/sub").isDir());
        QCOMPARE(FakePlatform::workspace().selections.size(), 3);
    }

    void badInputIsRefusedBeforeAnythingHappens_data() {
        rows<Refusal>(
            {{"missing item", {"copyFilesToFolder", {"a.txt", "gone"}, "dst", Case::sourceItemMissing}},
             {"file as folder",
              {"moveFilesToFolder", {"a.txt"}, "src/a.txt", Case::destinationDirectoryUnavailable}},
             {"missing folder",
              {"moveFilesToFolder", {"a.txt"}, "dst/gone", Case::destinationDirectoryUnavailable}},
             {"nothing to gather", {"moveSelectionToNewFolder", {}, "", Case::noSelection}},
             {"gathering a missing item",
              {"moveSelectionToNewFolder", {"a.txt", "gone"}, "", Case::sourceItemMissing}}});
    }
    void badInputIsRefusedBeforeAnythingHappens() {
        QFETCH(Refusal, row);
        m_env->writeFile("src/a.txt", "a");
        m_env->makeFolder("dst");
        QStringList paths;
        for (const QString& name : row.selection)
            paths << m_env->root() + "/src/" + name;
        const QString destination = row.destination.isEmpty() ? "" : m_env->root() + '/' + row.destination;
        QCOMPARE(caseOf([&] { transfer(row.actionID, paths, given(destination)); }), row.errorCase);
        QCOMPARE(namesIn(m_env->root() + "/dst"), QStringList());
        QCOMPARE(namesIn(m_env->root() + "/src"), QStringList{"a.txt"});
    }

    // "Into itself" is judged by folders, not by text: a sibling whose name begins the same is elsewhere.
    void aFolderNeverGoesIntoItself_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("destination");
        QTest::addColumn<bool>("refused");
        for (const auto& [row, actionID, destination, refused] :
             std::initializer_list<std::tuple<const char*, const char*, const char*, bool>>{
                 {"copy into a sibling", "copyFilesToFolder", "Photos 2024", false},
                 {"move into a sibling", "moveFilesToFolder", "Photos 2024", false},
                 {"copy into itself", "copyFilesToFolder", "Photos", true},
                 {"move into its subfolder", "moveFilesToFolder", "Photos/sub/", true},
                 {"through a link to it", "copyFilesToFolder", "link/sub", true}})
            QTest::newRow(row) << actionID << destination << refused;
    }
    void aFolderNeverGoesIntoItself() {
        QFETCH(QString, actionID);
        QFETCH(QString, destination);
        QFETCH(bool, refused);
        const QString photos = m_env->makeFolder("Photos/sub");
        m_env->makeFolder("Photos 2024");
        QVERIFY(QFile::link(QFileInfo(photos).path(), m_env->root() + "/link"));
        const QString source = QFileInfo(photos).path();
        if (!refused) // a link to the folder is no folder: it may go into the folder it leads to
            QCOMPARE(transfer("copyFilesToFolder", {m_env->root() + "/link"}, photos),
                     QStringList{photos + "/link"});
        const QString text =
            failureText([&] { transfer(actionID, {source}, m_env->root() + '/' + destination); });
        QCOMPARE(!text.isEmpty(), refused);
        if (refused)
            QVERIFY(names(text, {source}));
        QCOMPARE(QFileInfo::exists(photos), refused || actionID.startsWith("copy"));
        QCOMPARE(namesIn(m_env->root() + "/Photos 2024"), refused ? QStringList() : QStringList{"Photos"});
    }

    // A pipe cannot be copied: the items before it stay, the tree it sits in never appears, nothing moves.
    void aFailureKeepsEarlierResultsAndLeavesNothingHalfMade() {
        revealResults(true);
        const QString first = m_env->writeFile("src/first.txt", "1");
        const QString tree = m_env->makeFolder("src/Tree/sub");
        m_env->writeFile(tree + "/b.txt", "b");
        QCOMPARE(::mkfifo(QFile::encodeName(tree + "/pipe").constData(), 0600), 0);
        const QString last = m_env->writeFile("src/last.txt", "3");
        const QString destination = m_env->makeFolder("dst");
        const QString treeTop = QFileInfo(tree).path();
        QVERIFY(names(failureText([&] {
                          transfer("copyFilesToFolder", {first, treeTop, last}, destination);
                      }),
                      {tree + "/pipe"}));
        QCOMPARE(namesIn(destination), QStringList{"first.txt"});
        QCOMPARE(readAll(tree + "/b.txt"), QByteArray("b"));
        QVERIFY(FakePlatform::workspace().selections.isEmpty());

        // A taken target is never replaced, by a copy or by a move.
        const QString taken = m_env->writeFile("dst/last.txt", "old");
        QVERIFY_THROWS_EXCEPTION(PlatformError, FileTransfer::copy(last, taken));
        QVERIFY_THROWS_EXCEPTION(PlatformError, FileTransfer::move(last, taken));
        QCOMPARE(readAll(taken), QByteArray("old"));
        QCOMPARE(readAll(last), QByteArray("3"));
    }

    // What `cp -a` and `mv` keep: links as links (dangling too), modes, times, empty and read-only folders,
    // awkward names, the user's attributes, ACLs (a folder's default one too), hard links within an item and
    // between selected items, holes; also when a move copies to another file system. A move on one file
    // system is a rename of the same folder.
    void keepsAttributesAclsHardLinksAndHoles_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("otherFileSystem");
        QTest::newRow("copy") << "copyFilesToFolder" << false;
        QTest::newRow("copy to tmpfs") << "copyFilesToFolder" << true;
        QTest::newRow("move to tmpfs") << "moveFilesToFolder" << true;
        QTest::newRow("move") << "moveFilesToFolder" << false;
    }
    void keepsAttributesAclsHardLinksAndHoles() {
        QFETCH(QString, action);
        QFETCH(bool, otherFileSystem);
        QTemporaryDir shm("/dev/shm/kestro-test-XXXXXX");
        const QString destination = otherFileSystem ? shm.path() : m_env->makeFolder("dst");
        if (otherFileSystem &&
            (!shm.isValid() || statusOf(shm.path()).st_dev == statusOf(m_env->root()).st_dev))
            QSKIP("no second file system at /dev/shm");
        const QString tree = m_env->makeFolder("src/Tree");
        const QString tagged = m_env->writeFile(tree + "/tagged.txt", "t");
        const QString shared = m_env->makeFolder("src/Tree/shared");
        if (!setAttribute(tagged, "user.xdg.tags", "red,work"))
            QSKIP("this file system keeps no user attributes");
        QVERIFY(setAttribute(tagged, "system.posix_acl_access", aclGivingNobodyRead()));
        QVERIFY(setAttribute(shared, "user.xdg.comment", "notes"));
        QVERIFY(setAttribute(shared, "system.posix_acl_default", aclGivingNobodyRead()));
        const QString a = m_env->writeFile(tree + "/a", "linked");
        QCOMPARE(::link(QFile::encodeName(a).constData(), QFile::encodeName(shared + "/b").constData()), 0);
        const int fd = ::open(QFile::encodeName(tree + "/disk.img").constData(), O_WRONLY | O_CREAT, 0644);
        QVERIFY(::pwrite(fd, "head", 4, 0) == 4 && ::pwrite(fd, "tail", 4, (8 << 20) - 4) == 4);
        ::close(fd);
        for (const char* name : {"it's \"quoted\".md", "-rf", "line\nbreak", ".hidden", "locked/in.txt"})
            m_env->writeFile(tree + '/' + QString::fromUtf8(name), name);
        m_env->makeFolder("src/Tree/empty");
        QVERIFY(QFile::link("shared", tree + "/relative link"));
        QVERIFY(QFile::link("/nonexistent/target", tree + "/dangling"));
        const timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(tree + "/-rf").constData(), past, 0), 0);
        for (const auto& [name, mode] : {std::pair{"/-rf", 0751}, {"/locked", 0555}})
            QCOMPARE(::chmod(QFile::encodeName(tree + name).constData(), mode_t(mode)), 0);
        const QStringList whole = describeTree(tree);
        const ino_t inode = statusOf(tree).st_ino;
        const QString one = m_env->writeFile("src/one.txt", "one");
        const QString two = m_env->root() + "/src/two.txt";
        QCOMPARE(::link(QFile::encodeName(one).constData(), QFile::encodeName(two).constData()), 0);

        transfer(action, {tree, one, two}, destination);

        const QString copy = destination + "/Tree";
        QCOMPARE(describeTree(copy), whole);
        QCOMPARE(statusOf(copy).st_ino == inode,
                 !otherFileSystem && action.startsWith(QLatin1String("move")));
        QCOMPARE(attribute(copy + "/tagged.txt", "user.xdg.tags"), QByteArray("red,work"));
        QCOMPARE(attribute(copy + "/tagged.txt", "system.posix_acl_access"), aclGivingNobodyRead());
        QCOMPARE(attribute(copy + "/shared", "user.xdg.comment"), QByteArray("notes"));
        QCOMPARE(attribute(copy + "/shared", "system.posix_acl_default"), aclGivingNobodyRead());
        // b was linked, not created in the folder: it inherits no ACL from the copy's default one either.
        QCOMPARE(attribute(copy + "/shared/b", "system.posix_acl_access"), QByteArray("none"));
        QCOMPARE(statusOf(copy + "/a").st_ino, statusOf(copy + "/shared/b").st_ino);
        QCOMPARE(statusOf(destination + "/one.txt").st_ino, statusOf(destination + "/two.txt").st_ino);
        QCOMPARE(statusOf(destination + "/two.txt").st_nlink, nlink_t(2));
        const QByteArray image = readAll(copy + "/disk.img");
        QVERIFY(image.size() == 8 << 20 && image.startsWith("head") && image.endsWith("tail"));
        QVERIFY2(statusOf(copy + "/disk.img").st_blocks * 512 < 1 << 20, "the holes were filled");
        QCOMPARE(QFileInfo::exists(tree), action.startsWith(QLatin1String("copy")));
        QVERIFY(!m_env->logText().contains("kept not everything"));
    }

    void progressCountsAndAStopKeepsWhatIsDone() {
        QStringList sources;
        for (int i = 0; i < 20; ++i)
            sources << m_env->writeFile(QStringLiteral("src/f%1.bin").arg(i, 2, 10, QLatin1Char('0')),
                                        QByteArray(4096, char('a' + i)));
        sources << QFileInfo(m_env->writeFile("src/tree/x.txt", "x")).path();
        const QString destination = m_env->makeFolder("dst");
        RecordingProgress progress;
        const ActionProgressState last =
            reported(progress, [&] { transfer("copyFilesToFolder", sources, destination); });
        checkWholeRun(progress, "复制", 21);
        QVERIFY(progress.percentNeverFalls());
        QVERIFY(last.bytesTotal == 20 * 4096 + 1 && last.bytesDone == 20 * 4096 + 1);
        // From a hundred items on, the items alone measure the way: no bytes are counted.
        QStringList hundred;
        for (int i = 0; i < 100; ++i)
            hundred << m_env->writeFile(QStringLiteral("many/%1").arg(i), "x");
        RecordingProgress byItems;
        const auto copyHundred = [&] {
            transfer("copyFilesToFolder", hundred, m_env->makeFolder("dst3"));
        };
        QVERIFY(reported(byItems, copyHundred).bytesTotal <= 0);

        // Stopped after seven items of a move: those seven are moved whole, the rest stay.
        const QString second = m_env->makeFolder("dst2");
        RecordingProgress stopping;
        QVERIFY(stopsWhenAsked(stopping, 7, [&] { transfer("moveFilesToFolder", sources, second); }));
        QCOMPARE(namesIn(second).size(), 7);
        QCOMPARE(namesIn(m_env->root() + "/src").size(), 21 - 7);
        QCOMPARE(readAll(second + "/f06.bin"), QByteArray(4096, char('a' + 6)));

        // Stopped inside a folder of large files: the half-made tree goes, the original stays whole.
        for (int i = 0; i < 6; ++i)
            m_env->writeFile(QStringLiteral("big/part %1.bin").arg(i), QByteArray(8 << 20, char('0' + i)));
        RecordingProgress inside;
        inside.stopAfterBytes = qint64(20) << 20;
        QVERIFY(stopsWhenAsked(inside, -1,
                               [&] { transfer("copyFilesToFolder", {m_env->root() + "/big"}, second); }));
        QCOMPARE(namesIn(second).size(), 7);
        QCOMPARE(readAll(m_env->root() + "/big/part 5.bin"), QByteArray(8 << 20, '5'));
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestCopyMoveActions)
#include "test_copy_move_actions.moc"
