#include "actions/ImageMetadata.h"

#include "actions/HeifImage.h"
#include "platform/DiagnosticLog.h"

#include <QBuffer>
#include <QFile>
#include <QImageWriter>

// exiv2 0.27 still hands out std::auto_ptr, which the standard has deprecated.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>

#include <mutex>
#include <sys/stat.h>

namespace {

// exiv2's XMP toolkit must be set up once before any thread uses it; its warnings go to the log, not to
// standard error.
void initialiseExiv2() {
    static std::once_flag once;
    std::call_once(once, [] {
        Exiv2::XmpParser::initialize();
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    });
}

void setIfPresent(Exiv2::ExifData& data, const char* key, const std::string& value) {
    const auto item = data.findKey(Exiv2::ExifKey(key));
    if (item != data.end())
        item->setValue(value);
}

void setIfPresent(Exiv2::XmpData& data, const char* key, const std::string& value) {
    const auto item = data.findKey(Exiv2::XmpKey(key));
    if (item != data.end())
        item->setValue(value);
}

// The metadata as it fits the new pixels: upright, at their size, with a preview made from them.
void fitToImage(Exiv2::ExifData& exif, Exiv2::XmpData& xmp, const QImage& image, bool tiff) {
    const std::string width = std::to_string(image.width());
    const std::string height = std::to_string(image.height());
    setIfPresent(exif, "Exif.Image.Orientation", "1");
    setIfPresent(exif, "Exif.Photo.PixelXDimension", width);
    setIfPresent(exif, "Exif.Photo.PixelYDimension", height);
    setIfPresent(xmp, "Xmp.tiff.Orientation", "1");
    setIfPresent(xmp, "Xmp.exif.PixelXDimension", width);
    setIfPresent(xmp, "Xmp.exif.PixelYDimension", height);
    setIfPresent(xmp, "Xmp.tiff.ImageWidth", width);
    setIfPresent(xmp, "Xmp.tiff.ImageLength", height);
    if (tiff) {
        // In a TIFF the first directory describes the image itself: the encoder's layout stays, and
        // the old image's layout tags and preview do not come along.
        for (const char* key :
             {"Exif.Image.ImageWidth", "Exif.Image.ImageLength", "Exif.Image.BitsPerSample",
              "Exif.Image.Compression", "Exif.Image.PhotometricInterpretation", "Exif.Image.StripOffsets",
              "Exif.Image.SamplesPerPixel", "Exif.Image.RowsPerStrip", "Exif.Image.StripByteCounts",
              "Exif.Image.PlanarConfiguration", "Exif.Image.Predictor", "Exif.Image.ExtraSamples",
              "Exif.Image.SampleFormat"}) {
            const auto item = exif.findKey(Exiv2::ExifKey(key));
            if (item != exif.end())
                exif.erase(item);
        }
        Exiv2::ExifThumb(exif).erase();
    } else {
        setIfPresent(exif, "Exif.Image.ImageWidth", width);
        setIfPresent(exif, "Exif.Image.ImageLength", height);
        Exiv2::ExifThumb thumbnail(exif);
        if (thumbnail.copy().size_ > 0) {
            QByteArray preview;
            QBuffer buffer(&preview);
            buffer.open(QIODevice::WriteOnly);
            QImageWriter writer(&buffer, "jpeg");
            writer.setQuality(80);
            if (writer.write(image.scaled(160, 160, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                 .convertToFormat(QImage::Format_RGB32)))
                thumbnail.setJpegThumbnail(reinterpret_cast<const Exiv2::byte*>(preview.constData()),
                                           long(preview.size()));
            else
                thumbnail.erase();
        }
    }
}

} // namespace

struct ImageMetadata::Data {
    Exiv2::ExifData exif;
    Exiv2::IptcData iptc;
    Exiv2::XmpData xmp;
};

ImageMetadata::ImageMetadata() = default;
ImageMetadata::~ImageMetadata() = default;
ImageMetadata::ImageMetadata(ImageMetadata&&) noexcept = default;
ImageMetadata& ImageMetadata::operator=(ImageMetadata&&) noexcept = default;

ImageMetadata ImageMetadata::read(const QString& path) {
    initialiseExiv2();
    ImageMetadata metadata;
    // Only a regular file: reading a pipe would wait for a writer forever.
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return metadata;
    try {
        if (HeifImage::isHeif(path)) {
            const HeifImage::Metadata blocks = HeifImage::metadata(path);
            auto data = std::make_unique<Data>();
            if (!blocks.exif.isEmpty())
                Exiv2::ExifParser::decode(data->exif,
                                          reinterpret_cast<const Exiv2::byte*>(blocks.exif.constData()),
                                          uint32_t(blocks.exif.size()));
            if (!blocks.xmp.isEmpty())
                Exiv2::XmpParser::decode(data->xmp, blocks.xmp.toStdString());
            metadata.m_data = std::move(data);
            return metadata;
        }
        auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        image->readMetadata();
        metadata.m_data =
            std::make_unique<Data>(Data{image->exifData(), image->iptcData(), image->xmpData()});
    } catch (const Exiv2::AnyError& error) {
        DiagnosticLog::append(QStringLiteral("image metadata not read from %1: %2")
                                  .arg(path, QString::fromStdString(error.what())));
    }
    return metadata;
}

bool ImageMetadata::isEmpty() const {
    return !m_data || (m_data->exif.empty() && m_data->iptc.empty() && m_data->xmp.empty());
}

QByteArray ImageMetadata::carriedInto(const QByteArray& encoded, const QImage& image) const {
    if (isEmpty())
        return encoded;
    initialiseExiv2();
    try {
        auto target = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(encoded.constData()),
                                                long(encoded.size()));
        // What the encoder wrote itself (a colour profile, a comment) stays.
        target->readMetadata();
        Exiv2::ExifData exif = m_data->exif;
        Exiv2::XmpData xmp = m_data->xmp;
        fitToImage(exif, xmp, image, target->mimeType() == "image/tiff");
        target->setExifData(exif);
        target->setIptcData(m_data->iptc);
        target->setXmpData(xmp);
        target->writeMetadata();
        Exiv2::BasicIo& io = target->io();
        io.open();
        io.seek(0, Exiv2::BasicIo::beg);
        const Exiv2::DataBuf bytes = io.read(long(io.size()));
        io.close();
        return QByteArray(reinterpret_cast<const char*>(bytes.pData_), qsizetype(bytes.size_));
    } catch (const Exiv2::AnyError& error) {
        // GIF and BMP have no place for it; anything else failing is logged, the image still written.
        DiagnosticLog::append(QStringLiteral("image metadata not carried into the new image: %1")
                                  .arg(QString::fromStdString(error.what())));
        return encoded;
    }
}

ImageMetadata::Blocks ImageMetadata::blocksFor(const QImage& image) const {
    Blocks blocks;
    if (isEmpty())
        return blocks;
    initialiseExiv2();
    try {
        Exiv2::ExifData exif = m_data->exif;
        Exiv2::XmpData xmp = m_data->xmp;
        fitToImage(exif, xmp, image, false);
        if (!exif.empty()) {
            Exiv2::Blob tiff;
            Exiv2::ExifParser::encode(tiff, nullptr, 0, Exiv2::bigEndian, exif);
            blocks.exif = QByteArray(reinterpret_cast<const char*>(tiff.data()), qsizetype(tiff.size()));
        }
        std::string packet;
        if (!xmp.empty() && Exiv2::XmpParser::encode(packet, xmp) == 0)
            blocks.xmp = QByteArray::fromStdString(packet);
    } catch (const Exiv2::AnyError& error) {
        DiagnosticLog::append(QStringLiteral("image metadata not carried into the new image: %1")
                                  .arg(QString::fromStdString(error.what())));
    }
    return blocks;
}

#pragma GCC diagnostic pop
