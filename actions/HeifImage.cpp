#include "actions/HeifImage.h"

#include "actions/ImageFileIO.h"
#include "actions/ImageMetadata.h"
#include "actions/Libheif.h"
#include "platform/FinderActionExecutionError.h"

#include <QColorSpace>
#include <QCoreApplication>
#include <QFile>
#include <QtEndian>

#include <cstring>
#include <memory>
#include <vector>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ImageFileIO", text);
}

// Gives back what libheif handed out, through the loaded library.
struct Release {
    void operator()(heif_context* context) const { Libheif::get()->heif_context_free(context); }
    void operator()(const heif_image_handle* handle) const {
        Libheif::get()->heif_image_handle_release(handle);
    }
    void operator()(const heif_image* image) const { Libheif::get()->heif_image_release(image); }
    void operator()(heif_encoder* encoder) const { Libheif::get()->heif_encoder_release(encoder); }
};
template <typename T> using Owned = std::unique_ptr<T, Release>;
using Context = Owned<heif_context>;
using Handle = Owned<const heif_image_handle>;

// The library, which the callers below have found present.
const Libheif* library() {
    const Libheif* heif = Libheif::get();
    if (!heif)
        throw FinderActionExecutionError::commandFailed(
            QCoreApplication::translate("ImageFileIO", "这个系统没有安装 libheif，无法处理 HEIF 图片。"));
    return heif;
}

void check(const heif_error& error, const QString& path) {
    if (error.code != heif_error_Ok)
        throw FinderActionExecutionError::commandFailed(
            tr("无法读取图片“%1”：%2").arg(path, QString::fromUtf8(error.message)));
}

// The ICC profile a photo carries (phones record Display P3 this way); colour given as code points is
// taken as sRGB, which is what it nearly always is.
QColorSpace colourSpaceOf(const heif_image_handle* handle) {
    const Libheif* heif = Libheif::get();
    const heif_color_profile_type type = heif->heif_image_handle_get_color_profile_type(handle);
    if (type != heif_color_profile_type_prof && type != heif_color_profile_type_rICC)
        return {};
    QByteArray profile(qsizetype(heif->heif_image_handle_get_raw_color_profile_size(handle)),
                       Qt::Uninitialized);
    if (profile.isEmpty() ||
        heif->heif_image_handle_get_raw_color_profile(handle, profile.data()).code != heif_error_Ok)
        return {};
    return QColorSpace::fromIccProfile(profile);
}

} // namespace

QByteArray HeifImage::formatOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray start = file.read(64);
    // Every HEIF file opens with its file-type box; only then is libheif loaded to look further.
    if (start.mid(4, 4) != "ftyp")
        return {};
    const Libheif* heif = Libheif::get();
    if (!heif)
        return {};
    const auto* bytes = reinterpret_cast<const uint8_t*>(start.constData());
    if (heif->heif_check_filetype(bytes, int(start.size())) != heif_filetype_yes_supported)
        return {};
    return qstrcmp(heif->heif_get_file_mime_type(bytes, int(start.size())), "image/avif") == 0 ? "avif"
                                                                                               : "heif";
}

QImage HeifImage::read(const QString& path) {
    const Libheif* heif = library();
    const Context context(heif->heif_context_alloc());
    check(heif->heif_context_read_from_file(context.get(), QFile::encodeName(path).constData(), nullptr),
          path);
    heif_image_handle* primary = nullptr;
    check(heif->heif_context_get_primary_image_handle(context.get(), &primary), path);
    const Handle handle(primary);
    ImageFileIO::checkSize(
        path, QSize(heif->heif_image_handle_get_width(primary), heif->heif_image_handle_get_height(primary)));
    const bool alpha = heif->heif_image_handle_has_alpha_channel(primary);
    heif_image* decoded = nullptr;
    check(heif->heif_decode_image(primary, &decoded, heif_colorspace_RGB,
                                  alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB,
                                  nullptr),
          path);
    int stride = 0;
    const uint8_t* pixels = heif->heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
    if (!pixels) {
        heif->heif_image_release(decoded);
        throw FinderActionExecutionError::commandFailed(
            tr("无法读取图片“%1”：%2").arg(path, tr("没有像素数据")));
    }
    // The decoded pixels are used where they are and let go of with the image.
    QImage image(
        pixels, heif->heif_image_get_width(decoded, heif_channel_interleaved),
        heif->heif_image_get_height(decoded, heif_channel_interleaved), stride,
        alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888,
        [](void* image) { Libheif::get()->heif_image_release(static_cast<heif_image*>(image)); }, decoded);
    image.setColorSpace(colourSpaceOf(primary));
    return image;
}

HeifImage::Metadata HeifImage::metadata(const QString& path) {
    const Libheif* heif = Libheif::get();
    Metadata metadata;
    if (!heif)
        return metadata;
    const Context context(heif->heif_context_alloc());
    heif_image_handle* primary = nullptr;
    if (heif->heif_context_read_from_file(context.get(), QFile::encodeName(path).constData(), nullptr).code !=
            heif_error_Ok ||
        heif->heif_context_get_primary_image_handle(context.get(), &primary).code != heif_error_Ok)
        return metadata;
    const Handle handle(primary);
    const auto block = [heif, primary](const char* type, const char* contentType) {
        std::vector<heif_item_id> ids(
            size_t(heif->heif_image_handle_get_number_of_metadata_blocks(primary, type)));
        heif->heif_image_handle_get_list_of_metadata_block_IDs(primary, type, ids.data(), int(ids.size()));
        for (const heif_item_id id : ids) {
            if (contentType &&
                qstrcmp(heif->heif_image_handle_get_metadata_content_type(primary, id), contentType) != 0)
                continue;
            QByteArray bytes(qsizetype(heif->heif_image_handle_get_metadata_size(primary, id)),
                             Qt::Uninitialized);
            if (heif->heif_image_handle_get_metadata(primary, id, bytes.data()).code == heif_error_Ok)
                return bytes;
        }
        return QByteArray();
    };
    // The EXIF block starts with the distance to its TIFF header.
    const QByteArray exif = block("Exif", nullptr);
    if (exif.size() > 4) {
        const quint32 offset = qFromBigEndian<quint32>(exif.constData());
        if (offset < quint32(exif.size() - 4))
            metadata.exif = exif.mid(4 + qsizetype(offset));
    }
    metadata.xmp = block("mime", "application/rdf+xml");
    return metadata;
}

namespace {

heif_compression_format compressionOf(const QByteArray& format) {
    return format == "avif" ? heif_compression_AV1 : heif_compression_HEVC;
}

heif_error appendTo(heif_context*, const void* data, size_t size, void* bytes) {
    static_cast<QByteArray*>(bytes)->append(static_cast<const char*>(data), qsizetype(size));
    return heif_error{heif_error_Ok, heif_suberror_Unspecified, "ok"};
}

} // namespace

bool HeifImage::canRead(const QByteArray& format) {
    const Libheif* heif = format == "heif" || format == "avif" ? Libheif::get() : nullptr;
    return heif && heif->heif_have_decoder_for_format(compressionOf(format));
}

bool HeifImage::canWrite(const QByteArray& format) {
    const Libheif* heif = format == "heif" || format == "avif" ? Libheif::get() : nullptr;
    return heif && heif->heif_have_encoder_for_format(compressionOf(format));
}

QByteArray HeifImage::write(const QImage& image, const QByteArray& format, int quality, const QString& path,
                            const ImageMetadata* metadata) {
    const Libheif* heif = library();
    const auto check = [&path](const heif_error& error) {
        if (error.code != heif_error_Ok)
            throw FinderActionExecutionError::commandFailed(
                tr("无法写入“%1”：%2").arg(path, QString::fromUtf8(error.message)));
    };
    const bool alpha = image.hasAlphaChannel();
    const QImage pixels = image.convertToFormat(alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    const Context context(heif->heif_context_alloc());
    heif_image* raw = nullptr;
    check(heif->heif_image_create(pixels.width(), pixels.height(), heif_colorspace_RGB,
                                  alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, &raw));
    const Owned<const heif_image> encoded(raw);
    check(heif->heif_image_add_plane(raw, heif_channel_interleaved, pixels.width(), pixels.height(), 8));
    int stride = 0;
    uint8_t* plane = heif->heif_image_get_plane(raw, heif_channel_interleaved, &stride);
    const size_t rowBytes = size_t(pixels.width()) * (alpha ? 4 : 3);
    for (int y = 0; y < pixels.height(); ++y)
        std::memcpy(plane + qsizetype(y) * stride, pixels.constScanLine(y), rowBytes);
    const QByteArray profile = image.colorSpace().isValid() ? image.colorSpace().iccProfile() : QByteArray();
    if (!profile.isEmpty())
        heif->heif_image_set_raw_color_profile(raw, "prof", profile.constData(), size_t(profile.size()));

    heif_encoder* encoderPointer = nullptr;
    check(heif->heif_context_get_encoder_for_format(context.get(), compressionOf(format), &encoderPointer));
    const Owned<heif_encoder> encoder(encoderPointer);
    check(heif->heif_encoder_set_lossy_quality(encoderPointer, quality >= 0 ? quality : 90));
    heif_image_handle* handlePointer = nullptr;
    check(heif->heif_context_encode_image(context.get(), raw, encoderPointer, nullptr, &handlePointer));
    const Handle handle(handlePointer);
    if (metadata) {
        const ImageMetadata::Blocks blocks = metadata->blocksFor(image);
        if (!blocks.exif.isEmpty())
            check(heif->heif_context_add_exif_metadata(context.get(), handlePointer, blocks.exif.constData(),
                                                       int(blocks.exif.size())));
        if (!blocks.xmp.isEmpty())
            check(heif->heif_context_add_XMP_metadata(context.get(), handlePointer, blocks.xmp.constData(),
                                                      int(blocks.xmp.size())));
    }
    QByteArray bytes;
    heif_writer writer{1, appendTo};
    check(heif->heif_context_write(context.get(), &writer, &bytes));
    return bytes;
}
