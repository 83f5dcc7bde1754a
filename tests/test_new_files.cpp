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

    // Every part as a new user's Office expects it, written out here rather than taken from the writer, and
    // read back by Python's zipfile module rather than by the library that wrote the package.
    void officePackagesHoldExactlyTheirParts() {
        const QString declaration =
            QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n");
        const auto contentTypes = [&](const QStringList& overrides) {
            QString text = declaration +
                           "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">\n"
                           "  <Default Extension=\"rels\" "
                           "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>\n"
                           "  <Default Extension=\"xml\" ContentType=\"application/xml\"/>\n";
            for (const QString& line : overrides)
                text += "  " + line + "\n";
            return text +
                   "  <Override PartName=\"/docProps/core.xml\" "
                   "ContentType=\"application/vnd.openxmlformats-package.core-properties+xml\"/>\n"
                   "  <Override PartName=\"/docProps/app.xml\" "
                   "ContentType=\"application/vnd.openxmlformats-officedocument.extended-properties+xml\"/>\n"
                   "</Types>";
        };
        const QString rel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
        const QString relationshipsOpen =
            declaration +
            "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">\n";
        const auto packageRelationships = [&](const QString& main) {
            return relationshipsOpen + "  <Relationship Id=\"rId1\" Type=\"" + rel +
                   "officeDocument\" Target=\"" + main +
                   "\"/>\n"
                   "  <Relationship Id=\"rId2\" "
                   "Type=\"http://schemas.openxmlformats.org/package/2006/relationships/metadata/"
                   "core-properties\" Target=\"docProps/core.xml\"/>\n"
                   "  <Relationship Id=\"rId3\" Type=\"" +
                   rel + "extended-properties\" Target=\"docProps/app.xml\"/>\n</Relationships>";
        };
        const QString core =
            declaration +
            "<cp:coreProperties "
            "xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
            "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:dcterms=\"http://purl.org/dc/terms/\" "
            "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n"
            "  <dc:creator>Kestro</dc:creator>\n"
            "  <cp:lastModifiedBy>Kestro</cp:lastModifiedBy>\n"
            "  <dcterms:created xsi:type=\"dcterms:W3CDTF\">2026-01-01T00:00:00Z</dcterms:created>\n"
            "  <dcterms:modified xsi:type=\"dcterms:W3CDTF\">2026-01-01T00:00:00Z</dcterms:modified>\n"
            "</cp:coreProperties>";
        const auto app = [&](const QString& heading) {
            return declaration +
                   "<Properties "
                   "xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\" "
                   "xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\">\n"
                   "  <Application>Kestro</Application>\n"
                   "  <DocSecurity>0</DocSecurity>\n  <ScaleCrop>false</ScaleCrop>\n  <Company></Company>\n"
                   "  <LinksUpToDate>false</LinksUpToDate>\n  <SharedDoc>false</SharedDoc>\n"
                   "  <HyperlinksChanged>false</HyperlinksChanged>\n  <AppVersion>1.0</AppVersion>\n"
                   "  <HeadingPairs><vt:vector size=\"2\" baseType=\"variant\"><vt:variant><vt:lpstr>" +
                   heading +
                   "</vt:lpstr></vt:variant><vt:variant><vt:i4>1</vt:i4></vt:variant></vt:vector>"
                   "</HeadingPairs>\n</Properties>";
        };
        const QString wordMain =
            "application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml";
        const QList<std::pair<QString, QString>> docx = {
            {"[Content_Types].xml",
             contentTypes({"<Override PartName=\"/word/document.xml\" ContentType=\"" + wordMain + "\"/>"})},
            {"_rels/.rels", packageRelationships("word/document.xml")},
            {"word/document.xml",
             declaration +
                 "<w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">\n"
                 "  <w:body><w:p/><w:sectPr/></w:body>\n</w:document>"},
            {"docProps/core.xml", core},
            {"docProps/app.xml", app("Document")}};
        const QList<std::pair<QString, QString>> xlsx = {
            {"[Content_Types].xml",
             contentTypes({"<Override PartName=\"/xl/workbook.xml\" ContentType=\"application/"
                           "vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>",
                           "<Override PartName=\"/xl/worksheets/sheet1.xml\" ContentType=\"application/"
                           "vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>"})},
            {"_rels/.rels", packageRelationships("xl/workbook.xml")},
            {"xl/workbook.xml",
             declaration +
                 "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
                 "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">\n"
                 "  <sheets><sheet name=\"Sheet1\" sheetId=\"1\" r:id=\"rId1\"/></sheets>\n</workbook>"},
            {"xl/_rels/workbook.xml.rels",
             relationshipsOpen + "  <Relationship Id=\"rId1\" Type=\"" + rel +
                 "worksheet\" Target=\"worksheets/sheet1.xml\"/>\n</Relationships>"},
            {"xl/worksheets/sheet1.xml",
             declaration + "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">\n"
                           "  <sheetData/>\n</worksheet>"},
            {"docProps/core.xml", core},
            {"docProps/app.xml", app("Workbook")}};
        const QList<std::pair<QString, QString>> pptx = {
            {"[Content_Types].xml",
             contentTypes({"<Override PartName=\"/ppt/presentation.xml\" ContentType=\"application/"
                           "vnd.openxmlformats-officedocument.presentationml.presentation.main+xml\"/>",
                           "<Override PartName=\"/ppt/slides/slide1.xml\" ContentType=\"application/"
                           "vnd.openxmlformats-officedocument.presentationml.slide+xml\"/>"})},
            {"_rels/.rels", packageRelationships("ppt/presentation.xml")},
            {"ppt/presentation.xml",
             declaration +
                 "<p:presentation xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\" "
                 "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">\n"
                 "  <p:sldIdLst><p:sldId id=\"256\" r:id=\"rId1\"/></p:sldIdLst>\n"
                 "  <p:sldSz cx=\"9144000\" cy=\"6858000\" type=\"screen4x3\"/>\n"
                 "  <p:notesSz cx=\"6858000\" cy=\"9144000\"/>\n</p:presentation>"},
            {"ppt/_rels/presentation.xml.rels",
             relationshipsOpen + "  <Relationship Id=\"rId1\" Type=\"" + rel +
                 "slide\" Target=\"slides/slide1.xml\"/>\n</Relationships>"},
            {"ppt/slides/slide1.xml",
             declaration +
                 "<p:sld xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\" "
                 "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\">\n"
                 "  <p:cSld><p:spTree><p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/>"
                 "</p:nvGrpSpPr><p:grpSpPr><a:xfrm><a:off x=\"0\" y=\"0\"/><a:ext cx=\"0\" cy=\"0\"/>"
                 "<a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"0\" cy=\"0\"/></a:xfrm></p:grpSpPr></p:spTree>"
                 "</p:cSld>\n</p:sld>"},
            {"docProps/core.xml", core},
            {"docProps/app.xml", app("Presentation")}};

        const std::pair<const char*, QList<std::pair<QString, QString>>> kinds[] = {
            {"createWordDocument", docx},
            {"createExcelSpreadsheet", xlsx},
            {"createPowerPointPresentation", pptx}};
        for (const auto& [actionID, expected] : kinds) {
            const QString package = perform(QString::fromLatin1(actionID), m_folder).first();
            // Python lists the members in archive order, each with its bytes in hex and its compression.
            QProcess python;
            python.start(QStringLiteral("python3"),
                         {QStringLiteral("-c"),
                          QStringLiteral("import sys, zipfile\n"
                                         "z = zipfile.ZipFile(sys.argv[1])\n"
                                         "assert z.testzip() is None\n"
                                         "for i in z.infolist(): print(i.filename, i.compress_type, "
                                         "z.read(i).hex())"),
                          package});
            QVERIFY(python.waitForFinished());
            QVERIFY2(python.exitCode() == 0, python.readAllStandardError().constData());
            const QList<QByteArray> lines = python.readAllStandardOutput().trimmed().split('\n');
            QCOMPARE(lines.size(), expected.size());
            for (qsizetype i = 0; i < lines.size(); ++i) {
                const QList<QByteArray> fields = lines.at(i).split(' ');
                QCOMPARE(QString::fromUtf8(fields.at(0)), expected.at(i).first);
                QCOMPARE(fields.at(1), QByteArray("8")); // deflated
                QCOMPARE(QString::fromUtf8(QByteArray::fromHex(fields.at(2))), expected.at(i).second);
            }
            // And as unzip unpacks it: only the parts, no folder entries or anything else.
            const QString unpacked = unpack(package);
            QStringList files;
            QDirIterator it(unpacked, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                it.next();
                if (it.fileInfo().isFile())
                    files.append(QDir(unpacked).relativeFilePath(it.filePath()));
            }
            QCOMPARE(files.size(), expected.size());
        }
    }

    // The package is written whole under a free name or not at all: a name taken meanwhile is never
    // replaced, and no half-written or temporary file stays.
    void officePackageNeverReplaces() {
        const QString taken = m_environment->makeFolder(QStringLiteral("target folder 目标/Untitled.docx"));
        m_environment->writeFile(taken + QStringLiteral("/mine.txt"), "mine");
        QString message;
        try {
            KestroOfficeDocumentWriter::write(KestroOfficeDocumentWriter::Kind::docx, taken);
        } catch (const KestroError& error) {
            message = error.errorDescription();
        }
        QVERIFY2(message.contains(QStringLiteral("Untitled.docx")), qPrintable(message));
        QCOMPARE(QDir(m_folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("Untitled.docx")});
        QCOMPARE(readAll(taken + QStringLiteral("/mine.txt")), QByteArray("mine"));
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
