// Merging, splitting, compressing PDFs and making one from images, read back with qpdf; bad inputs named,
// stops that keep only whole outputs.
#include "actions/PdfActions.h"
#include "support/ActionRequests.h"
#include "support/PdfSamples.h"
#include "support/QuietPreferences.h"
#include "support/RecordingProgress.h"

#include <sys/resource.h>

using PdfSamples::Encryption;
using PdfSamples::pageLabels;

namespace {

struct PrintedSize {
    QSize pixels;
    QSize dotsPerInch; // none recorded when empty
    QByteArray format;
    bool turned; // tagged as turned 90° clockwise
    QSize shownPixels;
    QSize points;
};

struct Stop {
    QString title;
    qint64 items;
    qint64 stopAfter;
    QStringList made; // what the folder holds after the stop besides the inputs
};

} // namespace

class TestPdfActions : public QObject {
    Q_OBJECT

    QString pdf(const QString& name, const QStringList& pages, Encryption encryption = Encryption::none) {
        return m_env->writeFile(m_folder + '/' + name, PdfSamples::document(pages, 0, encryption));
    }
    QString picture() {
        QImage image(12, 8, QImage::Format_RGB32);
        image.fill(Qt::yellow);
        const QString path = m_folder + "/pic.png";
        return image.save(path, "png") ? path : QString();
    }

private slots:
    void init() {
        QVERIFY(resetQuietEnvironment(m_env));
        m_folder = m_env->makeFolder("docs");
    }
    void cleanup() { m_env.reset(); }

    // In the order selected, what is not a PDF left out, under a free name; a PDF with only an owner password
    // opens in every reader and is taken like any other.
    void mergeKeepsSelectionOrder() {
        const QString b = pdf("b.pdf", {"b1", "b2"});
        const QString a = pdf("-a 'é'\n.PDF", {"a1"});
        const QString owned = pdf("owned.pdf", {"o1"}, Encryption::ownerPasswordOnly);
        const QString text = m_env->writeFile(m_folder + "/notes.txt", "not a pdf");
        QCOMPARE(PdfActions::mergePDFs({text, b, a, owned}), QStringList{m_folder + "/Merged.pdf"});
        QCOMPARE(PdfActions::mergePDFs({a, b}), QStringList{m_folder + "/Merged 2.pdf"});
        QCOMPARE(pageLabels(m_folder + "/Merged.pdf"), (QStringList{"b1", "b2", "a1", "o1"}));
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, PdfActions::mergePDFs({text}));
        QCOMPARE(caseOf([&] { PdfActions::mergePDFs({pdf("no pages.pdf", {})}); }), Case::commandFailed);
        QVERIFY(!QFileInfo::exists(m_folder + "/Merged 3.pdf"));
    }

    // Far fewer descriptors than inputs: every input is known before the first page is written, but they
    // cannot all be held open, when merging or when splitting.
    void manyFilesStayWithinFewFileDescriptors() {
        QStringList inputs, labels;
        for (int i = 1; i <= 260; ++i) {
            labels.append(QStringLiteral("p%1").arg(i));
            inputs.append(pdf(QStringLiteral("%1.pdf").arg(i), {labels.last()}));
        }
        struct rlimit saved {};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        struct rlimit tight = saved;
        tight.rlim_cur = 128;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        const auto restore = qScopeGuard([&] { ::setrlimit(RLIMIT_NOFILE, &saved); });
        QCOMPARE(pageLabels(PdfActions::mergePDFs(inputs).first()), labels);
        const QStringList folders = PdfActions::splitPDFs(inputs);
        QCOMPARE(folders.size(), 260);
        QCOMPARE(pageLabels(folders.last() + "/Page 001.pdf"), QStringList{"p260"});
    }

    void badInputsAreNamedAndLeaveNothing_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray locked = PdfSamples::document({"s1"}, 0, Encryption::userPassword);
        for (const auto& [row, action, bytes] :
             std::initializer_list<std::tuple<const char*, const char*, QByteArray>>{
                 {"merge garbage", "merge", "%PDF-1.7\nthis is not a document at all\n"},
                 {"merge locked", "merge", locked},
                 {"compress locked", "compress", locked},
                 {"compress broken", "compress", "%PDF-1.4\n1 0 obj\n<<"},
                 {"split only broken", "split", "garbage"},
                 {"image", "images", "nope"}})
            QTest::newRow(row) << action << bytes;
    }
    void badInputsAreNamedAndLeaveNothing() {
        QFETCH(QString, action);
        QFETCH(QByteArray, bytes);
        const QString good = pdf("good.pdf", {"g1"});
        const QString image = picture();
        const QString bad =
            m_env->writeFile(m_folder + (action == "images" ? "/bad.png" : "/bad.pdf"), bytes);
        const auto error = failureOf<FinderActionExecutionError>([&] {
            if (action == "merge")
                PdfActions::mergePDFs({good, bad});
            else if (action == "compress")
                PdfActions::compressPDFs({bad});
            else if (action == "split")
                PdfActions::splitPDFs({bad});
            else
                PdfActions::imagesToPDF({image, bad});
        });
        QVERIFY(error && error->errorCase() == Case::commandFailed &&
                names(error->errorDescription(), {bad}));
        QCOMPARE(namesIn(m_folder).size(), 3);
    }

    void splitWritesNumberedPagesIntoAFreshFolder() {
        const QString report = pdf("\"R\" 报告.PDF", {"r1", "r2", "r3"});
        const QString broken = m_env->writeFile(m_folder + "/broken.pdf", "garbage");
        const QString owned = pdf("owned.pdf", {"o1", "o2"}, Encryption::ownerPasswordOnly);
        const QString pages = m_folder + "/\"R\" 报告 Pages";
        // An unreadable input is passed over when others can be split.
        QCOMPARE(PdfActions::splitPDFs({report, broken, owned}),
                 (QStringList{pages, m_folder + "/owned Pages"}));
        QCOMPARE(namesIn(pages), (QStringList{"Page 001.pdf", "Page 002.pdf", "Page 003.pdf"}));
        QCOMPARE(pageLabels(pages + "/Page 003.pdf"), QStringList{"r3"});
        QCOMPARE(pageLabels(m_folder + "/owned Pages/Page 002.pdf"), QStringList{"o2"});
        QCOMPARE(PdfActions::splitPDFs({report}), QStringList{pages + " 2"});
        QCOMPARE(PdfActions::pageFileName(1000), "Page 1000.pdf");
    }

    // Each action reports its items under its own name; stopped, it keeps only whole outputs.
    void progressAndStops_data() {
        rows<Stop>({{"merge", {"合并 PDF", 2, 1, {}}},
                    {"merge, while writing", {"合并 PDF", 2, 2, {}}},
                    {"split", {"拆分 PDF", 6, 4, {"a Pages", "b Pages"}}},
                    {"split, between documents", {"拆分 PDF", 6, 3, {"a Pages"}}},
                    {"compress", {"压缩 PDF", 2, 1, {"a compressed.pdf"}}},
                    {"images", {"图片转 PDF", 2, 1, {}}}});
    }
    void progressAndStops() {
        QFETCH(Stop, row);
        const auto& [title, items, stopAfter, made] = row;
        const QString a = pdf("a.pdf", {"a1", "a2", "a3"});
        const QString b = pdf("b.pdf", {"b1", "b2", "b3"});
        const QByteArray original = readAll(b);
        const QString image = picture();
        const auto run = [&] {
            if (title == "合并 PDF")
                return PdfActions::mergePDFs({a, b});
            if (title == "拆分 PDF")
                return PdfActions::splitPDFs({a, b});
            if (title == "压缩 PDF")
                return PdfActions::compressPDFs({a, b});
            return PdfActions::imagesToPDF({image, image});
        };
        RecordingProgress stopping;
        QVERIFY(stopsWhenAsked(stopping, stopAfter, run));
        QStringList afterStop = QStringList{"a.pdf", "b.pdf", "pic.png"} + made;
        afterStop.sort();
        QCOMPARE(namesIn(m_folder), afterStop);
        if (title == "拆分 PDF") {
            QCOMPARE(namesIn(m_folder + "/a Pages").size(), 3);
            if (stopAfter == 4)
                QCOMPARE(pageLabels(m_folder + "/b Pages/Page 001.pdf"), QStringList{"b1"});
        }
        QCOMPARE(readAll(b), original);

        RecordingProgress progress;
        QStringList outputs;
        reported(progress, [&] { outputs = run(); });
        checkWholeRun(progress, title, items);
        QCOMPARE(progress.states.constFirst().itemsDone, qint64(0));
        if (title == "合并 PDF") {
            // Each input in hand in turn, then the result being written, whose bytes are all counted.
            QCOMPARE(progress.itemsInHand(), (QStringList{a, b, outputs.first()}));
            QCOMPARE(progress.states.constLast().bytesDone, QFileInfo(outputs.first()).size());
        }
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestPdfActions)
#include "test_pdf_actions.moc"
