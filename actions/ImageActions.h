#pragma once

#include <optional>
#include <QByteArray>
#include <QSize>
#include <QString>
#include <QStringList>
#include <utility>

// Image conversion, resizing, compression and metadata stripping, done in process with Qt's image
// plugins; EXIF, IPTC and XMP travel into every result with exiv2 except a stripped one. Results go beside
// the inputs under the unique-name rule; only resizing changes the images themselves.
class ImageActions {
public:
    // format is the image format name ("jpeg", "png", "tiff"); options are the extra settings the
    // dispatcher passes, of which "-s" "formatOptions" <quality 0-100> is understood.
    static QStringList convertImages(const QStringList& selectedURLs, const QString& format,
                                     const QString& pathExtension, const QStringList& options);
    static QStringList resizeImages(const QStringList& selectedURLs);
    static QStringList stripImageMetadata(const QStringList& selectedURLs);
    // One image resampled to exactly size and put in place of the original in one step, keeping its
    // format, metadata and permissions.
    static void resizeImage(const QString& path, QSize size);

    // The width and height the user asks for; nothing when cancelled. Numbers that are not positive
    // whole pixels throw commandFailed.
    static std::optional<QSize> promptImageSize();
    // The extension and writer format in which a stripped image is encoded again, by the input's extension.
    static std::pair<QString, QByteArray> imageOutputExtension(const QString& inputExtension);
};
