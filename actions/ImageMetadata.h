#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <memory>

// An image file's EXIF, IPTC and XMP, read with exiv2 and carried into an image encoded anew (converted,
// compressed or resized). The pixels of the new image are already turned the way the orientation tag
// said, so the tag becomes "normal"; the recorded pixel size becomes the new one and the EXIF preview is
// made again from the new pixels.
class ImageMetadata {
public:
    // What path holds; nothing when it holds none or exiv2 does not know the format.
    static ImageMetadata read(const QString& path);

    ImageMetadata();
    ~ImageMetadata();
    ImageMetadata(ImageMetadata&&) noexcept;
    ImageMetadata& operator=(ImageMetadata&&) noexcept;

    bool isEmpty() const;
    // encoded (a whole image file of any format) with this metadata in it, for the pixels of image. A
    // format exiv2 cannot write (GIF, BMP) comes back as it was: it has no place for the metadata.
    QByteArray carriedInto(const QByteArray& encoded, const QImage& image) const;
    // The same for a format that takes metadata as blocks (HEIF): the EXIF as a TIFF structure and the XMP
    // packet, each empty when there is none.
    struct Blocks {
        QByteArray exif;
        QByteArray xmp;
    };
    Blocks blocksFor(const QImage& image) const;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};
