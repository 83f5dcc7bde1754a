#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// Reading and writing image files in process with Qt's image plugins. Reading applies the file's own
// orientation, so a photo turned by its camera tag comes out the way it is shown. Writing encodes the whole
// image first and puts it in place in one step, so a failure never leaves half an image under its name.
// Failures throw FinderActionExecutionError::commandFailed with a Chinese message naming the file.
class ImageFileIO {
public:
    static QImage load(const QString& path);
    // The format the image plugins recognise in the file's content ("png", "jpeg", ...), empty when none.
    static QByteArray detectedFormat(const QString& path);
    enum class Target {
        newFile,  // a fresh name: never replaces an item that appeared there meanwhile
        replacing // the image itself, changed in place
    };
    // quality: 0..100 for lossy formats, -1 for the plugin's default.
    static void save(const QImage& image, const QString& path, const QByteArray& format, int quality = -1,
                     Target target = Target::newFile);
    // Pixels only: the same pixels, colour table and colour space without any text keys the reader kept.
    static QImage pixelsOnly(const QImage& image);
    // JPEG has no transparency: transparent areas are laid on white instead of turning black.
    static QImage flattenedOnWhite(const QImage& image);
    static bool canWrite(const QByteArray& format);
};
