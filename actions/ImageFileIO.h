#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// Reading and writing image files in process with Qt's image plugins. Reading applies the file's own
// orientation, so a photo turned by its camera tag comes out the way it is shown; writing goes through a
// temporary file that replaces the final name only when complete, so a failure never leaves half an image.
// Failures throw FinderActionExecutionError::commandFailed with a Chinese message naming the file.
class ImageFileIO {
public:
    static QImage load(const QString& path);
    // The format the image plugins recognise in the file's content ("png", "jpeg", ...), empty when none.
    static QByteArray detectedFormat(const QString& path);
    // quality: 0..100 for lossy formats, -1 for the plugin's default.
    static void save(const QImage& image, const QString& path, const QByteArray& format, int quality = -1);
    // Pixels only: the same pixels, colour table and colour space without any text keys the reader kept.
    static QImage pixelsOnly(const QImage& image);
    // JPEG has no transparency: transparent areas are laid on white instead of turning black.
    static QImage flattenedOnWhite(const QImage& image);
    static bool canWrite(const QByteArray& format);
};
