// Unpacking archives made by other programs: every format offered, empty ones, Windows separators, hostile
// entries (absolute, "..", outward links, special files, a zip bomb), modes; packing what cannot be read
// (pipes); progress and cancelling.
#include "actions/ArchiveActions.h"
#include "actions/ArchiveExtractor.h"
#include "platform/ActionProgress.h"
#include "platform/FinderActionExecutionError.h"
#include "support/ArchiveSamples.h"
#include "support/FolderListing.h"
#include "support/QuietPreferences.h"
#include "support/RecordingProgress.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ArchiveSamples;

namespace {

mode_t modeOf(const QString& path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status.st_mode;
}

QString unpackError(const QString& archive, ArchiveExtractionMode mode) {
    try {
        ArchiveActions::extractZIPs({archive}, mode);
    } catch (const FinderActionExecutionError& error) {
        return error.errorCase() == FinderActionExecutionError::Case::commandFailed
                   ? error.errorDescription()
                   : QStringLiteral("wrong case");
    }
    return {};
}

} // namespace

class TestArchiveFormats : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(resetQuietEnvironment(m_env));
        m_folder = m_env->makeFolder(QStringLiteral("user"));
    }
    void cleanup() { m_env.reset(); }

    void formatsMadeByOtherTools_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("tar") << "Photos.tar"
                             << "tar" << QStringList{"-cf"};
        QTest::newRow("tar.gz") << "Photos.tar.gz"
                                << "tar" << QStringList{"-czf"};
        QTest::newRow("tgz") << "Photos.TGZ"
                             << "tar" << QStringList{"-czf"};
        QTest::newRow("tar.xz") << "Photos.tar.xz"
                                << "tar" << QStringList{"-cJf"};
        QTest::newRow("tar.bz2") << "Photos.tar.bz2"
                                 << "tar" << QStringList{"-cjf"};
        QTest::newRow("7z") << "Photos.7z"
                            << "7z" << QStringList{"a", "-bd", "-bso0"};
        QTest::newRow("zip") << "Photos.zip"
                             << "zip" << QStringList{"-qr"};
    }
    void formatsMadeByOtherTools() {
        QFETCH(QString, name);
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        if (QStandardPaths::findExecutable(program).isEmpty())
            QSKIP(qPrintable(program + " is missing: run scripts/install-dependencies"));
        const QString source = m_env->makeFolder(QStringLiteral("source"));
        m_env->writeFile(source + QStringLiteral("/photos/a 图.txt"), "first");
        m_env->writeFile(source + QStringLiteral("/b.txt"), QByteArray(100000, 'b'));
        // Times as the archivers keep them (whole seconds, even ones for ZIP's old time field) come back.
        const QDateTime stamp = QDateTime::fromSecsSinceEpoch(981173106, Qt::UTC);
        const timespec times[2] = {{981173106, 0}, {981173106, 0}};
        for (const QString& item : {source + "/photos/a 图.txt", source + "/b.txt", source + "/photos"})
            QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(item).constData(), times, 0), 0);
        const QString archive = m_folder + QLatin1Char('/') + name;
        QVERIFY(tool(program,
                     arguments + QStringList{archive, QStringLiteral("photos"), QStringLiteral("b.txt")},
                     source));

        QCOMPARE(ArchiveActions::extractZIPs({archive}, ArchiveExtractionMode::sameNameFolder),
                 QStringList{m_folder + QStringLiteral("/Photos")});
        QCOMPARE(readAll(m_folder + QStringLiteral("/Photos/photos/a 图.txt")), QByteArray("first"));
        QCOMPARE(readAll(m_folder + QStringLiteral("/Photos/b.txt")), QByteArray(100000, 'b'));
        for (const QString item : {QStringLiteral("/Photos/photos/a 图.txt"), QStringLiteral("/Photos/b.txt"),
                                   QStringLiteral("/Photos/photos")})
            QCOMPARE(QFileInfo(m_folder + item).lastModified().toUTC(), stamp);
        QCOMPARE(ArchiveActions::extractZIPs({archive}, ArchiveExtractionMode::currentFolder),
                 (QStringList{m_folder + QStringLiteral("/b.txt"), m_folder + QStringLiteral("/photos")}));
        QStringList names = namesIn(m_folder);
        names.sort();
        QCOMPARE(names, (QStringList{QStringLiteral("Photos"), name, QStringLiteral("b.txt"),
                                     QStringLiteral("photos")}));
    }

    void emptyArchivesAndWindowsSeparators() {
        QVERIFY(python(m_folder + QStringLiteral("/empty.zip"), QStringLiteral("zip"), {}));
        QVERIFY(tool(QStringLiteral("tar"),
                     {QStringLiteral("-cf"), m_folder + QStringLiteral("/none.tar"), QStringLiteral("-T"),
                      QStringLiteral("/dev/null")},
                     m_folder));
        QCOMPARE(ArchiveActions::extractZIPs({m_folder + QStringLiteral("/empty.zip")},
                                             ArchiveExtractionMode::currentFolder),
                 QStringList{m_folder});
        QCOMPARE(ArchiveActions::extractZIPs({m_folder + QStringLiteral("/none.tar")},
                                             ArchiveExtractionMode::sameNameFolder),
                 QStringList{m_folder + QStringLiteral("/none")});
        QVERIFY(namesIn(m_folder + QStringLiteral("/none")).isEmpty());

        QVERIFY(python(m_folder + QStringLiteral("/windows.zip"), QStringLiteral("zip"),
                       {file(QStringLiteral("Docs\\2024\\report.txt"), "from windows"),
                        file(QStringLiteral("Docs\\top.txt"), "top")}));
        QCOMPARE(ArchiveActions::extractZIPs({m_folder + QStringLiteral("/windows.zip")},
                                             ArchiveExtractionMode::currentFolder),
                 QStringList{m_folder + QStringLiteral("/Docs")});
        QCOMPARE(readAll(m_folder + QStringLiteral("/Docs/2024/report.txt")), QByteArray("from windows"));
        QCOMPARE(readAll(m_folder + QStringLiteral("/Docs/top.txt")), QByteArray("top"));
    }

    void hostileEntriesLeaveNothing_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QList<Entry>>("entries");
        QTest::addColumn<QString>("reason");
        const QString outside = QStringLiteral("指向解压文件夹之外");
        const Entry plain = file(QStringLiteral("plain.txt"), "harmless");
        QTest::newRow("absolute zip") << "zip" << QList{plain, file("/tmp/kestro-evil.txt", "x")} << outside;
        QTest::newRow("absolute tar") << "tar" << QList{plain, file("/tmp/kestro-evil.txt", "x")} << outside;
        QTest::newRow(".. zip") << "zip" << QList{plain, file("../evil.txt", "x")} << outside;
        QTest::newRow(".. inside") << "tar.gz" << QList{plain, file("a/../../evil.txt", "x")} << outside;
        QTest::newRow("backslash ..") << "zip" << QList{plain, file("a\\..\\..\\evil.txt", "x")} << outside;
        QTest::newRow("link to a key")
            << "zip" << QList{plain, symbolicLink("key", "../../home/.ssh/id_ed25519")} << outside;
        QTest::newRow("absolute link")
            << "tar" << QList{symbolicLink("passwd", "/etc/passwd"), plain} << outside;
        // up -> ".." stays inside from d; x -> "d/up/.." reads as "d" on paper but really climbs out.
        QTest::newRow("chained links")
            << "tar" << QList{folder("d"), symbolicLink("d/up", ".."), symbolicLink("x", "d/up/.."), plain}
            << outside;
        QTest::newRow("link met later")
            << "zip" << QList{symbolicLink("x", "d/up/.."), folder("d"), symbolicLink("d/up", "..")}
            << outside;
        QTest::newRow("through a link")
            << "tar" << QList{folder("sub"), symbolicLink("l", "sub"), file("l/evil.txt", "x")}
            << QStringLiteral("要经过符号链接写入");
        QTest::newRow("outward hard link")
            << "tar" << QList{plain, hardLink("h", "../outside.txt")} << outside;
        QTest::newRow("hard link to a link")
            << "tar"
            << QList{folder("a"), folder("a/b"), symbolicLink("a/b/l", "../.."), hardLink("h", "a/b/l"),
                     file("h/evil.txt", "x")}
            << outside;
        QTest::newRow("pipe") << "tar" << QList{plain, namedPipe("fifo")} << QStringLiteral("特殊文件");
        // Deeper than a process may hold descriptors: the refused archive's folder still goes entirely.
        QTest::newRow("deep, then refused")
            << "tar"
            << QList{file(QString(QStringLiteral("d/")).repeated(1500) + "f", "deep"), file("/evil.txt", "x")}
            << outside;
    }
    void hostileEntriesLeaveNothing() {
        QFETCH(QString, format);
        QFETCH(QList<Entry>, entries);
        QFETCH(QString, reason);
        const QString archive = m_folder + QStringLiteral("/hostile.") + format;
        QVERIFY(python(archive, format, entries));
        m_env->writeFile(m_env->root() + QStringLiteral("/outside.txt"), "outside");
        for (const auto mode :
             {ArchiveExtractionMode::currentFolder, ArchiveExtractionMode::sameNameFolder}) {
            const QString message = unpackError(archive, mode);
            QVERIFY2(message.startsWith(QStringLiteral("无法解压“hostile.") + format + QStringLiteral("”")),
                     qPrintable(message));
            QVERIFY2(message.contains(reason), qPrintable(message));
            QCOMPARE(namesIn(m_folder), QStringList{QFileInfo(archive).fileName()});
        }
        QVERIFY(!QFileInfo::exists(QStringLiteral("/tmp/kestro-evil.txt")));
        QCOMPARE(namesIn(m_env->root()).filter(QStringLiteral("evil")), QStringList());
        QCOMPARE(readAll(m_env->root() + QStringLiteral("/outside.txt")), QByteArray("outside"));
    }

    void inwardLinksAreKept() {
        const QString archive = m_folder + QStringLiteral("/links.zip");
        QVERIFY(python(archive, QStringLiteral("zip"),
                       {file(QStringLiteral("docs/readme.txt"), "read me"),
                        symbolicLink(QStringLiteral("docs/same"), QStringLiteral("readme.txt")),
                        symbolicLink(QStringLiteral("docs/up"), QStringLiteral("../docs/readme.txt")),
                        symbolicLink(QStringLiteral("shortcut"), QStringLiteral("docs"))}));
        ArchiveActions::extractZIPs({archive}, ArchiveExtractionMode::sameNameFolder);
        const QString out = m_folder + QStringLiteral("/links");
        QCOMPARE(QFileInfo(out + QStringLiteral("/docs/same")).symLinkTarget(),
                 out + QStringLiteral("/docs/readme.txt"));
        QCOMPARE(readAll(out + QStringLiteral("/docs/up")), QByteArray("read me"));
        QCOMPARE(readAll(out + QStringLiteral("/shortcut/readme.txt")), QByteArray("read me"));
        QVERIFY(S_ISLNK(modeOf(out + QStringLiteral("/shortcut"))));
    }

    // A link and a read-only folder of the same name, in either order: the folder's mode goes to a folder
    // of the archive, never through the link to the user's own folder.
    void folderModeNeverFollowsALink() {
        const mode_t before = modeOf(m_folder);
        QVERIFY(python(m_folder + QStringLiteral("/link first.tar"), QStringLiteral("tar"),
                       {symbolicLink(QStringLiteral("here"), QStringLiteral(".")),
                        folder(QStringLiteral("here"), 0500)}));
        QVERIFY(python(m_folder + QStringLiteral("/folder first.tar"), QStringLiteral("tar"),
                       {folder(QStringLiteral("there"), 0500),
                        symbolicLink(QStringLiteral("there"), QStringLiteral("."))}));
        ArchiveActions::extractZIPs(
            {m_folder + QStringLiteral("/link first.tar"), m_folder + QStringLiteral("/folder first.tar")},
            ArchiveExtractionMode::currentFolder);
        QCOMPARE(modeOf(m_folder), before);
        // The first entry of a name wins: here the link, there the folder.
        QVERIFY(S_ISLNK(modeOf(m_folder + QStringLiteral("/here"))));
        QVERIFY(S_ISDIR(modeOf(m_folder + QStringLiteral("/there"))));
        QCOMPARE(modeOf(m_folder + QStringLiteral("/there")) & 07777, mode_t(0500));
    }

    // The archive's modes pass through the umask and never bring setuid, setgid, sticky or
    // write-for-others, not even with a umask of 0; read-only folders are read-only again at the end.
    void modesAreMaskedAndReadOnlyFoldersRestored() {
        const QString archive = m_folder + QStringLiteral("/modes.tar");
        QVERIFY(python(archive, QStringLiteral("tar"),
                       {folder(QStringLiteral("open"), 0777),
                        file(QStringLiteral("open/tool"), "#!/bin/sh\n", 06777),
                        folder(QStringLiteral("locked"), 0555), folder(QStringLiteral("locked/inner"), 0500),
                        file(QStringLiteral("locked/inner/note.txt"), "note", 0444),
                        file(QStringLiteral("locked/readme.txt"), "readme", 0444)}));
        for (const mode_t mask : {mode_t(022), mode_t(0)}) {
            const mode_t previous = ::umask(mask);
            const QStringList results =
                ArchiveActions::extractZIPs({archive}, ArchiveExtractionMode::currentFolder);
            ::umask(previous);
            QCOMPARE(results.size(), 2);
            const QString locked = results.at(0);
            const QString open = results.at(1);
            QCOMPARE(modeOf(open + QStringLiteral("/tool")) & 07777, 0775 & ~mask);
            QCOMPARE(modeOf(open) & 07777, 0775 & ~mask);
            QCOMPARE(modeOf(locked) & 07777, mode_t(0555));
            QCOMPARE(modeOf(locked + QStringLiteral("/inner")) & 07777, mode_t(0500));
            QCOMPARE(modeOf(locked + QStringLiteral("/readme.txt")) & 07777, mode_t(0444));
            QCOMPARE(readAll(locked + QStringLiteral("/inner/note.txt")), QByteArray("note"));
        }
        QVERIFY(S_ISDIR(modeOf(m_folder + QStringLiteral("/locked 2"))));
        QCOMPARE(namesIn(m_folder), (QStringList{"locked", "locked 2", "modes.tar", "open", "open 2"}));
        // The same-name folder gets an ordinary folder's mode, its read-only contents stay read-only.
        QCOMPARE(ArchiveActions::extractZIPs({archive}, ArchiveExtractionMode::sameNameFolder),
                 QStringList{m_folder + QStringLiteral("/modes")});
        QCOMPARE(modeOf(m_folder + QStringLiteral("/modes")) & 07777, ArchiveExtractor::defaultFolderMode());
        QCOMPARE(modeOf(m_folder + QStringLiteral("/modes/locked")) & 07777, mode_t(0555));
    }

    void encryptedAndTruncated() {
        if (QStandardPaths::findExecutable(QStringLiteral("7z")).isEmpty())
            QSKIP("7z is missing: run scripts/install-dependencies");
        const QString source = m_env->makeFolder(QStringLiteral("source"));
        m_env->writeFile(source + QStringLiteral("/secret.txt"), QByteArray(50000, 's'));
        QVERIFY(tool(QStringLiteral("7z"),
                     {"a", "-bd", "-bso0", "-psecret", m_folder + "/locked.7z", "secret.txt"}, source));
        QVERIFY(tool(QStringLiteral("tar"), {"-czf", m_env->root() + "/whole.tar.gz", "secret.txt"}, source));
        QByteArray truncated = readAll(m_env->root() + QStringLiteral("/whole.tar.gz"));
        truncated.chop(truncated.size() / 3);
        m_env->writeFile(m_folder + QStringLiteral("/cut.tar.gz"), truncated);
        for (const QString name : {QStringLiteral("locked.7z"), QStringLiteral("cut.tar.gz")}) {
            const QString message =
                unpackError(m_folder + QLatin1Char('/') + name, ArchiveExtractionMode::currentFolder);
            QVERIFY2(message.startsWith(
                         QStringLiteral("无法解压“%1”：压缩文件已损坏、已加密或无法读取。").arg(name)),
                     qPrintable(message));
        }
        QCOMPARE(namesIn(m_folder), (QStringList{"cut.tar.gz", "locked.7z"}));
    }

    // 300 MiB of zeros in about 300 KB: stopped by the compression ratio, and everything unpacked removed.
    void zipBombIsStopped() {
        const QString archive = m_folder + QStringLiteral("/bomb.zip");
        QVERIFY(zipBomb(archive, qint64(300) << 20));
        QVERIFY(QFileInfo(archive).size() < 2 << 20);
        const QString message = unpackError(archive, ArchiveExtractionMode::sameNameFolder);
        QVERIFY2(message.contains(QStringLiteral("压缩炸弹")), qPrintable(message));
        QCOMPARE(namesIn(m_folder), QStringList{"bomb.zip"});
    }

    void capsCountWhatLandsOnDisk() {
        const auto capError = [&](const QString& archive, const ArchiveExtractor::Limits& limits) {
            const QString into = m_env->makeFolder(QStringLiteral("into"));
            ActionProgressFeed feed(QStringLiteral("test"));
            QString message;
            try {
                const int folder = ::open(QFile::encodeName(into).constData(), O_RDONLY | O_DIRECTORY);
                ArchiveExtractor::extract(archive, folder, QFile::encodeName(into), feed, limits);
                ::close(folder);
            } catch (const FinderActionExecutionError& error) {
                message = error.errorDescription();
            }
            QDir(into).removeRecursively();
            return message;
        };
        const QString many = m_folder + QStringLiteral("/many.zip");
        QList<Entry> entries;
        for (int i = 0; i < 20; ++i)
            entries.append(file(QStringLiteral("f%1.txt").arg(i), QByteArray(2000, 'x')));
        QVERIFY(python(many, QStringLiteral("zip"), entries));
        QVERIFY(capError(many, {1 << 30, 1000, 1 << 30, 20}).isEmpty());
        QVERIFY(capError(many, {1 << 30, 1000, 1 << 30, 19}).contains(QStringLiteral("超过 19 个条目")));
        // 40,000 bytes of data, but twenty files take twenty blocks.
        QVERIFY(capError(many, {60000, 1000, 1 << 30, 100}).contains(QStringLiteral("解压后的内容超过")));

        // 2,000 empty folders: nothing in bytes, a block each on disk, far more than the archive's size.
        const QString folders = m_folder + QStringLiteral("/folders.tar.gz");
        QList<Entry> empty;
        for (int i = 0; i < 2000; ++i)
            empty.append(folder(QStringLiteral("f%1").arg(i)));
        QVERIFY(python(folders, QStringLiteral("tar.gz"), empty));
        QVERIFY(capError(folders, {1 << 30, 200, 1 << 20, 1 << 20}).contains(QStringLiteral("压缩炸弹")));

        // A sparse file declares far more than its archive holds; its holes land on disk as size.
        const QString sparse = m_folder + QStringLiteral("/sparse.tar");
        const QString source = m_env->makeFolder(QStringLiteral("sparse"));
        QFile big(source + QStringLiteral("/disk.img"));
        QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(qint64(64) << 20));
        big.close();
        QVERIFY(tool(QStringLiteral("tar"), {"-cSf", sparse, "disk.img"}, source));
        QVERIFY(QFileInfo(sparse).size() < 1 << 20);
        QVERIFY(capError(sparse, {qint64(32) << 20, 1 << 30, qint64(1) << 40, 100})
                    .contains(QStringLiteral("解压后的内容超过")));
        QVERIFY(capError(sparse, {qint64(1) << 30, 200, 1 << 20, 100}).contains(QStringLiteral("压缩炸弹")));
    }

    // Another account that can write to the archive's folder swaps the hidden folder for a link to a
    // folder of the user's while the archive is unpacked: nothing of the user's folder moves or changes.
    void aFolderSwappedMidUnpackIsNeverFollowed_data() {
        QTest::addColumn<bool>("intoOwnFolder");
        QTest::newRow("extract here") << false;
        QTest::newRow("extract to folder") << true;
    }
    void aFolderSwappedMidUnpackIsNeverFollowed() {
        QFETCH(bool, intoOwnFolder);
        if (::geteuid() != 0 || QStandardPaths::findExecutable(QStringLiteral("setpriv")).isEmpty())
            QSKIP("needs root and setpriv to act as a second account");
        const QString shared = m_env->makeFolder(QStringLiteral("shared"));
        QCOMPARE(::chmod(QFile::encodeName(m_env->root()).constData(), 0711), 0);
        QCOMPARE(::chmod(QFile::encodeName(shared).constData(), 0777), 0);
        const QString victim = m_env->makeFolder(QStringLiteral("home/Documents"));
        m_env->writeFile(victim + QStringLiteral("/thesis.txt"), "mine");
        QCOMPARE(::chmod(QFile::encodeName(victim).constData(), 0700), 0);
        const QString archive = shared + QStringLiteral("/bait.tar");
        QVERIFY(python(archive, QStringLiteral("tar"),
                       {file("one.txt", "1"), folder("locked", 0555), file("two.txt", "2")}));

        struct Attacker : RecordingProgress {
            QString shared, victim;
            bool swapped = false;
            void changed(const ActionProgressState& state) override {
                RecordingProgress::changed(state);
                if (swapped || state.itemsDone < 1)
                    return;
                swapped = true;
                const QString hidden =
                    QDir(shared).entryList({".kestro-unpack-*"}, QDir::Dirs | QDir::Hidden).value(0);
                QProcess::execute(QStringLiteral("setpriv"),
                                  {"--reuid=65534", "--regid=65534", "--clear-groups", "sh", "-c",
                                   "mv \"$1/$2\" \"$1/taken\" && ln -s \"$3\" \"$1/$2\"", "sh", shared,
                                   hidden, victim});
            }
        } attacker;
        attacker.shared = shared;
        attacker.victim = victim;
        const ActionProgressScope scope(attacker);
        const QString message = unpackError(archive, intoOwnFolder ? ArchiveExtractionMode::sameNameFolder
                                                                   : ArchiveExtractionMode::currentFolder);
        QVERIFY(attacker.swapped);
        QVERIFY(QFileInfo(shared + QStringLiteral("/taken")).isDir());
        QCOMPARE(namesIn(victim), QStringList{QStringLiteral("thesis.txt")});
        QCOMPARE(modeOf(victim) & 07777, mode_t(0700));
        QVERIFY(!QFileInfo::exists(shared + QStringLiteral("/thesis.txt")));
        if (intoOwnFolder) {
            QVERIFY2(message.contains(QStringLiteral("被其他程序替换")), qPrintable(message));
        } else {
            QVERIFY2(message.isEmpty(), qPrintable(message));
            QCOMPARE(readAll(shared + QStringLiteral("/two.txt")), QByteArray("2"));
            QCOMPARE(modeOf(shared + QStringLiteral("/locked")) & 07777, mode_t(0555));
        }
    }

    // A link in a packed folder is stored as a link: what it points at never enters the archive.
    void linksArePackedAsLinks() {
        m_env->writeFile(m_env->root() + QStringLiteral("/secret key"), "PRIVATE KEY MATERIAL");
        const QString project = m_env->makeFolder(QStringLiteral("user/Project"));
        m_env->writeFile(project + QStringLiteral("/main.c"), "int main;");
        QVERIFY(QFile::link(QStringLiteral("../../secret key"), project + QStringLiteral("/key")));
        const QString archive = ArchiveActions::compressToZIP({project}, std::nullopt).first();
        QVERIFY(!readAll(archive).contains("PRIVATE KEY"));
        QProcess python;
        python.start(QStringLiteral("python3"),
                     {QStringLiteral("-c"),
                      QStringLiteral("import sys, zipfile\n"
                                     "z = zipfile.ZipFile(sys.argv[1])\n"
                                     "i = z.getinfo('Project/key')\n"
                                     "print(oct(i.external_attr >> 16), z.read(i).decode())"),
                      archive});
        QVERIFY(python.waitForFinished());
        QCOMPARE(python.readAllStandardOutput().trimmed(), QByteArray("0o120777 ../../secret key"));
    }

    // Reading a pipe would wait for a writer that never comes: pipes are refused before anything is read.
    void pipesAreRefusedAtOnce() {
        const QString selection = m_env->makeFolder(QStringLiteral("user/selection"));
        m_env->writeFile(selection + QStringLiteral("/a.txt"), "a");
        QCOMPARE(::mkfifo(QFile::encodeName(selection + QStringLiteral("/inner pipe")).constData(), 0600), 0);
        QCOMPARE(::mkfifo(QFile::encodeName(m_folder + QStringLiteral("/pipe.zip")).constData(), 0600), 0);
        QElapsedTimer timer;
        timer.start();
        try {
            ArchiveActions::compressToZIP({selection}, std::nullopt);
            QFAIL("a pipe was packed");
        } catch (const KestroError& error) {
            QVERIFY2(
                error.errorDescription().contains(QStringLiteral("“%1/inner pipe”是特殊文件").arg(selection)),
                qPrintable(error.errorDescription()));
        }
        QVERIFY(unpackError(m_folder + QStringLiteral("/pipe.zip"), ArchiveExtractionMode::currentFolder)
                    .contains(QStringLiteral("不是普通文件")));
        QVERIFY(timer.elapsed() < 30000);
        QCOMPARE(namesIn(m_folder), (QStringList{"pipe.zip", "selection"}));
    }

    void progressGrowsToTheWholeAndCancelLeavesNothing() {
        const QString source = m_env->makeFolder(QStringLiteral("user/Big"));
        for (int i = 0; i < 300; ++i)
            m_env->writeFile(source + QStringLiteral("/part %1.bin").arg(i),
                             QByteArray(40000, char('a' + i % 26)));
        RecordingProgress progress;
        {
            const ActionProgressScope scope(progress);
            ArchiveActions::compressToZIP({source}, std::nullopt);
        }
        QCOMPARE(progress.titles, QStringList{QStringLiteral("压缩为 ZIP")});
        QCOMPARE(progress.finishedCount, 1);
        QVERIFY(progress.states.size() > 300);
        for (qsizetype i = 1; i < progress.states.size(); ++i) {
            QVERIFY(progress.states.at(i).itemsDone >= progress.states.at(i - 1).itemsDone);
            QVERIFY(progress.states.at(i).bytesDone >= progress.states.at(i - 1).bytesDone);
        }
        const ActionProgressState last = progress.states.last();
        QCOMPARE(last.itemsTotal, 300); // the files, not the folder holding them
        QCOMPARE(last.itemsDone, 300);
        QCOMPARE(last.bytesTotal, 300 * 40000);
        QCOMPARE(last.bytesDone, 300 * 40000);

        // Unpacking reports the archive's bytes read, up to all of them.
        RecordingProgress unpacking;
        {
            const ActionProgressScope scope(unpacking);
            ArchiveActions::extractZIPs({m_folder + QStringLiteral("/Big.zip")},
                                        ArchiveExtractionMode::sameNameFolder);
        }
        QCOMPARE(unpacking.states.last().bytesDone, QFileInfo(m_folder + QStringLiteral("/Big.zip")).size());
        QCOMPARE(unpacking.states.last().itemsDone, 300);

        const QStringList before = namesIn(m_folder);
        for (const bool packing : {true, false}) {
            RecordingProgress cancelling;
            cancelling.stopAfterItems = 5;
            const ActionProgressScope scope(cancelling);
            QVERIFY_THROWS_EXCEPTION(
                ActionCancelled, packing
                                     ? ArchiveActions::compressToZIP({source}, std::nullopt)
                                     : ArchiveActions::extractZIPs({m_folder + QStringLiteral("/Big.zip")},
                                                                   ArchiveExtractionMode::currentFolder));
            QCOMPARE(cancelling.finishedCount, 1);
            QCOMPARE(namesIn(m_folder), before);
        }
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestArchiveFormats)
#include "test_archive_formats.moc"
