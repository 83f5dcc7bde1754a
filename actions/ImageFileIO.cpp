#include "actions/ImageFileIO.h"

#include "actions/AtomicFileWriter.h"
#include "platform/FinderActionExecutionError.h"

#include <QBuffer>
#include <QColorSpace>
#include <QCoreApplication>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QSaveFile>

#include <cstring>

namespace {
QString tr(const char* text) {
    return QCoreApplication::translate("ImageFileIO", text);
}
} // namespace

QImage ImageFileIO::load(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists())
        throw FinderActionExecutionError::sourceItemMissing(path);
    if (info.isDir())
        throw FinderActionExecutionError::commandFailed(tr("“%1”是文件夹，不是图片。").arg(path));
    QImageReader reader(path);
    reader.setAutoTransform(true);
    // Only the content decides: a misnamed file is still read as what it really is.
    reader.setDecideFormatFromContent(true);
    QImage image = reader.read();
    if (image.isNull())
        throw FinderActionExecutionError::commandFailed(
            tr("无法读取图片“%1”：%2").arg(path, reader.errorString()));
    return image;
}

QByteArray ImageFileIO::detectedFormat(const QString& path) {
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    return reader.format();
}

bool ImageFileIO::canWrite(const QByteArray& format) {
    return QImageWriter::supportedImageFormats().contains(format);
}

void ImageFileIO::save(const QImage& image, const QString& path, const QByteArray& format, int quality,
                       Target target) {
    if (!canWrite(format))
        throw FinderActionExecutionError::commandFailed(
            tr("这个系统无法写入 %1 格式的图片：%2").arg(QString::fromLatin1(format).toUpper(), path));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (quality >= 0)
        writer.setQuality(quality);
    if (!writer.write(image))
        throw FinderActionExecutionError::commandFailed(
            tr("无法写入“%1”：%2").arg(path, writer.errorString()));
    if (target == Target::newFile) {
        AtomicFileWriter::writeNewFile(path, bytes);
        return;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw FinderActionExecutionError::commandFailed(tr("无法写入“%1”：%2").arg(path, file.errorString()));
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
