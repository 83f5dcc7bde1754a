// Metadata through the image actions, read back with the exiv2 command-line tool rather than the code
// under test; photos far beyond Qt's default decoding limit; files too large to handle.
#include "actions/ImageActions.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QProcess>
#include <QtTest>

#include <sys/stat.h>

namespace {

QString exiv2(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("exiv2"), arguments);
    if (!tool.waitForFinished(60000))
        return QStringLiteral("exiv2 did not finish");
    return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
}

// One value as exiv2 prints it plainly; empty when the file has no such key.
QString value(const QString& file, const QString& key) {
    return exiv2({QStringLiteral("-q"), QStringLiteral("-K"), key, QStringLiteral("-Pv"), file});
}

// A 60 × 40 photo as a camera held upright would store it: turned on its side, with orientation 6 ("turn
// 90° clockwise to show"), so it shows 40 × 60. Red on the left as stored.
QString cameraPhoto(const TestEnvironment& env, const QString& name) {
    QImage image(60, 40, QImage::Format_RGB32);
    image.fill(Qt::blue);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 20; ++x)
            image.setPixel(x, y, qRgb(255, 0, 0));
    const QString path = env.root() + QLatin1Char('/') + name;
    QImageWriter(path, "jpeg").write(image);
    exiv2({QStringLiteral("-M"), QStringLiteral("set Exif.Image.Make KestroCam"), QStringLiteral("-M"),
           QStringLiteral("set Exif.Image.Orientation 6"), QStringLiteral("-M"),
           QStringLiteral("set Exif.Photo.DateTimeOriginal 2024:05:06 07:08:09"), QStringLiteral("-M"),
           QStringLiteral("set Exif.Photo.PixelXDimension 60"), QStringLiteral("-M"),
           QStringLiteral("set Exif.Photo.PixelYDimension 40"), QStringLiteral("-M"),
           QStringLiteral("set Exif.GPSInfo.GPSLatitude 48/1 51/1 2468/100"), QStringLiteral("-M"),
           QStringLiteral("set Iptc.Application2.Caption 港口的黄昏"), QStringLiteral("-M"),
           QStringLiteral("set Xmp.dc.title lang=x-default Harbour at dusk"), QStringLiteral("-M"),
           QStringLiteral("set Xmp.tiff.Orientation 6"), path});
    return path;
}

// What every carried copy must show: the camera's facts unchanged, the orientation normal, the pixel
// size the new one.
void checkCarried(const QString& file, QSize shown) {
    QCOMPARE(value(file, "Exif.Image.Make"), QStringLiteral("KestroCam"));
    QCOMPARE(value(file, "Exif.Photo.DateTimeOriginal"), QStringLiteral("2024:05:06 07:08:09"));
    QCOMPARE(value(file, "Exif.GPSInfo.GPSLatitude"), QStringLiteral("48/1 51/1 2468/100"));
    QCOMPARE(value(file, "Iptc.Application2.Caption"), QStringLiteral("港口的黄昏"));
    QCOMPARE(value(file, "Xmp.dc.title"), QStringLiteral("lang=\"x-default\" Harbour at dusk"));
    QCOMPARE(value(file, "Exif.Image.Orientation"), QStringLiteral("1"));
    QCOMPARE(value(file, "Xmp.tiff.Orientation"), QStringLiteral("1"));
    QCOMPARE(value(file, "Exif.Photo.PixelXDimension"), QString::number(shown.width()));
    QCOMPARE(value(file, "Exif.Photo.PixelYDimension"), QString::number(shown.height()));
    QImageReader reader(file);
    reader.setAutoTransform(true);
    const QImage image = reader.read();
    QCOMPARE(image.size(), shown);
    // Shown upright: the stored left edge (red) is now the top.
    QVERIFY(qRed(image.pixel(shown.width() / 2, 1)) > 200);
    QVERIFY(qBlue(image.pixel(shown.width() / 2, shown.height() - 2)) > 200);
}

// PNG's chunk checksum, so the changed header is still a valid one.
quint32 crc32(const QByteArray& bytes) {
    quint32 crc = 0xffffffffu;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

} // namespace

class TestImageMetadata : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(resetQuietEnvironment(m_env));
        if (QStandardPaths::findExecutable(QStringLiteral("exiv2")).isEmpty())
            QSKIP("the exiv2 tool is missing: run scripts/install-dependencies");
    }
    void cleanup() { m_env.reset(); }

    void convertAndCompressCarryMetadata_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QStringList>("options");
        QTest::newRow("to PNG") << "png"
                                << "png" << QStringList{};
        QTest::newRow("to TIFF") << "tiff"
                                 << "tiff" << QStringList{};
        QTest::newRow("to JPEG") << "jpeg"
                                 << "jpg" << QStringList{};
        QTest::newRow("compressed") << "jpeg"
                                    << "jpg" << QStringList{"-s", "formatOptions", "70"};
    }
    void convertAndCompressCarryMetadata() {
        QFETCH(QString, format);
        QFETCH(QString, extension);
        QFETCH(QStringList, options);
        const QString photo = cameraPhoto(*m_env, QStringLiteral("IMG 0001.jpg"));
        const QByteArray original = readAll(photo);
        const QStringList outputs = ImageActions::convertImages({photo}, format, extension, options);
        QCOMPARE(outputs.size(), 1);
        checkCarried(outputs.first(), QSize(40, 60));
        QCOMPARE(readAll(photo), original);
    }

    void resizeKeepsMetadataPermissionsAndReplacesAtomically() {
        const QString photo = cameraPhoto(*m_env, QStringLiteral("IMG 0002.jpg"));
        QVERIFY(QFile::setPermissions(photo, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                 QFileDevice::ReadGroup));
        // A second name for the old file: an atomic replacement leaves it holding the old bytes.
        const QString oldLink = m_env->root() + QStringLiteral("/old bytes.jpg");
        QVERIFY(::link(QFile::encodeName(photo).constData(), QFile::encodeName(oldLink).constData()) == 0);
        const QByteArray original = readAll(photo);

        FakePlatform::prompts().twoTextAnswers.append(std::pair{QStringLiteral("30"), QStringLiteral("45")});
        QCOMPARE(ImageActions::resizeImages({photo}), QStringList{photo});
        checkCarried(photo, QSize(30, 45));
        QCOMPARE(readAll(oldLink), original);
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(photo).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0640));
        QCOMPARE(status.st_nlink, nlink_t(1));
        // Nothing else was left in the folder.
        QCOMPARE(QDir(m_env->root())
                     .entryList({QStringLiteral("*IMG*"), QStringLiteral(".*kestro*")},
                                QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("IMG 0002.jpg")});
    }

    void stripRemovesEverything() {
        const QString photo = cameraPhoto(*m_env, QStringLiteral("IMG 0003.jpg"));
        const QStringList outputs = ImageActions::stripImageMetadata({photo});
        QCOMPARE(outputs, QStringList{m_env->root() + QStringLiteral("/IMG 0003 stripped.jpg")});
        QCOMPARE(exiv2({QStringLiteral("-q"), QStringLiteral("-pa"), outputs.first()}), QString());
    }

    // Beyond Qt's default limit of 256 MB (about 33 megapixels): 100 megapixels convert and resize.
    void hundredMegapixelPhoto() {
        const QString photo = m_env->root() + QStringLiteral("/big.jpg");
        {
            QImage big(10000, 10000, QImage::Format_RGB32);
            big.fill(qRgb(30, 120, 200));
            QVERIFY(QImageWriter(photo, "jpeg").write(big));
        }
        exiv2({QStringLiteral("-M"), QStringLiteral("set Exif.Image.Make BigCam"), photo});
        const QStringList png = ImageActions::convertImages({photo}, "png", "png", {});
        QCOMPARE(QImageReader(png.first()).size(), QSize(10000, 10000));
        QCOMPARE(value(png.first(), "Exif.Image.Make"), QStringLiteral("BigCam"));
        ImageActions::resizeImage(photo, QSize(1000, 800));
        QCOMPARE(QImageReader(photo).size(), QSize(1000, 800));
        QCOMPARE(value(photo, "Exif.Image.Make"), QStringLiteral("BigCam"));
    }

    // A picture whose header asks for 400 megapixels is refused by its size, before any pixel is decoded.
    void tooLargeSaysSo() {
        QImage small(8, 8, QImage::Format_RGB32);
        small.fill(Qt::white);
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(small.save(&buffer, "png"));
        // IHDR's width and height follow the 8-byte signature, the chunk length and "IHDR".
        const QByteArray huge = QByteArray::fromHex("00004e20"); // 20000
        png.replace(16, 4, huge);
        png.replace(20, 4, huge);
        const quint32 crc = crc32(png.mid(12, 17));
        const char crcBytes[] = {char(crc >> 24), char(crc >> 16), char(crc >> 8), char(crc)};
        png.replace(29, 4, QByteArray(crcBytes, 4));
        const QString path = m_env->writeFile(QStringLiteral("huge.png"), png);
        try {
            ImageActions::convertImages({path}, "jpeg", "jpg", {});
            QFAIL("a 400-megapixel image was accepted");
        } catch (const FinderActionExecutionError& error) {
            QVERIFY2(error.errorDescription().contains(QStringLiteral("太大")),
                     qPrintable(error.errorDescription()));
            QVERIFY(error.errorDescription().contains(QStringLiteral("20000 × 20000")));
        }
        FakePlatform::prompts().twoTextAnswers.append(
            std::pair{QStringLiteral("30000"), QStringLiteral("30000")});
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, ImageActions::resizeImages({path}));
        QCOMPARE(readAll(path), png);
    }

    // A pipe named like a picture would keep the decoder waiting for a writer forever.
    void pipesAreRefusedAtOnce() {
        const QString pipe = m_env->root() + QStringLiteral("/pipe.png");
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        try {
            ImageActions::convertImages({pipe}, "jpeg", "jpg", {});
            QFAIL("a pipe was read as an image");
        } catch (const FinderActionExecutionError& error) {
            QVERIFY2(error.errorDescription().contains(QStringLiteral("不是普通文件")),
                     qPrintable(error.errorDescription()));
        }
        FakePlatform::prompts().twoTextAnswers.append(std::pair{QStringLiteral("10"), QStringLiteral("10")});
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, ImageActions::resizeImages({pipe}));
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestImageMetadata)
#include "test_image_metadata.moc"
