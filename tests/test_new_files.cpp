// New files and folders: free names, the templates' bytes, Office packages read back by Python's zipfile,
// the blank images and PDF, and that nothing is created without a place or over a taken name.
#include "actions/KestroOfficeDocumentWriter.h"
#include "support/ActionRequests.h"
#include "support/PdfSamples.h"

#include <QImage>

namespace {
QStringList create(const QString& actionID, const std::optional<QString>& target) {
    return perform(actionID, {}, target);
}
} // namespace

class NewFilesTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.emplace();
        m_folder = m_env->makeFolder("target folder 目标");
    }
    void cleanup() { m_env.reset(); }

    // What is there already (a trailing slash: a folder; "->": a dangling link) and the name that is free.
    void theFirstFreeNameIsTaken_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("expected");
        QTest::newRow("the first gap")
            << "createTextFile" << QStringList{"Untitled.txt", "Untitled 3.txt"} << "Untitled 2.txt";
        QTest::newRow("by a folder") << "createCSVFile" << QStringList{"Untitled.csv/"} << "Untitled 2.csv";
        QTest::newRow("by a dangling link")
            << "createJSONFile" << QStringList{"Untitled.json->"} << "Untitled 2.json";
        QTest::newRow("dot file") << "createGitignoreFile" << QStringList{".gitignore"} << ".gitignore 2";
        QTest::newRow("readme") << "createReadmeFile" << QStringList{"Untitled.md"} << "README.md";
        QTest::newRow("readme taken") << "createReadmeFile" << QStringList{"README.md"} << "README 2.md";
        QTest::newRow("folder") << "createFolder" << QStringList{"Untitled Folder"} << "Untitled Folder 2";
        QTest::newRow("office") << "createWordDocument" << QStringList{"Untitled.docx"} << "Untitled 2.docx";
    }
    void theFirstFreeNameIsTaken() {
        QFETCH(QString, actionID);
        QFETCH(QStringList, present);
        QFETCH(QString, expected);
        for (const QString& name : present) {
            if (name.endsWith("->"))
                QVERIFY(QFile::link("/nonexistent", m_folder + '/' + name.chopped(2)));
            else if (name.endsWith('/'))
                m_env->makeFolder(m_folder + '/' + name);
            else
                m_env->writeFile(m_folder + '/' + name, "mine");
        }
        const QStringList created = create(actionID, m_folder);
        QCOMPARE(fileNames(created), QStringList{expected});
        QCOMPARE(namesIn(m_folder).size(), present.size() + 1);
        QCOMPARE(QFileInfo(created[0]).isDir(), actionID == "createFolder");
    }

    // One template with bytes, one without: the other templates are only other texts.
    void textTemplatesAreExactBytes_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("text") << "createTextFile" << QByteArray();
        QTest::newRow("json") << "createJSONFile" << QByteArray("{\n  \n}\n");
    }
    void textTemplatesAreExactBytes() {
        QFETCH(QString, actionID);
        QFETCH(QByteArray, bytes);
        QCOMPARE(readAll(create(actionID, m_folder).first()), bytes);
    }

    // Every part deflated and well-formed XML, in the order Office writes them, no folder entries.
    void officePackagesHoldExactlyTheirParts_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QStringList>("parts");
        const QStringList common{"docProps/core.xml", "docProps/app.xml"};
        QTest::newRow("docx") << "createWordDocument"
                              << QStringList{"[Content_Types].xml", "_rels/.rels", "word/document.xml"} +
                                     common;
        QTest::newRow("xlsx") << "createExcelSpreadsheet"
                              << QStringList{"[Content_Types].xml", "_rels/.rels", "xl/workbook.xml",
                                             "xl/_rels/workbook.xml.rels", "xl/worksheets/sheet1.xml"} +
                                     common;
        QTest::newRow("pptx") << "createPowerPointPresentation"
                              << QStringList{"[Content_Types].xml", "_rels/.rels", "ppt/presentation.xml",
                                             "ppt/_rels/presentation.xml.rels", "ppt/slides/slide1.xml"} +
                                     common;
    }
    void officePackagesHoldExactlyTheirParts() {
        QFETCH(QString, actionID);
        QFETCH(QStringList, parts);
        QProcess python;
        python.start("python3", {"-c",
                                 QStringLiteral("import sys, zipfile, xml.dom.minidom as m\n"
                                                "z = zipfile.ZipFile(sys.argv[1])\n"
                                                "assert z.testzip() is None\n"
                                                "for i in z.infolist():\n"
                                                "    m.parseString(z.read(i))\n"
                                                "    assert i.compress_type == 8, i.filename\n"
                                                "print('\\n'.join(z.namelist()))"),
                                 create(actionID, m_folder).first()});
        QVERIFY(python.waitForFinished());
        QVERIFY2(python.exitCode() == 0, python.readAllStandardError().constData());
        QCOMPARE(QString::fromUtf8(python.readAllStandardOutput()).trimmed().split('\n'), parts);
    }

    // The package is written whole under a free name or not at all: a name taken meanwhile is never replaced,
    // and nothing half-written or temporary stays.
    void anOfficePackageNeverReplaces() {
        const QString taken = m_env->makeFolder("target folder 目标/Untitled.docx");
        m_env->writeFile(taken + "/mine.txt", "mine");
        QVERIFY(names(failureText([&] {
                          KestroOfficeDocumentWriter::write(KestroOfficeDocumentWriter::Kind::docx, taken);
                      }),
                      {"Untitled.docx"}));
        QCOMPARE(namesIn(m_folder), QStringList{"Untitled.docx"});
        QCOMPARE(readAll(taken + "/mine.txt"), QByteArray("mine"));
        QCOMPARE(namesIn(qEnvironmentVariable("TMPDIR")), QStringList());
    }

    void renderedTemplatesAreBlank() {
        const QImage png(create("createPNGImage", m_folder).first(), "PNG");
        const QImage jpg(create("createJPEGImage", m_folder).first(), "JPEG");
        QVERIFY(png.size() == QSize(1, 1) && png.hasAlphaChannel() &&
                png.pixel(0, 0) == qRgba(255, 255, 255, 255));
        QVERIFY(jpg.size() == QSize(1, 1) && qGray(jpg.pixel(0, 0)) > 250);
        QCOMPARE(PdfSamples::pageSizes(create("createPDFDocument", m_folder).first()),
                 (QList<QSizeF>{{612, 792}}));
    }

    // Without a target, or with one that vanished: an error, and nothing created on the way.
    void creationNeedsAPlaceToCreateIn() {
        QCOMPARE(caseOf([] { create("createTextFile", {}); }), Case::noTargetDirectory);
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, create("createTextFile", QString()));
        const QString gone = m_folder + "/gone/deeper";
        for (const char* actionID : {"createTextFile", "createFolder", "createExcelSpreadsheet"})
            QVERIFY(names(failureText([&] { create(QString::fromLatin1(actionID), gone); }),
                          {m_folder + "/gone"}));
        QCOMPARE(namesIn(m_folder), QStringList());
    }

private:
    std::optional<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(NewFilesTest)
#include "test_new_files.moc"
