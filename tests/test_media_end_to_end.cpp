// One pass of each image and PDF action through the real kestro --perform.
#include "support/KestroProcess.h"
#include "support/PdfSamples.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QProcess>
#include <QtTest>

namespace {

struct Run {
    int exitCode;
    QString standardError;
};

Run perform(const QString& actionID, const QStringList& paths, const QString& target) {
    const KestroProcess kestro = KestroProcess::run(
        {QStringLiteral("--perform"), KestroProcess::requestURL(actionID, paths, target)}, 120000);
    return {kestro.exitCode, QString::fromUtf8(kestro.standardError)};
}

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
}

} // namespace

class TestMediaEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.reset(new TestEnvironment);
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        m_folder = m_env->makeFolder(QStringLiteral("-media 'mixed' \"names\"\n图片"));
    }
    void cleanup() { m_env.reset(); }

    void imageActionsThroughThePerformRoad() {
        QImage image(64, 32, QImage::Format_ARGB32);
        image.fill(QColor(10, 200, 30));
        image.setText(QStringLiteral("Comment"), QStringLiteral("private-note"));
        const QString png = m_folder + QStringLiteral("/-photo 'one'.png");
        QVERIFY(QImageWriter(png, "png").write(image));

        Run run = perform(QStringLiteral("compressJPEG"), {png}, m_folder);
        QVERIFY2(run.exitCode == 0, qPrintable(run.standardError));
        QImageReader jpeg(m_folder + QStringLiteral("/-photo 'one'.jpg"));
        QCOMPARE(jpeg.format(), QByteArray("jpeg"));
        QCOMPARE(jpeg.size(), QSize(64, 32));

        run = perform(QStringLiteral("stripImageMetadata"), {png}, m_folder);
        QVERIFY2(run.exitCode == 0, qPrintable(run.standardError));
        const QString stripped = m_folder + QStringLiteral("/-photo 'one' stripped.png");
        QCOMPARE(QImage(stripped).size(), QSize(64, 32));
        QVERIFY(!readAll(stripped).contains("private-note"));

        run = perform(QStringLiteral("convertImageToTIFF"), {m_folder + QStringLiteral("/missing.png")},
                      m_folder);
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.standardError.contains(QStringLiteral("missing.png")), qPrintable(run.standardError));
    }

    void pdfActionsThroughThePerformRoad() {
        const QString b =
            m_env->writeFile(m_folder + QStringLiteral("/b.pdf"), PdfSamples::document({"b1", "b2"}));
        const QString a =
            m_env->writeFile(m_folder + QStringLiteral("/a.pdf"), PdfSamples::document({"a1"}, 500));

        Run run = perform(QStringLiteral("mergePDFs"), {b, a}, m_folder);
        QVERIFY2(run.exitCode == 0, qPrintable(run.standardError));
        QCOMPARE(PdfSamples::pageLabels(m_folder + QStringLiteral("/Merged.pdf")),
                 (QStringList{"b1", "b2", "a1"}));

        run = perform(QStringLiteral("splitPDFs"), {b}, m_folder);
        QVERIFY2(run.exitCode == 0, qPrintable(run.standardError));
        QCOMPARE(entries(m_folder + QStringLiteral("/b Pages")),
                 (QStringList{"Page 001.pdf", "Page 002.pdf"}));

        run = perform(QStringLiteral("compressPDF"), {a}, m_folder);
        QVERIFY2(run.exitCode == 0, qPrintable(run.standardError));
        QVERIFY(PdfSamples::hasObjectStreams(m_folder + QStringLiteral("/a compressed.pdf")));

        const QString broken = m_env->writeFile(m_folder + QStringLiteral("/broken.pdf"), "garbage");
        run = perform(QStringLiteral("mergePDFs"), {a, broken}, m_folder);
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.standardError.contains(QStringLiteral("broken.pdf")), qPrintable(run.standardError));
        QVERIFY(!QFile::exists(m_folder + QStringLiteral("/Merged 2.pdf")));
    }

    // The perform road runs under a plain core application: the PDF writer must manage without a GUI one.
    void imagesToPdfThroughThePerformRoad() {
        QImage first(120, 90, QImage::Format_RGB32);
        first.fill(Qt::blue);
        QImage second(30, 40, QImage::Format_ARGB32);
        second.fill(QColor(255, 0, 0, 100));
        // At 72 dpi a pixel is a point.
        for (QImage* image : {&first, &second}) {
            image->setDotsPerMeterX(2835);
            image->setDotsPerMeterY(2835);
        }
        QVERIFY(QImageWriter(m_folder + QStringLiteral("/1.jpg"), "jpeg").write(first));
        QVERIFY(QImageWriter(m_folder + QStringLiteral("/2 \"two\".png"), "png").write(second));
        const Run run = perform(
            QStringLiteral("imagesToPDF"),
            {m_folder + QStringLiteral("/1.jpg"), m_folder + QStringLiteral("/2 \"two\".png")}, m_folder);
        QVERIFY2(run.exitCode == 0, qPrintable(run.standardError));
        const QString pdf = m_folder + QStringLiteral("/Images.pdf");
        const QList<QSizeF> sizes = PdfSamples::pageSizes(pdf);
        QCOMPARE(sizes.size(), 2);
        QCOMPARE(sizes.at(0).toSize(), QSize(120, 90));
        QCOMPARE(sizes.at(1).toSize(), QSize(30, 40));
        QCOMPARE(PdfSamples::pageImageSizes(pdf).at(0), QList<QSize>{QSize(120, 90)});
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestMediaEndToEnd)
#include "test_media_end_to_end.moc"
