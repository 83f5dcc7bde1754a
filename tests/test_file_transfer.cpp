// Copying and moving single items: fidelity of folder trees, and that failures lose nothing and leave no
// half-made item behind.
#include "platform/FileTransfer.h"
#include "platform/KestroError.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString linkText(const QString& path) {
    char buffer[4096];
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), buffer, sizeof buffer);
    return length < 0 ? QString() : QString::fromUtf8(buffer, int(length));
}

// Every entry under a folder, relative, with a kind marker and the link target or the file's bytes.
QStringList describeTree(const QString& root) {
    QStringList lines;
    const QFileInfoList entries = QDir(root).entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        const QString name = entry.fileName();
        if (entry.isSymLink()) {
            lines << QStringLiteral("L %1 -> %2").arg(name, linkText(entry.filePath()));
        } else if (entry.isDir()) {
            lines << QStringLiteral("D %1").arg(name);
            for (const QString& child : describeTree(entry.filePath()))
                lines << name + QLatin1Char('/') + child;
        } else {
            lines << QStringLiteral("F %1 %2").arg(name,
                                                   QString::fromLatin1(readAll(entry.filePath()).toHex()));
        }
    }
    return lines;
}

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

const QString awkwardNames[] = {
    QStringLiteral("blank name.txt"), QStringLiteral("it's \"quoted\".md"), QStringLiteral("-rf"),
    QStringLiteral("line\nbreak"),    QStringLiteral("报告 ü.pdf"),         QStringLiteral(".hidden")};

} // namespace

class TestFileTransfer : public QObject {
    Q_OBJECT

private slots:
    void copiesATreeWithLinksModesAndTimes() {
        TestEnvironment environment;
        const QString source = environment.makeFolder(QStringLiteral("src/Project"));
        for (const QString& name : awkwardNames)
            environment.writeFile(source + QLatin1Char('/') + name, name.toUtf8() + "\n");
        environment.writeFile(source + QStringLiteral("/deep/er/still/file.bin"), QByteArray(300000, '\x5a'));
        QDir().mkpath(source + QStringLiteral("/empty"));
        QVERIFY(QFile::link(QStringLiteral("deep/er"), source + QStringLiteral("/relative link")));
        QVERIFY(QFile::link(QStringLiteral("/nonexistent/target"), source + QStringLiteral("/dangling")));
        const QString script = environment.writeFile(source + QStringLiteral("/run.sh"), "#!/bin/sh\n");
        QVERIFY(::chmod(QFile::encodeName(script).constData(), 0751) == 0);
        const QByteArray oldFile = QFile::encodeName(source + QStringLiteral("/-rf"));
        const timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
        QVERIFY(::utimensat(AT_FDCWD, oldFile.constData(), past, 0) == 0);

        const QString target =
            environment.makeFolder(QStringLiteral("dst")) + QStringLiteral("/Project copy");
        FileTransfer::copy(source, target);

        QCOMPARE(describeTree(target), describeTree(source));
        for (const QString& name : awkwardNames)
            QCOMPARE(readAll(target + QLatin1Char('/') + name), name.toUtf8() + "\n");
        QCOMPARE(readAll(target + QStringLiteral("/deep/er/still/file.bin")), QByteArray(300000, '\x5a'));
        QVERIFY(QFileInfo(target + QStringLiteral("/empty")).isDir());
        QVERIFY(QFileInfo(target + QStringLiteral("/relative link")).isSymLink());
        QCOMPARE(linkText(target + QStringLiteral("/relative link")), QStringLiteral("deep/er"));
        QCOMPARE(linkText(target + QStringLiteral("/dangling")), QStringLiteral("/nonexistent/target"));
        struct stat status {};
        QVERIFY(::stat(QFile::encodeName(target + QStringLiteral("/run.sh")).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 0777, mode_t(0751));
        QVERIFY(::stat(QFile::encodeName(target + QStringLiteral("/-rf")).constData(), &status) == 0);
        QCOMPARE(qint64(status.st_mtim.tv_sec), qint64(1000000000));
        // The source is untouched and nothing temporary is left beside the copy.
        QCOMPARE(readAll(source + QStringLiteral("/-rf")), QByteArray("-rf\n"));
        QCOMPARE(entriesOf(QFileInfo(target).absolutePath()), QStringList{QStringLiteral("Project copy")});
    }

    void copiesAReadOnlyFolderAndALinkAtTheTop() {
        TestEnvironment environment;
        const QString locked = environment.makeFolder(QStringLiteral("src/locked"));
        environment.writeFile(locked + QStringLiteral("/inside.txt"), "x");
        QVERIFY(::chmod(QFile::encodeName(locked).constData(), 0555) == 0);
        const QString link = environment.root() + QStringLiteral("/src/link");
        QVERIFY(QFile::link(locked, link));
        const QString destination = environment.makeFolder(QStringLiteral("dst"));

        FileTransfer::copy(locked, destination + QStringLiteral("/locked"));
        FileTransfer::copy(link, destination + QStringLiteral("/link"));

        QCOMPARE(readAll(destination + QStringLiteral("/locked/inside.txt")), QByteArray("x"));
        QCOMPARE(QFileInfo(destination + QStringLiteral("/locked")).permissions() & QFileDevice::WriteOwner,
                 QFileDevice::Permissions());
        QCOMPARE(linkText(destination + QStringLiteral("/link")), locked);
        ::chmod(QFile::encodeName(locked).constData(), 0755);
        ::chmod(QFile::encodeName(destination + QStringLiteral("/locked")).constData(), 0755);
    }

    void aFailedCopyLeavesNothingUnderAnyName() {
        TestEnvironment environment;
        const QString source = environment.makeFolder(QStringLiteral("src/Mixed"));
        environment.writeFile(source + QStringLiteral("/a.txt"), "a");
        environment.writeFile(source + QStringLiteral("/sub/b.txt"), "b");
        // A named pipe cannot be copied: the copy stops part-way through the tree.
        QVERIFY(::mkfifo(QFile::encodeName(source + QStringLiteral("/sub/pipe")).constData(), 0600) == 0);
        const QString destination = environment.makeFolder(QStringLiteral("dst"));

        try {
            FileTransfer::copy(source, destination + QStringLiteral("/Mixed"));
            QFAIL("copying a pipe succeeded");
        } catch (const PlatformError& error) {
            QVERIFY2(error.errorDescription().contains(QStringLiteral("pipe")),
                     qPrintable(error.errorDescription()));
        }
        QCOMPARE(entriesOf(destination), QStringList());
        QCOMPARE(readAll(source + QStringLiteral("/sub/b.txt")), QByteArray("b"));
    }

    void neverReplacesAnExistingTarget() {
        TestEnvironment environment;
        const QString source = environment.writeFile(QStringLiteral("src/new.txt"), "new");
        const QString target = environment.writeFile(QStringLiteral("dst/new.txt"), "old");

        QVERIFY_THROWS_EXCEPTION(PlatformError, FileTransfer::copy(source, target));
        QVERIFY_THROWS_EXCEPTION(PlatformError, FileTransfer::move(source, target));
        QCOMPARE(readAll(target), QByteArray("old"));
        QCOMPARE(readAll(source), QByteArray("new"));
        QCOMPARE(entriesOf(QFileInfo(target).absolutePath()), QStringList{QStringLiteral("new.txt")});
    }

    void refusesToPutAFolderInsideItself() {
        TestEnvironment environment;
        const QString source = environment.makeFolder(QStringLiteral("Folder"));
        const QString inner = environment.makeFolder(QStringLiteral("Folder/inner"));

        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 FileTransfer::copy(source, inner + QStringLiteral("/Folder")));
        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 FileTransfer::move(source, inner + QStringLiteral("/Folder")));
        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 FileTransfer::copy(source, source + QStringLiteral("/Folder")));
        QCOMPARE(entriesOf(inner), QStringList());
        QCOMPARE(entriesOf(source), QStringList{QStringLiteral("inner")});
    }

    void movesWithinAFileSystemByRenaming() {
        TestEnvironment environment;
        const QString source = environment.makeFolder(QStringLiteral("src/Tree"));
        environment.writeFile(source + QStringLiteral("/f"), "f");
        struct stat before {};
        QVERIFY(::stat(QFile::encodeName(source).constData(), &before) == 0);
        const QString target = environment.makeFolder(QStringLiteral("dst")) + QStringLiteral("/Tree");

        FileTransfer::move(source, target);

        struct stat after {};
        QVERIFY(::stat(QFile::encodeName(target).constData(), &after) == 0);
        QCOMPARE(after.st_ino, before.st_ino); // the same folder, not a copy
        QVERIFY(!QFileInfo::exists(source));
    }

    void movesAcrossFileSystemsOnlyOnceTheCopyIsComplete() {
        TestEnvironment environment;
        QTemporaryDir otherDevice(QStringLiteral("/dev/shm/kestro-test-XXXXXX"));
        struct stat here {
        }, there{};
        if (!otherDevice.isValid() || ::stat(QFile::encodeName(environment.root()).constData(), &here) != 0 ||
            ::stat(QFile::encodeName(otherDevice.path()).constData(), &there) != 0 ||
            here.st_dev == there.st_dev)
            QSKIP("no second file system at /dev/shm");

        const QString good = environment.makeFolder(QStringLiteral("src/Good"));
        environment.writeFile(good + QStringLiteral("/one.txt"), "1");
        QVERIFY(QFile::link(QStringLiteral("one.txt"), good + QStringLiteral("/link")));
        FileTransfer::move(good, otherDevice.path() + QStringLiteral("/Good"));
        QVERIFY(!QFileInfo::exists(good));
        QCOMPARE(readAll(otherDevice.path() + QStringLiteral("/Good/one.txt")), QByteArray("1"));
        QCOMPARE(linkText(otherDevice.path() + QStringLiteral("/Good/link")), QStringLiteral("one.txt"));

        const QString bad = environment.makeFolder(QStringLiteral("src/Bad"));
        environment.writeFile(bad + QStringLiteral("/two.txt"), "2");
        QVERIFY(::mkfifo(QFile::encodeName(bad + QStringLiteral("/pipe")).constData(), 0600) == 0);
        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 FileTransfer::move(bad, otherDevice.path() + QStringLiteral("/Bad")));
        QCOMPARE(readAll(bad + QStringLiteral("/two.txt")), QByteArray("2"));
        QVERIFY(QFileInfo::exists(bad + QStringLiteral("/pipe")));
        QCOMPARE(entriesOf(otherDevice.path()), QStringList{QStringLiteral("Good")});
    }
};

QTEST_GUILESS_MAIN(TestFileTransfer)
#include "test_file_transfer.moc"
