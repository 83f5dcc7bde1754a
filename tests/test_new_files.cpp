// New files and folders: free names, the templates' bytes, Office packages read back by Python's zipfile,
// the blank images and PDF, and that nothing is created without a place or over a taken name.
#include "actions/KestroOfficeDocumentWriter.h"
#include "support/ActionRequests.h"
#include "support/PdfSamples.h"

#include <QImage>

class NewFilesTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.emplace();
        m_folder = m_env->makeFolder("target folder 目标");
    }
    void cleanup() { m_env.reset(); }

    // Every part deflated and well-formed XML, the main part among them.
    void officePackagesAreWellFormed() {
        QProcess python;
        python.start("python3", {"-c",
                                 QStringLiteral("import sys, zipfile, xml.dom.minidom as m\n"
                                                "for path, part in zip(sys.argv[1::2], sys.argv[2::2]):\n"
                                                "    z = zipfile.ZipFile(path)\n"
                                                "    assert z.testzip() is None and part in z.namelist()\n"
                                                "    for i in z.infolist():\n"
                                                "        m.parseString(z.read(i))\n"
                                                "        assert i.compress_type == 8, i.filename\n"),
                                 made("createWordDocument"), "word/document.xml",
                                 made("createExcelSpreadsheet"), "xl/worksheets/sheet1.xml",
                                 made("createPowerPointPresentation"), "ppt/slides/slide1.xml"});
        QVERIFY(python.waitForFinished());
        QVERIFY2(python.exitCode() == 0, python.readAllStandardError().constData());
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

    // One text template with bytes, one without: the other templates are only other texts.
    void templatesAreBlank() {
        QCOMPARE(readAll(made("createJSONFile")), "{\n  \n}\n");
        QCOMPARE(readAll(made("createTextFile")), "");
        const QImage png(made("createPNGImage"), "PNG");
        QCOMPARE(png.pixel(0, 0), qRgba(255, 255, 255, 255));
        QCOMPARE(PdfSamples::pageSizes(made("createPDFDocument")), (QList<QSizeF>{{612, 792}}));
    }

    // Without a target, or with one that vanished: an error, and nothing created on the way.
    void creationNeedsAPlaceToCreateIn() {
        QCOMPARE(caseOf([] { perform("createTextFile", {}); }), Case::noTargetDirectory);
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, perform("createTextFile", {}, QString()));
        const QString gone = m_folder + "/gone/deeper";
        for (const char* actionID : {"createTextFile", "createFolder", "createExcelSpreadsheet"})
            QVERIFY(names(failureText([&] { perform(actionID, {}, gone); }), {m_folder + "/gone"}));
        QCOMPARE(namesIn(m_folder), QStringList());
    }

private:
    QString made(const char* actionID) { return perform(actionID, {}, m_folder).first(); }

    std::optional<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(NewFilesTest)
#include "test_new_files.moc"
