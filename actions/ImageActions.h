#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Image conversion, resizing, compression and metadata stripping.
class ImageActions {
public:
    static QStringList convertImages(const QStringList& selectedURLs, const QString& format, const QString& pathExtension, const QStringList& options);
    static QStringList resizeImages(const QStringList& selectedURLs);
    static QStringList stripImageMetadata(const QStringList& selectedURLs);
};
