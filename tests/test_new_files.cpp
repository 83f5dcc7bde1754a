#include "actions/FinderActionExecutor.h"
#include "actions/KestroFileTemplate.h"
#include "actions/KestroOfficeDocumentWriter.h"
#include "actions/UniqueName.h"
#include "platform/FinderActionExecutionError.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QtTest>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>

namespace {
QStringList perform(const QString& actionID, const QString& target) {
    return FinderActionExecutor::perform(actionID, {}, target, std::nullopt, std::nullopt);
}

QString fileName(const QString& path) {
    return QFileInfo(path).fileName();
}
} // namespace

class NewFilesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    QString m_folder;

    QString unpack(const QString& archive) {
        const QString into = m_environment->makeFolder(QStringLiteral("unpacked-") + fileName(archive));
        QProcess unzip;
        unzip.start(QStringLiteral("unzip"), {QStringLiteral("-q"), archive, QStringLiteral("-d"), into});
        unzip.waitForFinished();
        return into;
    }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        m_folder = m_environment->makeFolder(QStringLiteral("target folder 目标"));
    }
    void cleanup() { m_environment.reset(); }

    void uniqueNamesFillTheFirstGap() {
        QCOMPARE(fileName(perform(QStringLiteral("createTextFile"), m_folder).first()),
                 QStringLiteral("Untitled.txt"));
        QCOMPARE(fileName(perform(QStringLiteral("createTextFile"), m_folder).first()),
                 QStringLiteral("Untitled 2.txt"));
        QFile::remove(m_folder + QStringLiteral("/Untitled 2.txt"));
        m_environment->writeFile(m_folder + QStringLiteral("/Untitled 3.txt"));
        QCOMPARE(fileName(perform(QStringLiteral("createTextFile"), m_folder).first()),
                 QStringLiteral("Untitled 2.txt"));

        // A lone "Untitled 2" does not block the plain name; a folder blocks a file name like a file does.
        const QString other = m_environment->makeFolder(QStringLiteral("other"));
        m_environment->writeFile(other + QStringLiteral("/Untitled 2.md"));
        QCOMPARE(fileName(perform(QStringLiteral("createMarkdownFile"), other).first()),
                 QStringLiteral("Untitled.md"));
        QDir(other).mkdir(QStringLiteral("Untitled.csv"));
        QCOMPARE(fileName(perform(QStringLiteral("createCSVFile"), other).first()),
                 QStringLiteral("Untitled 2.csv"));
        // A dangling link occupies its name too.
        QFile::link(QStringLiteral("/nonexistent"), other + QStringLiteral("/Untitled.json"));
        QCOMPARE(fileName(perform(QStringLiteral("createJSONFile"), other).first()),
                 QStringLiteral("Untitled 2.json"));
    }

    void specialNamesKeepTheirShape() {
        QCOMPARE(fileName(perform(QStringLiteral("createGitignoreFile"), m_folder).first()),
                 QStringLiteral(".gitignore"));
        QCOMPARE(fileName(perform(QStringLiteral("createGitignoreFile"), m_folder).first()),
                 QStringLiteral(".gitignore 2"));
        perform(QStringLiteral("createMarkdownFile"), m_folder);
        QCOMPARE(fileName(perform(QStringLiteral("createReadmeFile"), m_folder).first()),
                 QStringLiteral("README.md"));
        QCOMPARE(fileName(perform(QStringLiteral("createReadmeFile"), m_folder).first()),
                 QStringLiteral("README 2.md"));
        QCOMPARE(fileName(perform(QStringLiteral("createFolder"), m_folder).first()),
                 QStringLiteral("Untitled Folder"));
        QCOMPARE(fileName(perform(QStringLiteral("createFolder"), m_folder).first()),
                 QStringLiteral("Untitled Folder 2"));
        QVERIFY(QFileInfo(m_folder + QStringLiteral("/Untitled Folder 2")).isDir());
        QCOMPARE(UniqueName::splitExtension(QStringLiteral("a.tar.gz")),
                 std::make_pair(QStringLiteral("a.tar"), QStringLiteral("gz")));
        QCOMPARE(UniqueName::splitExtension(QStringLiteral(".bashrc")),
                 std::make_pair(QStringLiteral(".bashrc"), QString()));
    }

    void textTemplatesAreExactBytes_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("text") << "createTextFile" << QByteArray();
        QTest::newRow("rtf") << "createRTFDocument"
                             << QByteArray(R"({\rtf1\ansi\deff0\n{\fonttbl{\f0 Helvetica;}}\n\f0\fs24\n}\n)");
        QTest::newRow("markdown") << "createMarkdownFile" << QByteArray("# Untitled\n");
        QTest::newRow("csv") << "createCSVFile" << QByteArray("Name,Value\n");
        QTest::newRow("json") << "createJSONFile" << QByteArray("{\n  \n}\n");
        QTest::newRow("yaml") << "createYAMLFile" << QByteArray("# Untitled\n");
        QTest::newRow("swift") << "createSwiftFile" << QByteArray("import Foundation\n");
        QTest::newRow("python") << "createPythonFile" << QByteArray("#!/usr/bin/env python3\n\n");
        QTest::newRow("shell") << "createShellFile" << QByteArray("#!/bin/sh\n\n");
        QTest::newRow("css") << "createCSSFile" << QByteArray();
        QTest::newRow("js") << "createJavaScriptFile" << QByteArray();
    }

    void textTemplatesAreExactBytes() {
        QFETCH(QString, actionID);
        QFETCH(QByteArray, bytes);
        QCOMPARE(readAll(perform(actionID, m_folder).first()), bytes);
    }

    void longerStubsHaveTheirLengths() {
        const QByteArray rtf = readAll(perform(QStringLiteral("createRTFDocument"), m_folder).first());
        QCOMPARE(rtf.size(), 60);
        QVERIFY(!rtf.contains('\n'));
        const QByteArray xml = readAll(perform(QStringLiteral("createXMLFile"), m_folder).first());
        QCOMPARE(xml.size(), 53);
        QVERIFY(xml.endsWith("</root>"));
        const QByteArray html = readAll(perform(QStringLiteral("createHTMLFile"), m_folder).first());
        QCOMPARE(html.size(), 198);
        QVERIFY(
            html.startsWith("<!doctype html>\n<html lang=\"en\">\n<head>\n    <meta charset=\"utf-8\">\n"));
        QVERIFY(html.endsWith("</body>\n</html>"));
        const QByteArray ignore = readAll(perform(QStringLiteral("createGitignoreFile"), m_folder).first());
        QCOMPARE(ignore, QByteArray(".DS_Store\n.env\nnode_modules/\n.build/\nDerivedData/"));
    }

    void officePackagesHoldExactlyTheirParts() {
        using Kind = KestroOfficeDocumentWriter::Kind;
        const std::pair<const char*, Kind> kinds[] = {{"createWordDocument", Kind::docx},
                                                      {"createExcelSpreadsheet", Kind::xlsx},
                                                      {"createPowerPointPresentation", Kind::pptx}};
        for (const auto& [actionID, kind] : kinds) {
            const QString archive = perform(QString::fromLatin1(actionID), m_folder).first();
            const QString unpacked = unpack(archive);
            const auto entries = KestroOfficeDocumentWriter::entries(kind);
            QStringList files;
            QDirIterator it(unpacked, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (it.hasNext())
                files.append(QDir(unpacked).relativeFilePath(it.next()));
            QCOMPARE(files.size(), entries.size());
            for (const auto& [path, text] : entries) {
                QCOMPARE(readAll(unpacked + QLatin1Char('/') + path), text.toUtf8());
                QVERIFY(text.startsWith(
                    QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n")));
                QVERIFY(!text.endsWith(QLatin1Char('\n')));
            }
        }
        const auto xlsx = KestroOfficeDocumentWriter::entries(Kind::xlsx);
        QCOMPARE(xlsx.size(), 7);
        const QString core = xlsx.at(5).second;
        QVERIFY(core.contains(QStringLiteral("<dc:creator>Kestro</dc:creator>")));
        QVERIFY(core.contains(QStringLiteral(">2026-01-01T00:00:00Z</dcterms:created>")));
        QVERIFY(core.contains(QStringLiteral(">2026-01-01T00:00:00Z</dcterms:modified>")));
        QVERIFY(xlsx.at(6).second.contains(QStringLiteral("<vt:lpstr>Workbook</vt:lpstr>")));
        for (const auto& entry : KestroOfficeDocumentWriter::entries(Kind::docx))
            QVERIFY(entry.first != QStringLiteral("word/_rels/document.xml.rels"));
        QCOMPARE(KestroOfficeDocumentWriter::entries(Kind::pptx).size(), 7);
        QCOMPARE(KestroOfficeDocumentWriter::entries(Kind::docx).size(), 5);
    }

    void failingZipLeavesNoStagingBehind() {
        const QString fakeZip = m_environment->writeFile(
            QStringLiteral("bin/zip"),
            "#!/bin/sh\necho 'zip I/O error: No space left on device' >&2\nexit 14\n");
        QFile::setPermissions(fakeZip, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        KestroOfficeDocumentWriter::setZipPath(fakeZip);
        QString message;
        try {
            perform(QStringLiteral("createWordDocument"), m_folder);
        } catch (const FinderActionExecutionError& error) {
            message = error.errorDescription();
        }
        KestroOfficeDocumentWriter::setZipPath(QStringLiteral("/usr/bin/zip"));
        QCOMPARE(message, QStringLiteral("zip I/O error: No space left on device"));
        QVERIFY(QDir(qEnvironmentVariable("TMPDIR"))
                    .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
                    .isEmpty());
    }

    void renderedTemplatesAreBlank() {
        const QString pngPath = perform(QStringLiteral("createPNGImage"), m_folder).first();
        const QImage png(pngPath, "PNG");
        QCOMPARE(png.size(), QSize(1, 1));
        QVERIFY(png.hasAlphaChannel());
        QCOMPARE(png.pixel(0, 0), qRgba(255, 255, 255, 255));

        const QImage jpg(perform(QStringLiteral("createJPEGImage"), m_folder).first(), "JPEG");
        QCOMPARE(jpg.size(), QSize(1, 1));
        QVERIFY(qGray(jpg.pixel(0, 0)) > 250);

        const QByteArray pdfBytes = readAll(perform(QStringLiteral("createPDFDocument"), m_folder).first());
        QPDF pdf;
        pdf.processMemoryFile("blank", pdfBytes.constData(), size_t(pdfBytes.size()));
        const auto pages = QPDFPageDocumentHelper(pdf).getAllPages();
        QCOMPARE(int(pages.size()), 1);
        QPDFPageObjectHelper page = pages.front();
        const auto box = page.getMediaBox().getArrayAsRectangle();
        QCOMPARE(box.urx - box.llx, 612.0);
        QCOMPARE(box.ury - box.lly, 792.0);
    }

    void creationNeedsAPlaceToCreateIn() {
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError,
                                 perform(QStringLiteral("createTextFile"), QString()).size());
        try {
            FinderActionExecutor::perform(QStringLiteral("createTextFile"), {}, std::nullopt, std::nullopt,
                                          std::nullopt);
            QFAIL("created without a target");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::noTargetDirectory);
        }
        // A target folder that vanished: the system's error, and nothing created on the way.
        const QString gone = m_folder + QStringLiteral("/gone/deeper");
        QVERIFY_THROWS_EXCEPTION(PlatformError, perform(QStringLiteral("createTextFile"), gone));
        QVERIFY_THROWS_EXCEPTION(PlatformError, perform(QStringLiteral("createFolder"), gone));
        QVERIFY(!QFileInfo::exists(m_folder + QStringLiteral("/gone")));
    }
};

QTEST_GUILESS_MAIN(NewFilesTest)
#include "test_new_files.moc"
