// Image conversion, resizing, compression and stripping on real pixels; metadata read back with the exiv2
// tool rather than the code under test; the recorded print resolution; failures that name the file.
#include "actions/ImageActions.h"
#include "support/ActionRequests.h"
#include "support/QuietPreferences.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QRandomGenerator>

namespace {

// A picture whose quadrants differ (red, green / yellow, blue), so that a turn or a mirror shows.
QImage quadrants(int width, int height, bool transparentCorner = false) {
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool right = x >= width / 2, bottom = y >= height / 2;
            const QRgb colour = right ? (bottom ? qRgb(0, 0, 255) : qRgb(0, 255, 0))
                                      : (bottom ? qRgb(255, 255, 0) : qRgb(255, 0, 0));
            image.setPixel(x, y, transparentCorner && !right && !bottom ? qRgba(0, 0, 0, 0) : colour);
        }
    return image;
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, format).write(image);
    return bytes;
}

QImage read(const QString& path) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}

bool near(QRgb a, QRgb b, int tolerance = 24) {
    return qAbs(qRed(a) - qRed(b)) <= tolerance && qAbs(qGreen(a) - qGreen(b)) <= tolerance &&
           qAbs(qBlue(a) - qBlue(b)) <= tolerance;
}

QString exiv2(const QStringList& arguments) {
    QProcess tool;
    tool.start("exiv2", arguments);
    tool.waitForFinished(60000);
    return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
}

QString value(const QString& file, const QString& key) {
    return exiv2({"-q", "-K", key, "-Pv", file});
}

// A 60 × 40 photo as a camera held upright stores it: on its side with orientation 6, so it shows 40 × 60.
QString cameraPhoto(const QString& path) {
    QImage image(60, 40, QImage::Format_RGB32);
    image.fill(Qt::blue);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 20; ++x)
            image.setPixel(x, y, qRgb(255, 0, 0));
    QImageWriter(path, "jpeg").write(image);
    QStringList arguments;
    for (const char* set :
         {"Exif.Image.Make KestroCam", "Exif.Image.Orientation 6", "Exif.Photo.PixelXDimension 60",
          "Exif.Photo.PixelYDimension 40", "Iptc.Application2.Caption 港口的黄昏",
          "Xmp.dc.title lang=x-default Harbour at dusk", "Xmp.tiff.Orientation 6"})
        arguments << "-M"
                  << "set " + QString::fromUtf8(set);
    exiv2(arguments << path);
    return path;
}

// What every carried copy must show: the camera's facts, the orientation normal, the new pixel size, upright.
void checkCarried(const QString& file, QSize shown) {
    QCOMPARE(value(file, "Exif.Image.Make"), "KestroCam");
    QCOMPARE(value(file, "Iptc.Application2.Caption"), "港口的黄昏");
    QCOMPARE(value(file, "Xmp.dc.title"), "lang=\"x-default\" Harbour at dusk");
    QCOMPARE(value(file, "Exif.Image.Orientation"), "1");
    QCOMPARE(value(file, "Xmp.tiff.Orientation"), "1");
    QCOMPARE(value(file, "Exif.Photo.PixelXDimension"), QString::number(shown.width()));
    QCOMPARE(value(file, "Exif.Photo.PixelYDimension"), QString::number(shown.height()));
    const QImage image = read(file);
    QCOMPARE(image.size(), shown);
    QVERIFY(qRed(image.pixel(shown.width() / 2, 1)) > 200); // the stored left edge is now the top
}

// Runs an image action by a short name: a format to convert to, a JPEG quality ("70") to compress at,
// "strip", or "resize".
QStringList run(const QString& action, const QStringList& images, QSize size = QSize(8, 6)) {
    if (action == "strip")
        return ImageActions::stripImageMetadata(images);
    if (action[0].isDigit())
        return ImageActions::convertImages(images, "jpeg", "jpg", {"-s", "formatOptions", action});
    if (action != "resize")
        return ImageActions::convertImages(images, action, action == "jpeg" ? "jpg" : action, {});
    FakePlatform::prompts().twoTextAnswers.append(
        std::pair{QString::number(size.width()), QString::number(size.height())});
    return ImageActions::resizeImages(images);
}

struct Resolution {
    QByteArray format;
    QByteArray change; // to the file Qt wrote at 150 dpi; BMP: the header's "x,y" dots per metre
    int expectedX;
};

struct Failure {
    QString name;
    QByteArray bytes; // "pipe": a named pipe
    QString action;
    Case errorCase;
    QString cause; // a fact the message must name besides the file
};

} // namespace

class TestImageActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(resetQuietEnvironment(m_env));
        m_folder = m_env->makeFolder("pics");
    }
    void cleanup() { m_env.reset(); }

    void convertsKeepingPixelsAlphaAndEveryName() {
        const QString png = m_folder + "/-rf 'quoted' \"photo\"\n图.png";
        QVERIFY(QImageWriter(png, "png").write(quadrants(40, 30, true)));
        const QString tiff = run("tiff", {png}).first();
        QCOMPARE(tiff, m_folder + "/-rf 'quoted' \"photo\"\n图.tiff");
        const QImage tiffImage = read(tiff);
        QVERIFY(QImageReader(tiff).format() == "tiff" && qAlpha(tiffImage.pixel(2, 2)) == 0);
        QCOMPARE(tiffImage.pixel(35, 25), qRgb(0, 0, 255));
        const QString jpg = run("jpeg", {tiff}).first();
        const QImage jpegImage = read(jpg);
        QVERIFY(QImageReader(jpg).format() == "jpeg" && jpegImage.size() == QSize(40, 30));
        QVERIFY(near(jpegImage.pixel(3, 3), qRgb(255, 255, 255))); // no transparency: white, not black
        QVERIFY(near(jpegImage.pixel(35, 5), qRgb(0, 255, 0)));
        // Taken names: the next free one; the inputs untouched; results revealed when asked.
        revealResults(true);
        QCOMPARE(fileNames(run("png", {jpg}) + run("jpeg", {jpg})),
                 (QStringList{"-rf 'quoted' \"photo\"\n图 2.png", "-rf 'quoted' \"photo\"\n图 2.jpg"}));
        QCOMPARE(read(png).pixel(35, 25), qRgb(0, 0, 255));
        QCOMPARE(FakePlatform::workspace().selections.size(), 2);
    }

    // The quality asked for, 0 included; a plain conversion to JPEG is made at 90.
    void jpegQualityIsTheOneAsked() {
        QImage noise(300, 200, QImage::Format_RGB32);
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(noise.bits()), 300 * 200);
        const QString source = m_env->writeFile(m_folder + "/noise.png", encoded(noise, "png"));
        const auto size = [&](const QString& action) {
            return QFileInfo(run(action, {source})[0]).size();
        };
        QVERIFY(size("0") * 2 < size("70"));
        QVERIFY(size("70") * 10 < size("100") * 7);
        QCOMPARE(size("jpeg"), size("90"));
        for (const QStringList& options :
             {QStringList{"-s", "formatOptions", "101"}, {"-s", "formatOptions"}})
            QCOMPARE(caseOf([&] { ImageActions::convertImages({source}, "jpeg", "jpg", options); }),
                     Case::commandFailed);
    }

    void resizesInPlaceToExactlyTheSizeAsked() {
        const QString png =
            m_env->writeFile(m_folder + "/wide image.png", encoded(quadrants(400, 100, true), "png"));
        const QString jpg = m_env->writeFile(m_folder + "/--photo.JPG", encoded(quadrants(60, 60), "jpeg"));
        const QByteArray before = readAll(png);
        // Cancelled, then nonsense: nothing changes.
        QCOMPARE(ImageActions::resizeImages({png}), QStringList());
        for (const auto& [width, height] : {std::pair{"0", "10"}, {"ten", "10"}, {"10", "32769"}}) {
            FakePlatform::prompts().twoTextAnswers.append(std::pair{QString(width), QString(height)});
            QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, ImageActions::resizeImages({png}));
        }
        QCOMPARE(readAll(png), before);
        FakePlatform::prompts().twoTextAnswers.append(std::pair{" 50 ", "120"});
        QCOMPARE(ImageActions::resizeImages({png, jpg}), (QStringList{png, jpg}));
        QCOMPARE(read(png).size(), QSize(50, 120)); // the aspect ratio is not kept
        QCOMPARE(qAlpha(read(png).pixel(2, 2)), 0);
        QCOMPARE(read(jpg).size(), QSize(50, 120));
        QVERIFY(QImageReader(png).format() == "png" && QImageReader(jpg).format() == "jpeg");
        FakePlatform::prompts().twoTextAnswers.append(std::pair{"32768", "1"}); // the extremes allowed
        QCOMPARE(ImageActions::resizeImages({png}), QStringList{png});
        QCOMPARE(QImageReader(png).size(), QSize(32768, 1));
        QCOMPARE(namesIn(m_folder).size(), 2);
    }

    // Converted, compressed and resized photos keep EXIF, IPTC and XMP; resizing replaces the file in one
    // rename, keeping its mode; stripping removes everything and turns the pixels as the photo is shown.
    void metadataIsCarriedOrStripped_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QSize>("shown");
        for (const char* action : {"png", "tiff", "jpeg", "70", "resize", "strip"})
            QTest::newRow(action) << action << (action == QString("resize") ? QSize(30, 45) : QSize(40, 60));
    }
    void metadataIsCarriedOrStripped() {
        QFETCH(QString, action);
        QFETCH(QSize, shown);
        if (QStandardPaths::findExecutable("exiv2").isEmpty())
            QSKIP("the exiv2 tool is missing: run scripts/install-dependencies");
        const QString photo = cameraPhoto(m_folder + "/IMG 0001.jpg");
        QVERIFY(QFile::setPermissions(photo, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                 QFileDevice::ReadGroup));
        const QString oldName = m_env->root() + "/old bytes.jpg";
        QCOMPARE(::link(QFile::encodeName(photo).constData(), QFile::encodeName(oldName).constData()), 0);
        const QByteArray original = readAll(photo);
        const QString output = run(action, {photo}, shown).first();
        if (action == "resize") {
            QCOMPARE(output, photo);
            QCOMPARE(readAll(oldName), original); // replaced in one rename
            QCOMPARE(statusOf(photo).st_mode & 07777, mode_t(0640));
        } else {
            QCOMPARE(readAll(photo), original);
        }
        if (action == "strip") {
            QCOMPARE(exiv2({"-q", "-pa", output}), QString());
            QCOMPARE(read(output).size(), shown);
            QVERIFY(qRed(read(output).pixel(20, 1)) > 200);
        }
        if (action != "strip")
            checkCarried(output, shown);
        QCOMPARE(namesIn(m_folder).size(), action == "resize" ? 1 : 2);
    }

    // Qt fills in 96 dpi where a file records none; such an image is taken at 72 dpi, a pixel a point. A
    // header field of zero records nothing; so does a JFIF segment too short for the reader to take it.
    void aResolutionCountsOnlyWhereRecorded_data() {
        rows<Resolution>({{"BMP, both", {"bmp", "5906,5906", 5906}},
                          {"BMP, no X", {"bmp", "0,5906", 2835}},
                          {"BMP, no Y", {"bmp", "5906,0", 2835}},
                          {"PNG", {"png", "", 5906}},
                          {"PNG without pHYs", {"png", "no pHYs", 2835}},
                          {"JPEG", {"jpeg", "", 5905}},
                          {"JPEG without a unit", {"jpeg", "no unit", 2835}},
                          {"JPEG, JFIF cut short", {"jpeg", "cut short", 2835}},
                          {"JPEG without JFIF", {"jpeg", "no JFIF", 2835}},
                          {"TIFF", {"tiff", "", 5906}},
                          {"TIFF without XResolution", {"tiff", "no XResolution", 2835}}});
    }
    void aResolutionCountsOnlyWhereRecorded() {
        QFETCH(Resolution, row);
        QImage image = quadrants(8, 8);
        image.setDotsPerMeterX(5906);
        image.setDotsPerMeterY(5906);
        QByteArray bytes = encoded(image, row.format.constData());
        if (row.format == "bmp") {
            qToLittleEndian<qint32>(row.change.split(',')[0].toInt(), bytes.data() + 38);
            qToLittleEndian<qint32>(row.change.split(',')[1].toInt(), bytes.data() + 42);
        } else if (row.change == "no pHYs") {
            bytes.remove(bytes.indexOf("pHYs") - 4, 21); // length, type, 9 bytes, CRC
        } else if (row.format == "jpeg" && !row.change.isEmpty()) {
            QCOMPARE(bytes.mid(2, 4), QByteArray::fromHex("ffe00010")); // JFIF right after the start
            if (row.change == "no unit")
                bytes[13] = 0;
            else if (row.change == "no JFIF")
                bytes.remove(2, 18);
            else // 14 bytes long, without the thumbnail's size after the density
                bytes.remove(18, 2)[5] = 14;
        } else if (row.change == "no XResolution") { // its tag becomes a private one
            QVERIFY(bytes.startsWith("II"));
            qsizetype at = qFromLittleEndian<quint32>(bytes.constData() + 4) + 2;
            while (at < bytes.size() && qFromLittleEndian<quint16>(bytes.constData() + at) != 282)
                at += 12;
            qToLittleEndian<quint16>(65000, bytes.data() + at);
        }
        const QString path = m_env->writeFile(m_folder + "/scan." + row.format, bytes);
        const QString png = run("png", {path}).first();
        QCOMPARE(QImageReader(png).read().dotsPerMeterX(), row.expectedX);
    }

    void failuresNameTheFileAndLoseNothing_data() {
        // A 1 × 1 GIF: Qt reads GIF but cannot write it.
        const QByteArray gif(
            "GIF89a\x01\0\x01\0\x80\0\0\xff\xff\xff\0\0\0!\xf9\x04\x01\0\0\0\0,\0\0\0\0\x01\0"
            "\x01\0\0\x02\x02D\x01\0;",
            43);
        // 20000 × 20000 in the header: refused by its size before any pixel is decoded.
        const QByteArray huge("P6\n20000 20000\n255\nrgb");
        const QByteArray damaged("\x89PNG\r\n\x1a\nnot really", 18);
        rows<Failure>(
            {{"damaged", {"broken.png", damaged, "tiff", Case::commandFailed, ""}},
             {"gif", {"dot.gif", gif, "strip", Case::commandFailed, ""}},
             {"pipe", {"pipe.png", "pipe", "tiff", Case::commandFailed, ""}},
             {"pipe, resized", {"pipe.png", "pipe", "resize", Case::commandFailed, ""}},
             {"missing", {"gone.png", "", "tiff", Case::sourceItemMissing, ""}},
             {"too large", {"huge.ppm", huge, "tiff", Case::commandFailed, "20000 × 20000"}},
             {"too large, resized", {"huge.ppm", huge, "resize", Case::commandFailed, "20000 × 20000"}}});
    }
    void failuresNameTheFileAndLoseNothing() {
        QFETCH(Failure, row);
        const QString good = m_env->writeFile(m_folder + "/good.png", encoded(quadrants(10, 10), "png"));
        const QString input = m_folder + '/' + row.name;
        if (row.bytes == "pipe")
            QCOMPARE(::mkfifo(QFile::encodeName(input).constData(), 0600), 0);
        else if (!row.bytes.isEmpty())
            m_env->writeFile(input, row.bytes);
        QStringList expected = namesIn(m_folder);
        const bool resize = row.action == "resize";
        const auto error = failureOf<FinderActionExecutionError>([&] {
            run(row.action, resize ? QStringList{input} : QStringList{good, input}, {10, 10});
        });
        QVERIFY(error && error->errorCase() == row.errorCase);
        QVERIFY(names(error->errorDescription(),
                      {m_folder + '/' + QFileInfo(row.name).completeBaseName(), row.cause}));
        // What came before the bad one is whole; nothing else appeared.
        if (!resize)
            expected << (row.action == "strip" ? "good stripped.png" : "good.tiff");
        expected.sort();
        QCOMPARE(namesIn(m_folder), expected);
    }

    // A HEIF photo made by libheif's own tool from a JPEG with EXIF: converted, its pixels and metadata come
    // through; resized in place, it stays HEIF.
    void aHeifPhotoRoundTrip() {
        if (QStandardPaths::findExecutable("heif-enc").isEmpty() ||
            QStandardPaths::findExecutable("exiv2").isEmpty())
            QSKIP("heif-enc (libheif-examples) or exiv2 is not installed");
        const QString jpeg = m_env->writeFile(m_folder + "/source.jpg", encoded(quadrants(64, 32), "jpeg"));
        exiv2({"-M", "set Exif.Image.Make KestroCam", jpeg});
        const QString photo = m_folder + "/IMG 0001.heic";
        QCOMPARE(QProcess::execute("heif-enc", {"-q", "95", jpeg, "-o", photo}), 0);
        const QImage pixels = read(run("tiff", {photo}).first());
        QVERIFY(pixels.size() == QSize(64, 32) && near(pixels.pixel(56, 24), qRgb(0, 0, 255), 40));
        QCOMPARE(value(m_folder + "/IMG 0001.tiff", "Exif.Image.Make"), "KestroCam");
        FakePlatform::prompts().twoTextAnswers.append(std::pair{"32", "16"});
        QCOMPARE(ImageActions::resizeImages({photo}), QStringList{photo});
        QCOMPARE(readAll(photo).mid(8, 4), QByteArray("heic"));
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestImageActions)
#include "test_image_actions.moc"
