// Archives, Office packages and image metadata through the real executable (kestro --perform): formats made
// by other tools, hostile archives, pipes, and permissions as an account without privileges.
#include "support/ArchiveSamples.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QtTest>

#include <sys/stat.h>

using namespace ArchiveSamples;

namespace {

KestroProcess perform(const QString& actionID, const QStringList& paths, const QString& target) {
    return KestroProcess::run(
        {QStringLiteral("--perform"), KestroProcess::requestURL(actionID, paths, target)}, 120000);
}

mode_t modeOf(const QString& path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status.st_mode & 07777;
}

QStringList zipNames(const QString& archive) {
    QProcess python;
    python.start(
        QStringLiteral("python3"),
        {QStringLiteral("-c"),
         QStringLiteral("import sys, zipfile\nfor n in zipfile.ZipFile(sys.argv[1]).namelist(): print(n)"),
         archive});
    python.waitForFinished();
    return QString::fromUtf8(python.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

class TestArchiveEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(resetQuietEnvironment(m_env));
        m_folder = m_env->makeFolder(QStringLiteral("user 用户"));
    }
    void cleanup() { m_env.reset(); }

    void otherFormatsAndWindowsNames() {
        const QString source = m_env->makeFolder(QStringLiteral("source"));
        m_env->writeFile(source + QStringLiteral("/notes/a.txt"), "a");
        QVERIFY(tool(QStringLiteral("tar"), {"-czf", m_folder + "/notes.tgz", "notes"}, source));
        KestroProcess run =
            perform(QStringLiteral("extractZIPToFolder"), {m_folder + "/notes.tgz"}, m_folder);
        QVERIFY2(run.exitCode == 0, run.standardError.constData());
        QCOMPARE(readAll(m_folder + QStringLiteral("/notes/notes/a.txt")), QByteArray("a"));

        if (!QStandardPaths::findExecutable(QStringLiteral("7z")).isEmpty()) {
            QVERIFY(
                tool(QStringLiteral("7z"), {"a", "-bd", "-bso0", m_folder + "/seven.7z", "notes"}, source));
            run = perform(QStringLiteral("extractZIPHere"), {m_folder + "/seven.7z"}, m_folder);
            QVERIFY2(run.exitCode == 0, run.standardError.constData());
            QCOMPARE(readAll(m_folder + QStringLiteral("/notes 2/a.txt")), QByteArray("a"));
        }

        QVERIFY(python(m_folder + "/win.zip", "zip", {file("Win\\Sub\\b.txt", "b")}));
        run = perform(QStringLiteral("extractZIPHere"), {m_folder + "/win.zip"}, m_folder);
        QVERIFY2(run.exitCode == 0, run.standardError.constData());
        QCOMPARE(readAll(m_folder + QStringLiteral("/Win/Sub/b.txt")), QByteArray("b"));
    }

    void hostileArchivesAreRefused() {
        QVERIFY(python(m_folder + "/key.zip", "zip",
                       {file("ok.txt", "ok"), symbolicLink("id", "../../../home/.ssh/id_ed25519")}));
        QVERIFY(zipBomb(m_folder + "/bomb.zip", qint64(300) << 20));
        for (const QString name : {QStringLiteral("key.zip"), QStringLiteral("bomb.zip")}) {
            const KestroProcess run =
                perform(QStringLiteral("extractZIPHere"), {m_folder + QLatin1Char('/') + name}, m_folder);
            QCOMPARE(run.exitCode, 1);
            QVERIFY2(QString::fromUtf8(run.standardError).contains(QStringLiteral("无法解压“%1”").arg(name)),
                     run.standardError.constData());
        }
        QCOMPARE(namesIn(m_folder), (QStringList{"bomb.zip", "key.zip"}));
    }

    void pipesNeverHang() {
        const QString selection = m_env->makeFolder(QStringLiteral("user 用户/picked"));
        QCOMPARE(::mkfifo(QFile::encodeName(selection + QStringLiteral("/pipe")).constData(), 0600), 0);
        QCOMPARE(::mkfifo(QFile::encodeName(m_folder + QStringLiteral("/pipe.zip")).constData(), 0600), 0);
        QElapsedTimer timer;
        timer.start();
        KestroProcess run = perform(QStringLiteral("compressToZIP"), {selection}, m_folder);
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(QString::fromUtf8(run.standardError).contains(QStringLiteral("特殊文件")),
                 run.standardError.constData());
        run = perform(QStringLiteral("extractZIPHere"), {m_folder + QStringLiteral("/pipe.zip")}, m_folder);
        QCOMPARE(run.exitCode, 1);
        QVERIFY(timer.elapsed() < 60000);
        QCOMPARE(namesIn(m_folder), (QStringList{"picked", "pipe.zip"}));
    }

    void officeAndImagesInProcess() {
        KestroProcess run = perform(QStringLiteral("createExcelSpreadsheet"), {}, m_folder);
        QVERIFY2(run.exitCode == 0, run.standardError.constData());
        QCOMPARE(zipNames(m_folder + QStringLiteral("/Untitled.xlsx")),
                 (QStringList{"[Content_Types].xml", "_rels/.rels", "xl/workbook.xml",
                              "xl/_rels/workbook.xml.rels", "xl/worksheets/sheet1.xml", "docProps/core.xml",
                              "docProps/app.xml"}));

        if (QStandardPaths::findExecutable(QStringLiteral("exiv2")).isEmpty())
            QSKIP("the exiv2 tool is missing: run scripts/install-dependencies");
        QImage image(64, 48, QImage::Format_RGB32);
        image.fill(Qt::darkGreen);
        const QString photo = m_folder + QStringLiteral("/photo.png");
        QVERIFY(QImageWriter(photo, "png").write(image));
        QVERIFY(tool(QStringLiteral("exiv2"), {"-M", "set Exif.Image.Model Kestro One", photo}, m_folder));
        run = perform(QStringLiteral("compressJPEG"), {photo}, m_folder);
        QVERIFY2(run.exitCode == 0, run.standardError.constData());
        QProcess exiv2;
        exiv2.start(QStringLiteral("exiv2"),
                    {"-q", "-K", "Exif.Image.Model", "-Pv", m_folder + "/photo.jpg"});
        QVERIFY(exiv2.waitForFinished());
        QCOMPARE(exiv2.readAllStandardOutput().trimmed(), QByteArray("Kestro One"));
    }

    // As an account without privileges: read-only trees pack, archives holding read-only folders unpack and
    // leave no hidden folder behind, and a folder the account cannot write to gets nothing.
    void readOnlyTreesAsAnOrdinaryUser() {
        const QString project = m_env->makeFolder(QStringLiteral("user 用户/Project"));
        m_env->writeFile(project + QStringLiteral("/locked/sub/deep.txt"), "deep");
        m_env->writeFile(project + QStringLiteral("/locked/top.txt"), "top");
        for (const QString& path : {project + "/locked/sub/deep.txt", project + "/locked/top.txt"})
            QVERIFY(::chmod(QFile::encodeName(path).constData(), 0444) == 0);
        for (const QString& path : {project + "/locked/sub", project + "/locked"})
            QVERIFY(::chmod(QFile::encodeName(path).constData(), 0555) == 0);
        QVERIFY(tool(QStringLiteral("zip"), {"-qr", m_folder + "/byzip.zip", "locked"}, project));
        const QString out = m_env->makeFolder(QStringLiteral("out"));
        const QString closed = m_env->makeFolder(QStringLiteral("closed"));
        QVERIFY(QFile::copy(m_folder + "/byzip.zip", closed + "/x.zip"));

        const auto asUser = [&](const QString& actionID, const QString& path) {
            QString skip;
            const auto run = KestroProcess::runUnprivileged(
                {QStringLiteral("--perform"),
                 KestroProcess::requestURL(actionID, {path}, QFileInfo(path).path())},
                m_env->root(), &skip);
            if (!run)
                QTest::qSkip(qPrintable(skip), __FILE__, __LINE__);
            return run;
        };
        auto run = asUser(QStringLiteral("compressToZIP"), project + QStringLiteral("/locked"));
        if (!run)
            return;
        QVERIFY2(run->exitCode == 0, run->standardError.constData());
        QStringList names = zipNames(project + QStringLiteral("/locked.zip"));
        names.sort();
        QCOMPARE(names, (QStringList{"locked/", "locked/sub/", "locked/sub/deep.txt", "locked/top.txt"}));

        for (const QString& archive : {project + "/locked.zip", m_folder + "/byzip.zip"}) {
            const QString moved = out + QLatin1Char('/') + QFileInfo(archive).fileName();
            QVERIFY(QFile::rename(archive, moved));
            run = asUser(QStringLiteral("extractZIPHere"), moved);
            QVERIFY2(run && run->exitCode == 0, run->standardError.constData());
            run = asUser(QStringLiteral("extractZIPToFolder"), moved);
            QVERIFY2(run && run->exitCode == 0, run->standardError.constData());
        }
        // Here: "locked", then "locked 3"; into folders named after the archives: "locked 2" and "byzip".
        QCOMPARE(namesIn(out),
                 (QStringList{"byzip", "byzip.zip", "locked", "locked 2", "locked 3", "locked.zip"}));
        for (const QString& top :
             {out + "/locked", out + "/locked 2/locked", out + "/locked 3", out + "/byzip/locked"}) {
            QVERIFY2(modeOf(top) == 0555, qPrintable(top + QStringLiteral(" %1").arg(modeOf(top), 0, 8)));
            QCOMPARE(modeOf(top + "/sub"), mode_t(0555));
            QCOMPARE(modeOf(top + "/top.txt"), mode_t(0444));
            QCOMPARE(readAll(top + "/sub/deep.txt"), QByteArray("deep"));
        }

        // A read-only folder: the account may read the archive but not write beside it.
        QVERIFY(::chmod(QFile::encodeName(closed).constData(), 0555) == 0);
        for (const QString& action :
             {QStringLiteral("extractZIPToFolder"), QStringLiteral("extractZIPHere")}) {
            run = asUser(action, closed + "/x.zip");
            QCOMPARE(run->exitCode, 1);
            QCOMPARE(namesIn(closed), QStringList{"x.zip"});
        }
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestArchiveEndToEnd)
#include "test_archive_end_to_end.moc"
