// Packing ZIPs and unpacking archives made by other programs: names that never replace anything, every format
// offered, hostile entries (absolute, "..", outward links, special files, bombs), modes, damaged archives,
// pipes, progress and stops, and read-only trees for an account without privileges.
#include "actions/ArchiveActions.h"
#include "actions/ArchiveExtractor.h"
#include "support/ActionRequests.h"
#include "support/ArchiveSamples.h"
#include "support/QuietPreferences.h"
#include "support/RecordingProgress.h"

#include <fcntl.h>

using namespace ArchiveSamples;

namespace {

mode_t modeOf(const QString& path) {
    return statusOf(path).st_mode;
}

constexpr auto here = ArchiveExtractionMode::currentFolder, ownFolder = ArchiveExtractionMode::sameNameFolder;

QStringList pack(const QStringList& items, const std::optional<QString>& target = {}) {
    return ArchiveActions::compressToZIP(items, target);
}

QStringList unpack(const QString& archive, ArchiveExtractionMode mode = here) {
    return ArchiveActions::extractZIPs({archive}, mode);
}

// The message of a refused unpacking; "wrong case" for an error of another case, empty when it worked.
QString unpackError(const QString& archive, ArchiveExtractionMode mode) {
    const auto error = failureOf<FinderActionExecutionError>([&] { unpack(archive, mode); });
    return !error ? "" : error->errorCase() == Case::commandFailed ? error->errorDescription() : "wrong case";
}

} // namespace

class TestArchiveActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(resetQuietEnvironment(m_env));
        m_folder = m_env->makeFolder("user");
    }
    void cleanup() { m_env.reset(); }

    void packingNamesTheArchiveAndLeavesNothingBehind() {
        const QString report = m_env->writeFile(m_folder + "/Report.pdf", "pdf");
        const QString photos = m_env->makeFolder("user/Photos");
        m_env->writeFile(photos + "/one.jpg", "jpg");
        QCOMPARE(pack({report}), QStringList{m_folder + "/Report.zip"});
        QCOMPARE(pack({report}), QStringList{m_folder + "/Report 2.zip"});
        QCOMPARE(pack({}, photos), QStringList{m_folder + "/Photos.zip"});
        revealResults(true);
        QCOMPARE(pack({report, photos}), QStringList{m_folder + "/Archive.zip"});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{{m_folder + "/Archive.zip"}});
        QCOMPARE(ArchiveActions::zipEntries(m_folder + "/Photos.zip"),
                 (QStringList{"Photos/", "Photos/one.jpg"}));
        QCOMPARE(ArchiveActions::zipEntries(m_folder + "/Report 2.zip"), QStringList{"Report.pdf"});
        // Nothing is left behind: no staging folder, no half-written archive.
        QVERIFY(namesIn(m_env->root() + "/tmp").isEmpty());
        QCOMPARE(namesIn(m_folder), (QStringList{"Archive.zip", "Photos", "Photos.zip", "Report 2.zip",
                                                 "Report.pdf", "Report.zip"}));

        QCOMPARE(caseOf([] { pack({}); }), Case::noSelection);
        // ".zip" alone names a hidden file, not an archive without a name.
        QCOMPARE(caseOf([&] { unpack(m_env->writeFile(m_folder + "/.zip", "x")); }), Case::noSelection);
    }

    void hostileEntriesLeaveNothing_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QList<Entry>>("entries");
        QTest::addColumn<QString>("reason");
        const auto row = [&](const char* name, const char* format, const QList<Entry>& entries,
                             const QString& reason = "指向解压文件夹之外") {
            QTest::newRow(name) << QString(format) << entries << reason;
        };
        const Entry plain = file("plain.txt", "harmless");
        row("absolute zip", "zip", {plain, file("/tmp/kestro-evil.txt", "x")});
        row(".. inside", "tar.gz", {plain, file("a/../../evil.txt", "x")});
        row("backslash ..", "zip", {plain, file("a\\..\\..\\evil.txt", "x")});
        row("link to a key", "zip", {plain, symbolicLink("key", "../../home/.ssh/id_ed25519")});
        row("absolute link", "tar", {symbolicLink("passwd", "/etc/passwd"), plain});
        // up -> ".." stays inside from d; x -> "d/up/.." reads as "d" on paper but really climbs out.
        row("chained links", "tar",
            {folder("d"), symbolicLink("d/up", ".."), symbolicLink("x", "d/up/.."), plain});
        row("link met later", "zip", {symbolicLink("x", "d/up/.."), folder("d"), symbolicLink("d/up", "..")});
        row("a loop of links", "tar",
            {plain, symbolicLink("a", "b"), symbolicLink("b", "a"), symbolicLink("c", "a/x")});
        row("through a link", "tar", {folder("sub"), symbolicLink("l", "sub"), file("l/evil.txt", "x")},
            "要经过符号链接写入");
        row("outward hard link", "tar", {plain, hardLink("h", "../outside.txt")});
        row("hard link to a link", "tar",
            {folder("a"), folder("a/b"), symbolicLink("a/b/l", "../.."), hardLink("h", "a/b/l"),
             file("h/evil.txt", "x")});
        row("pipe", "tar", {plain, namedPipe("fifo")}, "特殊文件");
        // Deeper than a process may hold descriptors: the refused archive's folder still goes entirely.
        row("deep, then refused", "tar",
            {file(QString("d/").repeated(1500) + "f", "deep"), file("/evil.txt", "x")});
    }
    void hostileEntriesLeaveNothing() {
        QFETCH(QString, format);
        QFETCH(QList<Entry>, entries);
        QFETCH(QString, reason);
        const QString archive = m_folder + "/hostile." + format;
        QVERIFY(python(archive, format, entries));
        m_env->writeFile(m_env->root() + "/outside.txt", "outside");
        for (const auto mode : {here, ownFolder}) {
            QVERIFY(names(unpackError(archive, mode), {"hostile." + format, reason}));
            QCOMPARE(namesIn(m_folder), QStringList{QFileInfo(archive).fileName()});
        }
        QVERIFY(!QFileInfo::exists("/tmp/kestro-evil.txt"));
        QCOMPARE(namesIn(m_env->root()).filter("evil"), QStringList());
        QCOMPARE(readAll(m_env->root() + "/outside.txt"), QByteArray("outside"));
    }

    // Links that stay inside are kept as links. A link and a read-only folder of one name, in either order:
    // the first entry wins, and the folder's mode never goes through the link to the user's folder.
    void inwardLinksAreKeptAndNeverFollowed() {
        QVERIFY(python(m_folder + "/links.zip", "zip",
                       {file("docs/readme.txt", "read me"), symbolicLink("docs/same", "readme.txt"),
                        symbolicLink("docs/up", "../docs/readme.txt"), symbolicLink("shortcut", "docs")}));
        unpack(m_folder + "/links.zip", ownFolder);
        const QString out = m_folder + "/links";
        QCOMPARE(QFileInfo(out + "/docs/same").symLinkTarget(), out + "/docs/readme.txt");
        QCOMPARE(readAll(out + "/docs/up"), QByteArray("read me"));
        QCOMPARE(readAll(out + "/shortcut/readme.txt"), QByteArray("read me"));
        QVERIFY(S_ISLNK(modeOf(out + "/shortcut")));

        const mode_t before = modeOf(m_folder);
        QVERIFY(
            python(m_folder + "/link first.tar", "tar", {symbolicLink("here", "."), folder("here", 0500)}));
        QVERIFY(
            python(m_folder + "/folder first.tar", "tar",
                   {folder("there", 0500), symbolicLink("there", "."), file("f", "x"), hardLink("g", "f")}));
        ArchiveActions::extractZIPs({m_folder + "/link first.tar", m_folder + "/folder first.tar"}, here);
        QCOMPARE(modeOf(m_folder), before);
        QVERIFY(S_ISLNK(modeOf(m_folder + "/here")));
        QCOMPARE(modeOf(m_folder + "/there") & 07777, mode_t(0500));
        QCOMPARE(statusOf(m_folder + "/g").st_ino, statusOf(m_folder + "/f").st_ino); // a hard link inside
    }

    // Modes pass through the umask and never bring setuid, setgid, sticky or write-for-others, not even with
    // a umask of 0; read-only folders are read-only again at the end; the same-name folder is an ordinary
    // one.
    void modesAreMaskedAndReadOnlyFoldersRestored() {
        const QString archive = m_folder + "/modes.tar";
        QVERIFY(python(archive, "tar",
                       {folder("open", 0777), file("open/tool", "#!/bin/sh\n", 06777), folder("locked", 0555),
                        folder("locked/inner", 0500), file("locked/inner/note.txt", "note", 0444)}));
        for (const mode_t mask : {mode_t(022), mode_t(0)}) {
            const mode_t previous = ::umask(mask);
            const QStringList results = unpack(archive);
            ::umask(previous);
            QCOMPARE(results.size(), 2);
            QCOMPARE(modeOf(results[1] + "/tool") & 07777, 0775 & ~mask);
            QCOMPARE(modeOf(results[1]) & 07777, 0775 & ~mask);
            QCOMPARE(modeOf(results[0]) & 07777, mode_t(0555));
            QCOMPARE(modeOf(results[0] + "/inner") & 07777, mode_t(0500));
            QCOMPARE(readAll(results[0] + "/inner/note.txt"), QByteArray("note"));
        }
        QCOMPARE(namesIn(m_folder), (QStringList{"locked", "locked 2", "modes.tar", "open", "open 2"}));
        QCOMPARE(unpack(archive, ownFolder), QStringList{m_folder + "/modes"});
        QCOMPARE(modeOf(m_folder + "/modes") & 07777, ArchiveExtractor::defaultFolderMode());
        QCOMPARE(modeOf(m_folder + "/modes/locked") & 07777, mode_t(0555));
    }

    // Damaged, truncated and encrypted archives name the archive and leave the folder as it was.
    void damagedArchivesLeaveNothing_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("command"); // packs two files into the archive
        QTest::addColumn<QString>("damage");
        for (const auto& [row, name, command, damage] : std::initializer_list<std::array<const char*, 4>>{
                 {"not an archive", "broken.zip", "", "replace"},
                 {"truncated zip", "broken.zip", "zip -q0", "truncate"},
                 {"bad checksum", "broken.zip", "zip -q0", "flip"},
                 {"encrypted zip", "locked.zip", "zip -qP pw", ""},
                 {"pipe", "pipe.zip", "", "pipe"}})
            QTest::newRow(row) << name << QString(command).split(' ', Qt::SkipEmptyParts) << damage;
    }
    void damagedArchivesLeaveNothing() {
        QFETCH(QString, name);
        QFETCH(QStringList, command);
        QFETCH(QString, damage);
        const QString source = m_env->makeFolder("source");
        m_env->writeFile(source + "/first.txt", QByteArray(4000, 'a'));
        m_env->writeFile(source + "/second.txt", QByteArray(4000, 'b'));
        const QString archive = m_folder + '/' + name;
        const QString made = m_env->root() + "/made." + QFileInfo(name).completeSuffix();
        if (!command.isEmpty() && QStandardPaths::findExecutable(command[0]).isEmpty())
            QSKIP(qPrintable(command[0] + " is missing: run scripts/install-dependencies"));
        if (!command.isEmpty())
            QVERIFY(tool(command[0], command.mid(1) + QStringList{made, "first.txt", "second.txt"}, source));
        QByteArray bytes = damage == "replace" ? QByteArray("this is not an archive") : readAll(made);
        if (damage == "truncate")
            bytes.truncate(bytes.size() * 2 / 3);
        if (damage == "flip")
            bytes[bytes.indexOf("bbbb") + 100] = 'X';
        if (damage == "pipe")
            QCOMPARE(::mkfifo(QFile::encodeName(archive).constData(), 0600), 0);
        else
            m_env->writeFile(archive, bytes);
        m_env->writeFile(m_folder + "/first.txt", "mine");
        QStringList present{"first.txt", name};
        present.sort();
        for (const auto mode : {here, ownFolder}) {
            QVERIFY(names(unpackError(archive, mode), {"“" + name + "”"}));
            QCOMPARE(namesIn(m_folder), present);
            QCOMPARE(readAll(m_folder + "/first.txt"), QByteArray("mine"));
        }
    }

    // 300 MiB of zeros in about 300 KB: stopped by the ratio; the caps count entries and what lands on disk.
    void bombsAndCapsCountWhatLandsOnDisk() {
        const QString bomb = m_folder + "/bomb.zip";
        QVERIFY(zipBomb(bomb, qint64(300) << 20));
        QVERIFY(QFileInfo(bomb).size() < 2 << 20);
        QVERIFY(unpackError(bomb, ownFolder).contains("压缩炸弹"));
        QCOMPARE(namesIn(m_folder), QStringList{"bomb.zip"});

        const auto capError = [&](const QString& archive, const ArchiveExtractor::Limits& limits) {
            const QString into = m_env->makeFolder("into");
            ActionProgressFeed feed("test");
            const QString message = failureText([&] {
                const int folder = ::open(QFile::encodeName(into).constData(), O_RDONLY | O_DIRECTORY);
                const auto close = qScopeGuard([folder] { ::close(folder); });
                ArchiveExtractor::extract(archive, folder, QFile::encodeName(into), feed, limits);
            });
            QDir(into).removeRecursively();
            return message;
        };
        const QString many = m_folder + "/many.zip";
        QList<Entry> entries;
        for (int i = 0; i < 20; ++i)
            entries.append(file(QStringLiteral("f%1.txt").arg(i), QByteArray(2000, 'x')));
        QVERIFY(python(many, "zip", entries));
        QVERIFY(capError(many, {1 << 30, 1000, 1 << 30, 20}).isEmpty());
        QVERIFY(capError(many, {1 << 30, 1000, 1 << 30, 19}).contains("19"));
        // 40,000 bytes of data, but twenty files take twenty blocks.
        QVERIFY(capError(many, {60000, 1000, 1 << 30, 100}).contains("解压后的内容超过"));
    }

    // Another account that can write to the archive's folder swaps the hidden folder for a link to a folder
    // of the user's while the archive is unpacked: nothing of the user's folder moves or changes.
    void aFolderSwappedMidUnpackIsNeverFollowed_data() {
        QTest::addColumn<bool>("intoOwnFolder");
        QTest::newRow("extract here") << false;
        QTest::newRow("extract to folder") << true;
    }
    void aFolderSwappedMidUnpackIsNeverFollowed() {
        QFETCH(bool, intoOwnFolder);
        if (::geteuid() != 0 || QStandardPaths::findExecutable("setpriv").isEmpty())
            QSKIP("needs root and setpriv to act as a second account");
        const QString shared = m_env->makeFolder("shared");
        const QString victim = m_env->makeFolder("home/Documents");
        m_env->writeFile(victim + "/thesis.txt", "mine");
        for (const auto& [path, mode] : {std::pair{m_env->root(), 0711}, {shared, 0777}, {victim, 0700}})
            QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode_t(mode)), 0);
        const QString archive = shared + "/bait.tar";
        QVERIFY(python(archive, "tar", {file("one.txt", "1"), folder("locked", 0555), file("two.txt", "2")}));

        struct Attacker : RecordingProgress {
            QString shared, victim;
            void changed(const ActionProgressState& state) override {
                RecordingProgress::changed(state);
                const QString hidden =
                    QDir(shared).entryList({".kestro-unpack-*"}, QDir::Dirs | QDir::Hidden).value(0);
                if (state.itemsDone < 1 || QFileInfo::exists(shared + "/taken") || hidden.isEmpty())
                    return;
                QProcess::execute("setpriv", {"--reuid=65534", "--regid=65534", "--clear-groups", "sh", "-c",
                                              "mv \"$1/$2\" \"$1/taken\" && ln -s \"$3\" \"$1/$2\"", "sh",
                                              shared, hidden, victim});
            }
        } attacker;
        attacker.shared = shared;
        attacker.victim = victim;
        const ActionProgressScope scope(attacker);
        const QString message = unpackError(archive, intoOwnFolder ? ownFolder : here);
        QVERIFY(QFileInfo(shared + "/taken").isDir());
        QCOMPARE(namesIn(victim), QStringList{"thesis.txt"});
        QCOMPARE(modeOf(victim) & 07777, mode_t(0700));
        QCOMPARE(message.isEmpty(), !intoOwnFolder);
        if (!intoOwnFolder)
            QCOMPARE(readAll(shared + "/two.txt"), QByteArray("2"));
    }

    // A link in a packed folder is stored as a link; a pipe anywhere in the selection is refused at once.
    void linksArePackedAsLinksAndPipesRefused() {
        m_env->writeFile(m_env->root() + "/secret key", "PRIVATE KEY MATERIAL");
        const QString project = m_env->makeFolder("user/Project");
        QVERIFY(QFile::link("../../secret key", project + "/key"));
        const QString archive = pack({project}).first();
        QVERIFY(!readAll(archive).contains("PRIVATE KEY"));
        QProcess python;
        python.start("python3",
                     {"-c",
                      "import sys, zipfile\nz = zipfile.ZipFile(sys.argv[1])\ni = z.getinfo('Project/key')\n"
                      "print(oct(i.external_attr >> 16), z.read(i).decode())",
                      archive});
        QVERIFY(python.waitForFinished());
        QCOMPARE(python.readAllStandardOutput().trimmed(), QByteArray("0o120777 ../../secret key"));

        QCOMPARE(::mkfifo(QFile::encodeName(project + "/inner pipe").constData(), 0600), 0);
        QVERIFY(names(failureText([&] { pack({project}); }), {project + "/inner pipe"}));
        QCOMPARE(namesIn(m_folder), (QStringList{"Project", "Project.zip"}));
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestArchiveActions)
#include "test_archive_actions.moc"
