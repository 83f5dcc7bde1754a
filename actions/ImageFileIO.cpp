#include "actions/ImageFileIO.h"

#include "actions/AtomicFileWriter.h"
#include "actions/HeifImage.h"
#include "actions/ImageMetadata.h"
#include "actions/ImageResolution.h"
#include "platform/FinderActionExecutionError.h"

#include <QBuffer>
#include <QColorSpace>
#include <QCoreApplication>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <sys/stat.h>

namespace {
QString tr(const char* text) {
    return QCoreApplication::translate("ImageFileIO", text);
}

constexpr double pointsPerMetre = 72 / 0.0254;
constexpr int dotsPerMetreAt72 = 2835;

// Qt refuses to decode more than 256 MB by default (about 33 megapixels at four bytes each); the limit
// here is what largestPixelCount needs at up to eight bytes a pixel (16-bit colour with alpha).
void raiseDecodingLimit() {
    static std::once_flag once;
    std::call_once(once,
                   [] { QImageReader::setAllocationLimit(int(ImageFileIO::largestPixelCount * 8 >> 20)); });
}

// Text keys that carry metadata profiles: exiv2 writes those itself, once.
bool isMetadataProfile(const QString& key) {
    return key.startsWith(QLatin1String("Raw profile type")) || key == QLatin1String("XML:com.adobe.xmp");
}
// The same pixels, not copied, with the text keys other than metadata profiles.
QImage withoutMetadataProfiles(const QImage& image) {
    const QStringList keys = image.textKeys();
    if (std::none_of(keys.begin(), keys.end(), isMetadataProfile))
        return image;
    QImage view(image.constBits(), image.width(), image.height(), image.bytesPerLine(), image.format());
    view.setColorTable(image.colorTable());
    view.setColorSpace(image.colorSpace());
    view.setDotsPerMeterX(image.dotsPerMeterX());
    view.setDotsPerMeterY(image.dotsPerMeterY());
    for (const QString& key : keys)
        if (!isMetadataProfile(key))
            view.setText(key, image.text(key));
    return view;
}
// Qt fills in 96 dpi where a file records no resolution. Such an image prints at 72 dpi, a pixel a point,
// and what is written from it says so (Qt's writers always record one).
void setDefaultResolution(QImage& image, const QString& path) {
    if (ImageResolution::isRecorded(path))
        return;
    image.setDotsPerMeterX(dotsPerMetreAt72);
    image.setDotsPerMeterY(dotsPerMetreAt72);
}
} // namespace

void ImageFileIO::checkSize(const QString& path, QSize size) {
    if (qint64(size.width()) * size.height() > largestPixelCount)
        throw FinderActionExecutionError::commandFailed(
            tr("图片“%1”太大（%2 × %3 像素），超过了能处理的 %4 百万像素。")
                .arg(path)
                .arg(size.width())
                .arg(size.height())
                .arg(largestPixelCount / 1000000));
}

QImage ImageFileIO::load(const QString& path, QSize size) {
    const QFileInfo info(path);
    if (!info.exists())
        throw FinderActionExecutionError::sourceItemMissing(path);
    if (info.isDir())
        throw FinderActionExecutionError::commandFailed(tr("“%1”是文件夹，不是图片。").arg(path));
    // Reading a pipe or a device would wait forever or never end.
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0 && !S_ISREG(status.st_mode))
        throw FinderActionExecutionError::commandFailed(tr("“%1”不是普通文件，不是图片。").arg(path));
    if (HeifImage::isHeif(path)) {
        QImage image = HeifImage::read(path);
        setDefaultResolution(image, path);
        return size.isValid() && image.size() != size
                   ? image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                   : image;
    }
    raiseDecodingLimit();
    QImageReader reader(path);
    reader.setAutoTransform(true);
    // Only the content decides: a misnamed file is still read as what it really is.
    reader.setDecideFormatFromContent(true);
    const QSize stored = reader.size();
    if (stored.isValid())
        checkSize(path, stored);
    const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    // The wanted size is as shown; the decoder scales the image as stored, before turning it.
    if (size.isValid())
        reader.setScaledSize(turned ? size.transposed() : size);
    QImage image = reader.read();
    if (image.isNull())
        throw FinderActionExecutionError::commandFailed(
            tr("无法读取图片“%1”：%2").arg(path, reader.errorString()));
    setDefaultResolution(image, path);
    // Qt turns the pixels but not the resolution, which differs across and down in some scans.
    if (turned) {
        const int across = image.dotsPerMeterX();
        image.setDotsPerMeterX(image.dotsPerMeterY());
        image.setDotsPerMeterY(across);
    }
    if (size.isValid() && image.size() != size)
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return image;
}

QByteArray ImageFileIO::detectedFormat(const QString& path) {
    if (const QByteArray heif = HeifImage::formatOf(path); !heif.isEmpty())
        return heif;
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    return reader.format();
}

bool ImageFileIO::canWrite(const QByteArray& format) {
    return QImageWriter::supportedImageFormats().contains(format) || HeifImage::canWrite(format);
}

void ImageFileIO::save(const QImage& image, const QString& path, const QByteArray& format, int quality,
                       Target target, const ImageMetadata* metadata) {
    if (!canWrite(format))
        throw FinderActionExecutionError::commandFailed(
            tr("这个系统无法写入 %1 格式的图片：%2").arg(QString::fromLatin1(format).toUpper(), path));
    QByteArray bytes;
    if (HeifImage::canWrite(format)) {
        bytes = HeifImage::write(image, format, quality, path, metadata);
    } else {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, format);
        if (quality >= 0)
            writer.setQuality(quality);
        if (!writer.write(withoutMetadataProfiles(image)))
            throw FinderActionExecutionError::commandFailed(
                tr("无法写入“%1”：%2").arg(path, writer.errorString()));
        buffer.close();
        if (metadata)
            bytes = metadata->carriedInto(bytes, image);
    }
    if (target == Target::newFile)
        AtomicFileWriter::writeNewFile(path, bytes);
    else
        AtomicFileWriter::replaceFile(path, bytes);
}

QImage ImageFileIO::pixelsOnly(const QImage& image) {
    QImage clean(image.size(), image.format());
    if (clean.isNull())
        return clean;
    const qsizetype rowBytes = std::min(image.bytesPerLine(), clean.bytesPerLine());
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(clean.scanLine(y), image.constScanLine(y), size_t(rowBytes));
    clean.setColorTable(image.colorTable());
    clean.setColorSpace(image.colorSpace());
    clean.setDotsPerMeterX(image.dotsPerMeterX());
    clean.setDotsPerMeterY(image.dotsPerMeterY());
    return clean;
}

QImage ImageFileIO::flattenedOnWhite(const QImage& image) {
    if (!image.hasAlphaChannel())
        return image;
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.setColorSpace(image.colorSpace());
    flat.setDotsPerMeterX(image.dotsPerMeterX());
    flat.setDotsPerMeterY(image.dotsPerMeterY());
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(0, 0, image);
    painter.end();
    return flat;
}

QSizeF ImageFileIO::printedSize(const QImage& image) {
    // 72 dpi, rounded to whole dots per metre, is a pixel a point.
    if (image.dotsPerMeterX() == dotsPerMetreAt72 && image.dotsPerMeterY() == dotsPerMetreAt72)
        return QSizeF(image.size());
    return QSizeF(image.width() * pointsPerMetre / std::max(1, image.dotsPerMeterX()),
                  image.height() * pointsPerMetre / std::max(1, image.dotsPerMeterY()));
}

QStringList ImageFileIO::readableSuffixes() {
    // The picture formats people keep photos and scans in; icons, cursors and the like are not offered.
    static const std::pair<const char*, QByteArray> candidates[] = {
        {".png", "png"},   {".jpg", "jpeg"},  {".jpeg", "jpeg"}, {".gif", "gif"},
        {".bmp", "bmp"},   {".tif", "tiff"},  {".tiff", "tiff"}, {".webp", "webp"},
        {".heic", "heif"}, {".heif", "heif"}, {".avif", "avif"}};
    const QList<QByteArray> qtReads = QImageReader::supportedImageFormats();
    QStringList suffixes;
    for (const auto& [suffix, format] : candidates)
        if (qtReads.contains(format) || HeifImage::canRead(format))
            suffixes.append(QLatin1String(suffix));
    return suffixes;
}
