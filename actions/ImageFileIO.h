#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QSizeF>
#include <QString>
#include <QStringList>

class ImageMetadata;

// Reading and writing image files in process with Qt's image plugins, and HEIF/AVIF photos through
// libheif (HeifImage), which those plugins do not read. Reading applies the file's own
// orientation, so a photo turned by its camera tag comes out the way it is shown. Writing encodes the whole
// image first and puts it in place in one step, so a failure never leaves half an image under its name.
// Failures throw FinderActionExecutionError::commandFailed with a Chinese message naming the file.
// One image is decoded at a time, up to largestPixelCount pixels: a 100-megapixel photo works, anything
// beyond fails saying it is too large.
class ImageFileIO {
public:
    static constexpr qint64 largestPixelCount = 256 * 1000 * 1000;

    // size: decode straight to that size, as it is shown (JPEG decoders then read only what they need).
    // An image whose file records no resolution comes with 72 dpi, a pixel a point.
    static QImage load(const QString& path, QSize size = {});
    // The format the image plugins recognise in the file's content ("png", "jpeg", ...), empty when none.
    static QByteArray detectedFormat(const QString& path);
    enum class Target {
        newFile,  // a fresh name: never replaces an item that appeared there meanwhile
        replacing // the image itself, changed in place
    };
    // quality: 0..100 for lossy formats, -1 for the plugin's default. metadata, when given, is carried
    // into the new file.
    static void save(const QImage& image, const QString& path, const QByteArray& format, int quality = -1,
                     Target target = Target::newFile, const ImageMetadata* metadata = nullptr);
    // Fails with the too-large message when an image of size cannot be handled.
    static void checkSize(const QString& path, QSize size);
    // Pixels only: the same pixels, colour table and colour space without any text keys the reader kept.
    static QImage pixelsOnly(const QImage& image);
    // JPEG has no transparency: transparent areas are laid on white instead of turning black.
    static QImage flattenedOnWhite(const QImage& image);
    static bool canWrite(const QByteArray& format);
    // The name endings (".png", ".heic", ...) of the images every image action takes on this system: what
    // Qt's plugins and libheif here read. The file-manager menus offer the image actions for these.
    static QStringList readableSuffixes();
    // The size in points at which a loaded image is printed: at the resolution its file records, or a pixel
    // to a point (72 dpi) when it records none.
    static QSizeF printedSize(const QImage& image);
};
