// Merging, splitting, compressing PDFs and making one from images, read back with qpdf.
#include "actions/PdfActions.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/PdfSamples.h"
#include "support/QuietPreferences.h"
#include "support/RecordingProgress.h"
#include "support/TestEnvironment.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QProcess>
#include <QtTest>

#include <functional>
#include <sys/resource.h>

using PdfSamples::Encryption;

namespace {
QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
}

// Runs an action with a reporter that asks it to stop as told; true when it stopped.
template <typename Action> bool stopped(RecordingProgress& progress, Action action) {
    const ActionProgressScope scope(progress);
    try {
        action();
    } catch (const ActionCancelled&) {
        return true;
    }
    return false;
}
} // namespace

class TestPdfActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.reset(new TestEnvironment);
        saveQuietPreferences();
        m_folder = m_env->makeFolder(QStringLiteral("docs"));
    }
    void cleanup() { m_env.reset(); }

    void mergeKeepsSelectionOrder() {
        const QString b =
            m_env->writeFile(m_folder + QStringLiteral("/b.pdf"), PdfSamples::document({"b1", "b2"}));
        const QString a =
            m_env->writeFile(m_folder + QStringLiteral("/-a 'é'\n.PDF"), PdfSamples::document({"a1"}));
        const QString text = m_env->writeFile(m_folder + QStringLiteral("/notes.txt"), "not a pdf");

        const QStringList merged = PdfActions::mergePDFs({text, b, a});
        QCOMPARE(merged, QStringList{m_folder + QStringLiteral("/Merged.pdf")});
        QCOMPARE(PdfSamples::pageLabels(merged.first()), (QStringList{"b1", "b2", "a1"}));

        QCOMPARE(PdfActions::mergePDFs({a, b}), QStringList{m_folder + QStringLiteral("/Merged 2.pdf")});
        QCOMPARE(PdfSamples::pageLabels(m_folder + QStringLiteral("/Merged 2.pdf")),
                 (QStringList{"a1", "b1", "b2"}));
        // The first merge's result is untouched by the second.
        QCOMPARE(PdfSamples::pageLabels(merged.first()), (QStringList{"b1", "b2", "a1"}));

        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, PdfActions::mergePDFs({text}));
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, PdfActions::mergePDFs({}));
    }

    void mergeOfManyFilesKeepsEveryPage() {
        QStringList inputs, expected;
        for (int i = 1; i <= 260; ++i) {
            const QString label = QStringLiteral("p%1").arg(i);
            inputs.append(
                m_env->writeFile(m_folder + QStringLiteral("/%1.pdf").arg(i), PdfSamples::document({label})));
            expected.append(label);
        }
        QCOMPARE(PdfSamples::pageLabels(PdfActions::mergePDFs(inputs).first()), expected);
    }

    void mergeRefusesCorruptAndEncryptedInputs_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        QTest::newRow("garbage") << QByteArray("%PDF-1.7\nthis is not a document at all\n")
                                 << QStringLiteral("无法打开");
        QTest::newRow("empty") << QByteArray() << QStringLiteral("无法打开");
        QTest::newRow("password") << PdfSamples::document({"s1"}, 0, Encryption::userPassword)
                                  << QStringLiteral("加密");
    }
    void mergeRefusesCorruptAndEncryptedInputs() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        const QString good =
            m_env->writeFile(m_folder + QStringLiteral("/good.pdf"), PdfSamples::document({"g1"}));
        const QString bad = m_env->writeFile(m_folder + QStringLiteral("/bad.pdf"), bytes);
        try {
            PdfActions::mergePDFs({good, bad});
            QFAIL("a bad input must stop the merge");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
            QVERIFY2(error.errorDescription().contains(expected), qPrintable(error.errorDescription()));
            QVERIFY2(error.errorDescription().contains(bad), qPrintable(error.errorDescription()));
        }
        QCOMPARE(entries(m_folder), (QStringList{"bad.pdf", "good.pdf"}));
    }

    void splitWritesNumberedPagesIntoAFreshFolder() {
        const QString report = m_env->writeFile(m_folder + QStringLiteral("/\"R\" 报告.PDF"),
                                                PdfSamples::document({"r1", "r2", "r3"}));
        const QStringList folders = PdfActions::splitPDFs({report});
        const QString pages = m_folder + QStringLiteral("/\"R\" 报告 Pages");
        QCOMPARE(folders, QStringList{pages});
        QCOMPARE(entries(pages), (QStringList{"Page 001.pdf", "Page 002.pdf", "Page 003.pdf"}));
        for (int i = 1; i <= 3; ++i)
            QCOMPARE(PdfSamples::pageLabels(pages + QStringLiteral("/Page 00%1.pdf").arg(i)),
                     QStringList{QStringLiteral("r%1").arg(i)});
        QCOMPARE(PdfActions::splitPDFs({report}), QStringList{pages + QStringLiteral(" 2")});
        QCOMPARE(entries(pages + QStringLiteral(" 2")).size(), 3);
        QCOMPARE(PdfActions::pageFileName(1000), QStringLiteral("Page 1000.pdf"));
    }

    void splitOfManyFilesStaysWithinFewFileDescriptors() {
        QStringList inputs;
        for (int i = 1; i <= 260; ++i)
            inputs.append(m_env->writeFile(m_folder + QStringLiteral("/%1.pdf").arg(i),
                                           PdfSamples::document({QStringLiteral("p%1").arg(i)})));
        // Far fewer descriptors than inputs: every input is known before the first page is written, but
        // they cannot all be held open.
        struct rlimit saved {};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        struct rlimit tight = saved;
        tight.rlim_cur = 128;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        QStringList folders;
        try {
            folders = PdfActions::splitPDFs(inputs);
        } catch (...) {
            ::setrlimit(RLIMIT_NOFILE, &saved);
            throw;
        }
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &saved), 0);
        QCOMPARE(folders.size(), 260);
        QCOMPARE(PdfSamples::pageLabels(folders.last() + QStringLiteral("/Page 001.pdf")),
                 QStringList{"p260"});
        QVERIFY(!m_env->logText().contains(QStringLiteral("splitPDFs")));
    }

    void splitPassesOverUnreadableInputsButNotAllOfThem() {
        const QString broken = m_env->writeFile(m_folder + QStringLiteral("/broken.pdf"), "garbage");
        const QString good =
            m_env->writeFile(m_folder + QStringLiteral("/good.pdf"), PdfSamples::document({"g1", "g2"}));
        QCOMPARE(PdfActions::splitPDFs({broken, good}),
                 QStringList{m_folder + QStringLiteral("/good Pages")});
        QVERIFY(!QFileInfo::exists(m_folder + QStringLiteral("/broken Pages")));
        QVERIFY(m_env->logText().contains(broken));

        try {
            PdfActions::splitPDFs({broken});
            QFAIL("splitting nothing but unreadable files must not pass for success");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
            QVERIFY(error.errorDescription().contains(broken));
        }
    }

    void compressRewritesWithObjectStreamsAndCompressedStreams() {
        const QString source =
            m_env->writeFile(m_folder + QStringLiteral("/X.PDF"), PdfSamples::document({"x1", "x2"}, 2000));
        QVERIFY(!PdfSamples::hasObjectStreams(source));
        const QStringList outputs = PdfActions::compressPDFs({source});
        QCOMPARE(outputs, QStringList{m_folder + QStringLiteral("/X compressed.pdf")});
        QVERIFY(PdfSamples::hasObjectStreams(outputs.first()));
        QVERIFY2(QFileInfo(outputs.first()).size() * 10 < QFileInfo(source).size(),
                 qPrintable(QStringLiteral("%1 -> %2")
                                .arg(QFileInfo(source).size())
                                .arg(QFileInfo(outputs.first()).size())));
        QCOMPARE(PdfSamples::pageLabels(outputs.first()), (QStringList{"x1", "x2"}));
        QCOMPARE(PdfActions::compressPDFs({source}),
                 QStringList{m_folder + QStringLiteral("/X compressed 2.pdf")});
    }

    void compressOfABadFileNamesTheFileAndTheCauseLeavingNothing() {
        const QString locked = m_env->writeFile(m_folder + QStringLiteral("/locked.pdf"),
                                                PdfSamples::document({"l1"}, 0, Encryption::userPassword));
        const QString broken =
            m_env->writeFile(m_folder + QStringLiteral("/broken.pdf"), "%PDF-1.4\n1 0 obj\n<<");
        for (const auto& [input, cause] :
             {std::pair{locked, QStringLiteral("需要密码")}, std::pair{broken, QStringLiteral("无法打开")}}) {
            try {
                PdfActions::compressPDFs({input});
                QFAIL("must fail");
            } catch (const FinderActionExecutionError& error) {
                QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
                QVERIFY2(error.errorDescription().contains(input) && error.errorDescription().contains(cause),
                         qPrintable(error.errorDescription()));
            }
        }
        QCOMPARE(entries(m_folder), (QStringList{"broken.pdf", "locked.pdf"}));
    }

    // Such a PDF opens without a password in every reader, so every action takes it; a re-saved one keeps
    // the owner's restrictions.
    void ownerPasswordOnlyPdfsAreProcessed() {
        const QString owned =
            m_env->writeFile(m_folder + QStringLiteral("/owned.pdf"),
                             PdfSamples::document({"o1", "o2"}, 0, Encryption::ownerPasswordOnly));
        const QString plain =
            m_env->writeFile(m_folder + QStringLiteral("/plain.pdf"), PdfSamples::document({"p1"}));
        QCOMPARE(PdfSamples::pageLabels(PdfActions::mergePDFs({plain, owned}).first()),
                 (QStringList{"p1", "o1", "o2"}));
        const QString pages = PdfActions::splitPDFs({owned}).first();
        QCOMPARE(PdfSamples::pageLabels(pages + QStringLiteral("/Page 002.pdf")), QStringList{"o2"});
        const QString compressed = PdfActions::compressPDFs({owned}).first();
        QCOMPARE(PdfSamples::pageLabels(compressed), (QStringList{"o1", "o2"}));
        QVERIFY(PdfSamples::isEncrypted(compressed));
        QVERIFY(PdfSamples::isEncrypted(owned));
    }

    void imagesBecomePagesAtTheirPrintedSize_data() {
        QTest::addColumn<QSize>("pixels");
        QTest::addColumn<QSize>("dotsPerInch"); // none recorded when empty
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<bool>("turned"); // tagged as turned 90° clockwise
        QTest::addColumn<QSize>("shownPixels");
        QTest::addColumn<QSize>("points");
        QTest::newRow("A4 scan at 150 dpi") << QSize(1240, 1754) << QSize(150, 150) << QByteArray("png")
                                            << false << QSize(1240, 1754) << QSize(595, 842);
        QTest::newRow("no resolution: 72 dpi")
            << QSize(200, 100) << QSize() << QByteArray("png") << false << QSize(200, 100) << QSize(200, 100);
        QTest::newRow("96 dpi") << QSize(96, 192) << QSize(96, 96) << QByteArray("jpeg") << false
                                << QSize(96, 192) << QSize(72, 144);
        // Turned by its tag: the page is upright and each axis keeps its own resolution.
        QTest::newRow("turned, 300 × 150 dpi") << QSize(300, 60) << QSize(300, 150) << QByteArray("jpeg")
                                               << true << QSize(60, 300) << QSize(29, 72);
    }
    void imagesBecomePagesAtTheirPrintedSize() {
        QFETCH(QSize, pixels);
        QFETCH(QSize, dotsPerInch);
        QFETCH(QByteArray, format);
        QFETCH(bool, turned);
        QFETCH(QSize, shownPixels);
        QFETCH(QSize, points);
        QImage image(pixels, QImage::Format_RGB32);
        image.fill(Qt::red);
        if (dotsPerInch.isValid()) {
            image.setDotsPerMeterX(qRound(dotsPerInch.width() / 0.0254));
            image.setDotsPerMeterY(qRound(dotsPerInch.height() / 0.0254));
        }
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(QImageWriter(&buffer, format).write(image));
        // Qt always records a resolution; without one the PNG loses its pHYs chunk (length, type, 9, CRC).
        if (!dotsPerInch.isValid())
            bytes.remove(bytes.indexOf("pHYs") - 4, 21);
        const QString path = m_env->writeFile(
            m_folder + QStringLiteral("/--scan 'one'.") + QString::fromLatin1(format), bytes);
        if (turned)
            QCOMPARE(QProcess::execute(
                         QStringLiteral("exiv2"),
                         {QStringLiteral("-M"), QStringLiteral("set Exif.Image.Orientation 6"), path}),
                     0);

        const QStringList outputs = PdfActions::imagesToPDF({path, path});
        QCOMPARE(outputs, QStringList{m_folder + QStringLiteral("/Images.pdf")});
        const QList<QSizeF> sizes = PdfSamples::pageSizes(outputs.first());
        QCOMPARE(sizes.size(), 2);
        QCOMPARE(sizes.at(1).toSize(), points);
        QCOMPARE(PdfSamples::pageImageSizes(outputs.first()).at(0), QList<QSize>{shownPixels});
        QCOMPARE(PdfActions::imagesToPDF({path}), QStringList{m_folder + QStringLiteral("/Images 2.pdf")});
    }

    void imagesToPdfStopsAtAnUnreadableImageWithoutOutput() {
        QImage image(10, 10, QImage::Format_RGB32);
        image.fill(Qt::green);
        const QString good = m_folder + QStringLiteral("/good.png");
        QVERIFY(QImageWriter(good, "png").write(image));
        const QString bad = m_env->writeFile(m_folder + QStringLiteral("/bad.png"), "nope");
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, PdfActions::imagesToPDF({good, bad}));
        QCOMPARE(entries(m_folder), (QStringList{"bad.png", "good.png"}));
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, PdfActions::imagesToPDF({}));
    }

    void everyPdfActionReportsItsItemsUnderItsOwnName() {
        const QString a =
            m_env->writeFile(m_folder + QStringLiteral("/a.pdf"), PdfSamples::document({"a1", "a2"}));
        const QString b = m_env->writeFile(m_folder + QStringLiteral("/b.pdf"), PdfSamples::document({"b1"}));
        const QString c =
            m_env->writeFile(m_folder + QStringLiteral("/c.pdf"), PdfSamples::document({"c1", "c2", "c3"}));
        QImage image(12, 8, QImage::Format_RGB32);
        image.fill(Qt::yellow);
        const QString picture = m_folder + QStringLiteral("/pic.png");
        QVERIFY(QImageWriter(picture, "png").write(image));

        struct Case {
            QString title;
            std::function<QStringList()> run;
            qint64 items;
        };
        const QList<Case> cases{
            {QStringLiteral("合并 PDF"),
             [&] {
                 return PdfActions::mergePDFs({a, b, c});
             },
             3},
            {QStringLiteral("拆分 PDF"),
             [&] {
                 return PdfActions::splitPDFs({a, b, c});
             },
             6},
            {QStringLiteral("压缩 PDF"),
             [&] {
                 return PdfActions::compressPDFs({a, c});
             },
             2},
            {QStringLiteral("图片转 PDF"),
             [&] {
                 return PdfActions::imagesToPDF({picture, picture});
             },
             2},
        };
        for (const Case& action : cases) {
            RecordingProgress progress;
            QStringList outputs;
            {
                const ActionProgressScope scope(progress);
                outputs = action.run();
            }
            QCOMPARE(progress.titles, QStringList{action.title});
            QCOMPARE(progress.finishedCount, 1);
            QVERIFY(progress.isMonotonic());
            QCOMPARE(progress.states.constFirst().itemsDone, qint64(0));
            QCOMPARE(progress.states.constLast().itemsDone, action.items);
            for (const ActionProgressState& state : progress.states)
                QCOMPARE(state.itemsTotal, action.items);
            if (action.title == QStringLiteral("合并 PDF")) {
                // Each input in hand in turn, then the result being written, whose bytes are all counted.
                QCOMPARE(progress.itemsInHand(), (QStringList{a, b, c, outputs.first()}));
                QCOMPARE(progress.states.constLast().bytesDone, QFileInfo(outputs.first()).size());
            }
            if (action.title == QStringLiteral("拆分 PDF"))
                QCOMPARE(progress.states.constLast().currentItem,
                         outputs.last() + QStringLiteral("/Page 003.pdf"));
        }
    }

    void stoppedMergeLeavesNoMergedFileWhereverItStops() {
        // Large pages, so that writing the result passes the point where it looks for a stop more than once.
        const QByteArray first = PdfSamples::noisyDocument({"a1", "a2"}, 700000);
        const QByteArray second = PdfSamples::noisyDocument({"b1", "b2"}, 700000);
        const QString a = m_env->writeFile(m_folder + QStringLiteral("/a.pdf"), first);
        const QString b = m_env->writeFile(m_folder + QStringLiteral("/b.pdf"), second);
        RecordingProgress whole;
        {
            const ActionProgressScope scope(whole);
            QVERIFY(QFile::remove(PdfActions::mergePDFs({a, b}).first()));
        }
        const qint64 wholeBytes = whole.states.constLast().bytesDone;

        // Between the inputs, at the start of writing, and in the middle of writing.
        for (const auto& [items, bytes] : {std::pair<qint64, qint64>{1, -1}, {2, -1}, {-1, 1 << 20}}) {
            RecordingProgress progress;
            progress.stopAfterItems = items;
            progress.stopAfterBytes = bytes;
            QVERIFY(stopped(progress, [&] { PdfActions::mergePDFs({a, b}); }));
            QCOMPARE(progress.finishedCount, 1);
            QCOMPARE(entries(m_folder), (QStringList{"a.pdf", "b.pdf"}));
            QCOMPARE(readAll(a), first);
            QCOMPARE(readAll(b), second);
            if (bytes > 0)
                QVERIFY2(progress.states.constLast().bytesDone < wholeBytes,
                         qPrintable(QString::number(wholeBytes)));
        }
        QVERIFY(!m_env->logText().contains(QStringLiteral("mergePDFs failed")));
    }

    void stoppedSplitAndCompressKeepOnlyWholeOutputs() {
        const QByteArray first = PdfSamples::document({"a1", "a2", "a3"});
        const QByteArray second = PdfSamples::document({"b1", "b2", "b3"});
        const QString a = m_env->writeFile(m_folder + QStringLiteral("/a.pdf"), first);
        const QString b = m_env->writeFile(m_folder + QStringLiteral("/b.pdf"), second);

        RecordingProgress progress;
        progress.stopAfterItems = 4;
        QVERIFY(stopped(progress, [&] { PdfActions::splitPDFs({a, b}); }));
        QCOMPARE(entries(m_folder), (QStringList{"a Pages", "a.pdf", "b Pages", "b.pdf"}));
        QCOMPARE(entries(m_folder + QStringLiteral("/a Pages")),
                 (QStringList{"Page 001.pdf", "Page 002.pdf", "Page 003.pdf"}));
        QCOMPARE(entries(m_folder + QStringLiteral("/b Pages")), QStringList{"Page 001.pdf"});
        QCOMPARE(PdfSamples::pageLabels(m_folder + QStringLiteral("/b Pages/Page 001.pdf")),
                 QStringList{"b1"});
        QCOMPARE(readAll(a), first);
        QCOMPARE(readAll(b), second);

        // Stopped right after the first document: the second gets no folder at all.
        RecordingProgress atBoundary;
        atBoundary.stopAfterItems = 3;
        QVERIFY(stopped(atBoundary, [&] { PdfActions::splitPDFs({a, b}); }));
        QCOMPARE(entries(m_folder).size(), 5);
        QCOMPARE(entries(m_folder + QStringLiteral("/a Pages 2")).size(), 3);

        // Compressing is one output per input: the first is whole, the second never begun.
        RecordingProgress compressing;
        compressing.stopAfterItems = 1;
        QVERIFY(stopped(compressing, [&] { PdfActions::compressPDFs({a, b}); }));
        QCOMPARE(entries(m_folder).size(), 6);
        QCOMPARE(PdfSamples::pageLabels(m_folder + QStringLiteral("/a compressed.pdf")),
                 (QStringList{"a1", "a2", "a3"}));
        QCOMPARE(readAll(a), first);
        QCOMPARE(readAll(b), second);
    }

    void stoppedImagesToPdfLeavesNoDocument() {
        QImage image(30, 20, QImage::Format_RGB32);
        image.fill(Qt::cyan);
        QStringList inputs;
        for (const QString& name :
             {QStringLiteral("1.png"), QStringLiteral("2.png"), QStringLiteral("3.png")}) {
            inputs.append(m_folder + QLatin1Char('/') + name);
            QVERIFY(QImageWriter(inputs.last(), "png").write(image));
        }
        const QByteArray before = readAll(inputs.first());
        RecordingProgress progress;
        progress.stopAfterItems = 2;
        QVERIFY(stopped(progress, [&] { PdfActions::imagesToPDF(inputs); }));
        QCOMPARE(entries(m_folder), (QStringList{"1.png", "2.png", "3.png"}));
        QCOMPARE(readAll(inputs.first()), before);
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestPdfActions)
#include "test_pdf_actions.moc"
