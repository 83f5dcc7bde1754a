// Image conversion, resizing, compression and metadata stripping on real pixels.
#include "actions/FinderActionExecutor.h"
#include "actions/ImageActions.h"
#include "actions/PdfActions.h"
#include "catalogue/AppPreferencesPersistence.h"
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
#include <QImageReader>
#include <QImageWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <functional>

namespace {

// A picture whose quadrants differ, so that a turn or a mirror shows.
QImage quadrants(int width, int height, bool transparentCorner = false) {
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool right = x >= width / 2, bottom = y >= height / 2;
            QRgb colour = right ? (bottom ? qRgb(0, 0, 255) : qRgb(0, 255, 0))
                                : (bottom ? qRgb(255, 255, 0) : qRgb(255, 0, 0));
            if (transparentCorner && !right && !bottom)
                colour = qRgba(0, 0, 0, 0);
            image.setPixel(x, y, colour);
        }
    return image;
}

// Noise compresses badly, so the effect of JPEG quality shows in the size.
QImage noise(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    quint32 state = 12345;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            state = state * 1664525u + 1013904223u;
            image.setPixel(x, y, qRgb((state >> 8) & 0xff, (state >> 16) & 0xff, (x * 3 + y) & 0xff));
        }
    return image;
}

void save(const QImage& image, const QString& path, const char* format) {
    QVERIFY2(QImageWriter(path, format).write(image), qPrintable(path));
}

QImage read(const QString& path, QByteArray* format = nullptr) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (format)
        *format = reader.format();
    return reader.read();
}

bool near(QRgb a, QRgb b, int tolerance = 24) {
    return qAbs(qRed(a) - qRed(b)) <= tolerance && qAbs(qGreen(a) - qGreen(b)) <= tolerance &&
           qAbs(qBlue(a) - qBlue(b)) <= tolerance;
}

// A JPEG carrying an EXIF block (orientation "turned 90° clockwise" and a maker note text) and a comment.
QByteArray jpegWithExif(const QImage& image, const QByteArray& secret) {
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setText(QStringLiteral("Description"), QString::fromLatin1(secret));
    writer.write(image);
    // Big-endian TIFF header, one IFD: Orientation (0x0112) = 6 and ImageDescription (0x010e) = secret.
    QByteArray tiff("MM\x00\x2a\x00\x00\x00\x08", 8);
    auto u16 = [&](int v) {
        tiff.append(char(v >> 8)).append(char(v & 0xff));
    };
    auto u32 = [&](quint32 v) {
        u16(int(v >> 16));
        u16(int(v & 0xffff));
    };
    u16(2);
    u16(0x010e);
    u16(2);
    u32(quint32(secret.size() + 1));
    u32(8 + 2 + 2 * 12 + 4);
    u16(0x0112);
    u16(3);
    u32(1);
    u16(6);
    u16(0);
    u32(0);
    tiff.append(secret).append('\0');
    QByteArray app1 = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray segment("\xff\xe1", 2);
    const int length = int(app1.size()) + 2;
    segment.append(char(length >> 8)).append(char(length & 0xff)).append(app1);
    return jpeg.left(2) + segment + jpeg.mid(2);
}

} // namespace

class TestImageActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.reset(new TestEnvironment);
        saveQuietPreferences();
    }
    void cleanup() { m_env.reset(); }

    void convertsBetweenFormatsKeepingPixelsAndAlpha() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QString png = folder + QStringLiteral("/-rf 'quoted' \"photo\"\n图.png");
        save(quadrants(40, 30, true), png, "png");

        const QStringList tiff =
            ImageActions::convertImages({png}, QStringLiteral("tiff"), QStringLiteral("tiff"), {});
        QCOMPARE(tiff, QStringList{folder + QStringLiteral("/-rf 'quoted' \"photo\"\n图.tiff")});
        QByteArray format;
        const QImage tiffImage = read(tiff.first(), &format);
        QCOMPARE(format, QByteArray("tiff"));
        QCOMPARE(tiffImage.size(), QSize(40, 30));
        QVERIFY(tiffImage.hasAlphaChannel());
        QCOMPARE(qAlpha(tiffImage.pixel(2, 2)), 0);
        QCOMPARE(tiffImage.pixel(35, 25), qRgb(0, 0, 255));

        const QStringList jpg =
            ImageActions::convertImages(tiff, QStringLiteral("jpeg"), QStringLiteral("jpg"), {});
        const QImage jpegImage = read(jpg.first(), &format);
        QCOMPARE(format, QByteArray("jpeg"));
        QCOMPARE(jpegImage.size(), QSize(40, 30));
        // JPEG has no transparency: the clear corner becomes white, not black.
        QVERIFY(near(jpegImage.pixel(3, 3), qRgb(255, 255, 255)));
        QVERIFY(near(jpegImage.pixel(35, 5), qRgb(0, 255, 0)));

        const QStringList backToPng =
            ImageActions::convertImages(jpg, QStringLiteral("png"), QStringLiteral("png"), {});
        // The original PNG holds the name: the new one takes the next free name.
        QCOMPARE(backToPng, QStringList{folder + QStringLiteral("/-rf 'quoted' \"photo\"\n图 2.png")});
        QCOMPARE(read(backToPng.first(), &format).size(), QSize(40, 30));
        QCOMPARE(format, QByteArray("png"));
        QCOMPARE(read(png).pixel(35, 25), qRgb(0, 0, 255)); // the input is untouched
    }

    void convertingBesideAnExistingNameTakesTheNextOne() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        save(quadrants(8, 8), folder + QStringLiteral("/a.png"), "png");
        save(quadrants(8, 8), folder + QStringLiteral("/a.jpg"), "jpeg");
        const QByteArray before = readAll(folder + QStringLiteral("/a.jpg"));
        QCOMPARE(ImageActions::convertImages({folder + QStringLiteral("/a.png")}, QStringLiteral("jpeg"),
                                             QStringLiteral("jpg"), {}),
                 QStringList{folder + QStringLiteral("/a 2.jpg")});
        QCOMPARE(ImageActions::convertImages({folder + QStringLiteral("/a.jpg")}, QStringLiteral("jpeg"),
                                             QStringLiteral("jpg"), {}),
                 QStringList{folder + QStringLiteral("/a 3.jpg")});
        QCOMPARE(readAll(folder + QStringLiteral("/a.jpg")), before);
    }

    void compressionAtQualitySeventyIsSmallerThanAtFullQuality() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QString source = folder + QStringLiteral("/noise.png");
        save(noise(300, 200), source, "png");
        const QString compressed =
            ImageActions::convertImages(
                {source}, QStringLiteral("jpeg"), QStringLiteral("jpg"),
                {QStringLiteral("-s"), QStringLiteral("formatOptions"), QStringLiteral("70")})
                .first();
        const QString full =
            ImageActions::convertImages(
                {source}, QStringLiteral("jpeg"), QStringLiteral("jpg"),
                {QStringLiteral("-s"), QStringLiteral("formatOptions"), QStringLiteral("100")})
                .first();
        QCOMPARE(read(compressed).size(), QSize(300, 200));
        const qint64 at70 = QFileInfo(compressed).size(), at100 = QFileInfo(full).size();
        QVERIFY2(at70 * 10 < at100 * 7, qPrintable(QStringLiteral("%1 vs %2").arg(at70).arg(at100)));
    }

    void badImageStopsWithAClearErrorKeepingEarlierResults() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        save(quadrants(10, 10), folder + QStringLiteral("/good.png"), "png");
        m_env->writeFile(folder + QStringLiteral("/broken.png"),
                         QByteArray("\x89PNG\r\n\x1a\nnot really", 18));
        save(quadrants(10, 10), folder + QStringLiteral("/later.png"), "png");
        try {
            ImageActions::convertImages({folder + QStringLiteral("/good.png"),
                                         folder + QStringLiteral("/broken.png"),
                                         folder + QStringLiteral("/later.png")},
                                        QStringLiteral("tiff"), QStringLiteral("tiff"), {});
            QFAIL("a corrupt image must fail");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
            QVERIFY2(error.errorDescription().contains(QStringLiteral("broken.png")),
                     qPrintable(error.errorDescription()));
        }
        QCOMPARE(read(folder + QStringLiteral("/good.tiff")).size(), QSize(10, 10));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/broken.tiff")));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/later.tiff")));
        // Nothing half-written was left behind under any name.
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 4);

        QVERIFY_THROWS_EXCEPTION(
            FinderActionExecutionError,
            ImageActions::convertImages({}, QStringLiteral("png"), QStringLiteral("png"), {}));
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError,
                                 ImageActions::convertImages({folder + QStringLiteral("/missing.png")},
                                                             QStringLiteral("png"), QStringLiteral("png"),
                                                             {}));
    }

    void resizesInPlaceToExactlyTheSizeAsked() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QString png = folder + QStringLiteral("/wide image.png");
        const QString jpg = folder + QStringLiteral("/--photo.JPG");
        save(quadrants(400, 100, true), png, "png");
        save(quadrants(60, 60), jpg, "jpeg");
        FakePlatform::prompts().twoTextAnswers.append(
            std::pair{QStringLiteral(" 50 "), QStringLiteral("120")});

        QCOMPARE(ImageActions::resizeImages({png, jpg}), (QStringList{png, jpg}));
        QCOMPARE(FakePlatform::prompts().asked.first(), QStringLiteral("调整图片大小"));
        QByteArray format;
        const QImage resizedPng = read(png, &format);
        QCOMPARE(format, QByteArray("png"));
        QCOMPARE(resizedPng.size(), QSize(50, 120)); // aspect ratio not kept
        QCOMPARE(qAlpha(resizedPng.pixel(2, 2)), 0);
        QCOMPARE(read(jpg, &format).size(), QSize(50, 120));
        QCOMPARE(format, QByteArray("jpeg"));
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 2); // no copies
    }

    void resizeCancelledOrNonsenseChangesNothing() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QString png = folder + QStringLiteral("/a.png");
        save(quadrants(20, 10), png, "png");
        const QByteArray before = readAll(png);
        QCOMPARE(ImageActions::resizeImages({png}), QStringList()); // the empty queue answers "cancelled"
        for (const auto& [width, height] : {std::pair{QStringLiteral("0"), QStringLiteral("10")},
                                            std::pair{QStringLiteral("-5"), QStringLiteral("10")},
                                            std::pair{QStringLiteral("ten"), QStringLiteral("10")},
                                            std::pair{QStringLiteral("10"), QStringLiteral("99999999")}}) {
            FakePlatform::prompts().twoTextAnswers.append(std::pair{width, height});
            QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, ImageActions::resizeImages({png}));
        }
        QCOMPARE(readAll(png), before);
    }

    void strippingDropsExifAndTextButKeepsThePicture() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QByteArray secret("GPS 48.8584N secret-owner");
        const QString jpg =
            m_env->writeFile(folder + QStringLiteral("/IMG 1.jpeg"), jpegWithExif(quadrants(40, 20), secret));
        // The input really carries what must go: a reader sees the turn and the text.
        QCOMPARE(read(jpg).size(), QSize(20, 40));
        QVERIFY(readAll(jpg).contains("Exif"));
        QVERIFY(readAll(jpg).contains(secret));

        QImage tagged = quadrants(30, 30, true);
        tagged.setText(QStringLiteral("Author"), QString::fromLatin1(secret));
        const QString png = folder + QStringLiteral("/'tagged'.webp.png");
        save(tagged, png, "png");
        QVERIFY(readAll(png).contains(secret));

        const QStringList outputs = ImageActions::stripImageMetadata({jpg, png});
        QCOMPARE(outputs, (QStringList{folder + QStringLiteral("/IMG 1 stripped.jpg"),
                                       folder + QStringLiteral("/'tagged'.webp stripped.png")}));
        const QByteArray strippedJpeg = readAll(outputs.at(0));
        QVERIFY(!strippedJpeg.contains("Exif"));
        QVERIFY(!strippedJpeg.contains(secret));
        QVERIFY(!strippedJpeg.contains("secret"));
        // The turn the tag asked for is now in the pixels themselves.
        const QImage upright = read(outputs.at(0));
        QCOMPARE(upright.size(), QSize(20, 40));
        QVERIFY(near(upright.pixel(15, 5), qRgb(255, 0, 0)));

        const QByteArray strippedPng = readAll(outputs.at(1));
        QVERIFY(!strippedPng.contains(secret));
        QVERIFY(!strippedPng.contains("tEXt"));
        const QImage pngBack = read(outputs.at(1));
        QVERIFY(pngBack.textKeys().isEmpty());
        QCOMPARE(pngBack.size(), QSize(30, 30));
        QCOMPARE(qAlpha(pngBack.pixel(1, 1)), 0);
        QCOMPARE(pngBack.pixel(25, 25), qRgb(0, 0, 255));

        // Again: the names are taken now, so the next ones are used.
        QCOMPARE(ImageActions::stripImageMetadata({jpg}).first(),
                 folder + QStringLiteral("/IMG 1 stripped 2.jpg"));
    }

    void strippingFailsNamingTheFileAndTheCause_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("cause");
        QTest::newRow("damaged") << QStringLiteral("broken.jpg") << QByteArray("\xff\xd8\xff garbage")
                                 << QStringLiteral("无法读取图片“%1/broken.jpg”");
        // A 1 × 1 GIF: Qt reads GIF but cannot write it.
        QTest::newRow("gif") << QStringLiteral("dot.gif")
                             << QByteArray(
                                    "GIF89a\x01\0\x01\0\x80\0\0\xff\xff\xff\0\0\0!\xf9\x04\x01\0\0\0\0,"
                                    "\0\0\0\0\x01\0\x01\0\0\x02\x02D\x01\0;",
                                    43)
                             << QStringLiteral("这个系统无法写入 GIF 格式的图片：%1/dot stripped.gif");
    }
    void strippingFailsNamingTheFileAndTheCause() {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, cause);
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QString input = m_env->writeFile(folder + QLatin1Char('/') + name, bytes);
        try {
            ImageActions::stripImageMetadata({input});
            QFAIL("must fail");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
            QVERIFY2(error.errorDescription().contains(cause.arg(folder)),
                     qPrintable(error.errorDescription()));
        }
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{name});
    }

    // HEIF and AVIF photos, made by libheif's own tool from a JPEG carrying EXIF and XMP: every image action
    // takes them, and what it writes keeps their metadata (stripping aside).
    void heifPhotosTakeEveryImageAction_data() {
        QTest::addColumn<QString>("extension");
        QTest::newRow("HEIC") << QStringLiteral("heic");
        QTest::newRow("AVIF") << QStringLiteral("avif");
    }
    void heifPhotosTakeEveryImageAction() {
        QFETCH(QString, extension);
        if (QStandardPaths::findExecutable(QStringLiteral("heif-enc")).isEmpty())
            QSKIP("heif-enc (libheif-examples) is not installed");
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        const QString jpeg = folder + QStringLiteral("/source.jpg");
        save(quadrants(64, 32), jpeg, "jpeg");
        QCOMPARE(QProcess::execute(QStringLiteral("exiv2"),
                                   {QStringLiteral("-M"), QStringLiteral("set Exif.Image.Make KestroCam"),
                                    QStringLiteral("-M"), QStringLiteral("set Xmp.dc.title Harbour"), jpeg}),
                 0);
        const QString photo = folder + QStringLiteral("/IMG 0001.") + extension;
        QCOMPARE(QProcess::execute(QStringLiteral("heif-enc"), {QStringLiteral("-q"), QStringLiteral("95"),
                                                                jpeg, QStringLiteral("-o"), photo}),
                 0);
        QVERIFY(QFile::remove(jpeg));

        const QString converted =
            ImageActions::convertImages({photo}, QStringLiteral("tiff"), QStringLiteral("tiff"), {}).first();
        const QImage pixels = read(converted);
        QCOMPARE(pixels.size(), QSize(64, 32));
        QCOMPARE(pixels.dotsPerMeterX(), 2835); // the photo records no resolution: 72 dpi
        QVERIFY(near(pixels.pixel(8, 8), qRgb(255, 0, 0), 40) &&
                near(pixels.pixel(56, 24), qRgb(0, 0, 255), 40));
        const QString compressed =
            ImageActions::convertImages(
                {photo}, QStringLiteral("jpeg"), QStringLiteral("jpg"),
                {QStringLiteral("-s"), QStringLiteral("formatOptions"), QStringLiteral("70")})
                .first();
        for (const QString& output : {converted, compressed})
            QVERIFY2(readAll(output).contains("KestroCam") && readAll(output).contains("Harbour"),
                     qPrintable(output));
        const QString stripped = ImageActions::stripImageMetadata({photo}).first();
        QCOMPARE(stripped, folder + QStringLiteral("/IMG 0001 stripped.jpg"));
        QCOMPARE(read(stripped).size(), QSize(64, 32));
        QVERIFY(!readAll(stripped).contains("KestroCam"));
        QCOMPARE(PdfSamples::pageSizes(PdfActions::imagesToPDF({photo}).first()).first().toSize(),
                 QSize(64, 32));

        // Resized in place, it stays what it was, metadata and all: libheif's own tool reads it back.
        FakePlatform::prompts().twoTextAnswers.append(std::pair{QStringLiteral("32"), QStringLiteral("16")});
        QCOMPARE(ImageActions::resizeImages({photo}), QStringList{photo});
        const QString check = folder + QStringLiteral("/check.png");
        QCOMPARE(QProcess::execute(QStringLiteral("heif-convert"), {photo, check}), 0);
        QCOMPARE(read(check).size(), QSize(32, 16));
        QVERIFY(readAll(photo).contains("KestroCam"));
        QVERIFY(readAll(photo).mid(8, 4) == (extension == QLatin1String("avif") ? "avif" : "heic"));
    }

    void resultsAreRevealedWhenThePreferenceSaysSo() {
        AppPreferences preferences;
        preferences.revealActionResults = true;
        AppPreferencesPersistence::save(preferences);
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        save(quadrants(4, 4), folder + QStringLiteral("/a.png"), "png");
        ImageActions::convertImages({folder + QStringLiteral("/a.png")}, QStringLiteral("jpeg"),
                                    QStringLiteral("jpg"), {});
        QCOMPARE(FakePlatform::workspace().selections,
                 QList<QStringList>{{folder + QStringLiteral("/a.jpg")}});
    }

    void batchesReportEachImageUnderTheActionsName() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        QStringList images;
        for (int i = 1; i <= 3; ++i) {
            images.append(folder + QStringLiteral("/%1.png").arg(i));
            save(quadrants(16, 12), images.last(), "png");
        }
        const QStringList quality{QStringLiteral("-s"), QStringLiteral("formatOptions"),
                                  QStringLiteral("70")};
        struct Case {
            QString title;
            std::function<QStringList()> run;
        };
        const QList<Case> cases{
            {QStringLiteral("图片转为 JPEG"),
             [&] {
                 return ImageActions::convertImages(images, "jpeg", "jpg", {});
             }},
            {QStringLiteral("图片转为 PNG"),
             [&] {
                 return ImageActions::convertImages(images, "png", "png", {});
             }},
            {QStringLiteral("图片转为 TIFF"),
             [&] {
                 return ImageActions::convertImages(images, "tiff", "tiff", {});
             }},
            {QStringLiteral("压缩 JPEG 图片"),
             [&] {
                 return ImageActions::convertImages(images, "jpeg", "jpg", quality);
             }},
            {QStringLiteral("移除图片元数据"),
             [&] {
                 return ImageActions::stripImageMetadata(images);
             }},
            {QStringLiteral("调整图片大小"),
             [&] {
                 FakePlatform::prompts().twoTextAnswers.append(
                     std::pair{QStringLiteral("8"), QStringLiteral("6")});
                 return ImageActions::resizeImages(images);
             }},
        };
        for (const Case& action : cases) {
            RecordingProgress progress;
            {
                const ActionProgressScope scope(progress);
                QCOMPARE(action.run().size(), 3);
            }
            QCOMPARE(progress.titles, QStringList{action.title});
            QCOMPARE(progress.finishedCount, 1);
            QVERIFY(progress.isMonotonic());
            QCOMPARE(progress.states.constLast().itemsDone, qint64(3));
            QVERIFY(progress.itemsTotalIs(3));
            QCOMPARE(progress.itemsInHand(), images);
        }

        // A resize the user called off at the size prompt starts no progress at all.
        RecordingProgress unasked;
        {
            const ActionProgressScope scope(unasked);
            QCOMPARE(ImageActions::resizeImages(images), QStringList());
        }
        QVERIFY(unasked.titles.isEmpty());
    }

    void stoppedBatchesKeepWhatIsDoneAndTouchNothingElse() {
        const QString folder = m_env->makeFolder(QStringLiteral("pics"));
        QStringList images;
        QList<QByteArray> originals;
        for (int i = 1; i <= 4; ++i) {
            images.append(folder + QStringLiteral("/%1.png").arg(i));
            save(quadrants(20, 10), images.last(), "png");
            originals.append(readAll(images.last()));
        }
        const auto stopAfterTwo = [](const std::function<void()>& action) {
            RecordingProgress progress;
            progress.stopAfterItems = 2;
            const ActionProgressScope scope(progress);
            QVERIFY_THROWS_EXCEPTION(ActionCancelled, action());
            QCOMPARE(progress.finishedCount, 1);
        };
        const auto files = [&] {
            return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::Dirs | QDir::NoDotAndDotDot);
        };

        // New files beside the inputs: the first two whole, the others never begun.
        stopAfterTwo([&] { ImageActions::convertImages(images, "tiff", "tiff", {}); });
        QCOMPARE(files(), (QStringList{"1.png", "1.tiff", "2.png", "2.tiff", "3.png", "4.png"}));
        QCOMPARE(read(folder + QStringLiteral("/2.tiff")).size(), QSize(20, 10));
        stopAfterTwo([&] { ImageActions::stripImageMetadata(images); });
        QCOMPARE(files().size(), 8);
        QCOMPARE(read(folder + QStringLiteral("/2 stripped.png")).size(), QSize(20, 10));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/3 stripped.png")));
        for (int i = 0; i < 4; ++i)
            QCOMPARE(readAll(images.at(i)), originals.at(i));

        // In place: the first two take the new size, the other two keep every byte.
        FakePlatform::prompts().twoTextAnswers.append(std::pair{QStringLiteral("5"), QStringLiteral("5")});
        stopAfterTwo([&] { ImageActions::resizeImages(images); });
        QCOMPARE(read(images.at(0)).size(), QSize(5, 5));
        QCOMPARE(read(images.at(1)).size(), QSize(5, 5));
        QCOMPARE(readAll(images.at(2)), originals.at(2));
        QCOMPARE(readAll(images.at(3)), originals.at(3));
        QCOMPARE(files().size(), 8);
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestImageActions)
#include "test_image_actions.moc"
