#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

// HEIF photos (HEIC, as phones take them, and AVIF) decoded in process with libheif: Qt's image plugins
// here read neither. They are written only to resize one in place; every other result is written in a
// format Qt writes.
class ImageMetadata;

class HeifImage {
public:
    // "heif" or "avif" when the content of the regular file at path is an image libheif decodes, else empty.
    static QByteArray formatOf(const QString& path);
    static bool isHeif(const QString& path) { return !formatOf(path).isEmpty(); }
    // The primary image as shown (libheif applies the file's rotation, mirroring and cropping), with its
    // colour profile. Throws FinderActionExecutionError::commandFailed naming the file.
    static QImage read(const QString& path);
    // The photo's EXIF (a TIFF structure, from its header on) and XMP packet, each empty when it has none.
    // Read with libheif: exiv2 0.27 misplaces values inside a HEIF's EXIF block.
    struct Metadata {
        QByteArray exif;
        QByteArray xmp;
    };
    static Metadata metadata(const QString& path);
    // format "heif" (HEVC) or "avif" (AV1), when libheif here has a decoder for it.
    static bool canRead(const QByteArray& format);
    // The same, when libheif here has an encoder for it.
    static bool canWrite(const QByteArray& format);
    // The encoded file, with metadata's EXIF and XMP fitted to image. Throws commandFailed naming path.
    static QByteArray write(const QImage& image, const QByteArray& format, int quality, const QString& path,
                            const ImageMetadata* metadata);
};
