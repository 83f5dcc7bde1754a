#include "actions/ImageActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/ImageFileIO.h"
#include "actions/ImageMetadata.h"
#include "actions/UniqueName.h"
#include "platform/ActionProgress.h"
#include "platform/FinderActionExecutionError.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ImageActions", text);
}

// Quality of a plain conversion to JPEG: close to the original, unlike the compression action's 70.
constexpr int defaultJPEGQuality = 90;
// The largest side accepted when resizing; far beyond any screen or camera, well inside what QImage
// allocates.
constexpr int largestSide = 32768;

int qualityFrom(const QStringList& options) {
    int quality = -1;
    for (qsizetype i = 0; i < options.size();) {
        if (i + 2 < options.size() && options.at(i) == QLatin1String("-s") &&
            options.at(i + 1) == QLatin1String("formatOptions")) {
            bool ok = false;
            const int value = options.at(i + 2).toInt(&ok);
            if (!ok || value < 0 || value > 100)
                throw FinderActionExecutionError::commandFailed(
                    tr("图片质量必须是 0 到 100 之间的整数：%1").arg(options.at(i + 2)));
            quality = value;
            i += 3;
            continue;
        }
        throw FinderActionExecutionError::commandFailed(
            tr("不认识的图片选项：%1").arg(options.mid(i).join(u' ')));
    }
    return quality;
}

// The name the user chose the conversion by: a JPEG at a quality of its own is the compression action.
QString conversionTitle(const QByteArray& writerFormat, bool qualityGiven) {
    if (writerFormat == "jpeg")
        return qualityGiven ? tr("压缩 JPEG 图片") : tr("图片转为 JPEG");
    if (writerFormat == "png")
        return tr("图片转为 PNG");
    if (writerFormat == "tiff")
        return tr("图片转为 TIFF");
    return tr("图片转为 %1").arg(QString::fromLatin1(writerFormat.toUpper()));
}

// Before each image: stops between images when asked (what is written stays) and names the one in hand.
void startImage(ActionProgressFeed& feed, const QString& path) {
    feed.stopIfCancelled();
    feed.state().currentItem = path;
    feed.report();
}

void finishImage(ActionProgressFeed& feed) {
    ++feed.state().itemsDone;
    feed.report();
}

QString folderOf(const QString& path) {
    return QFileInfo(path).absolutePath();
}
QString stemOf(const QString& path) {
    return UniqueName::splitExtension(QFileInfo(path).fileName()).first;
}

std::optional<int> pixelCount(const QString& text) {
    bool ok = false;
    const QString trimmed = text.trimmed();
    for (const QChar c : trimmed)
        if (!c.isDigit())
            return std::nullopt;
    const int value = trimmed.toInt(&ok);
    if (!ok || value < 1 || value > largestSide)
        return std::nullopt;
    return value;
}

} // namespace

QStringList ImageActions::convertImages(const QStringList& selectedURLs, const QString& format,
                                        const QString& pathExtension, const QStringList& options) {
    if (selectedURLs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    const QByteArray writerFormat = format.toLatin1().toLower();
    int quality = qualityFrom(options);
    ActionProgressFeed feed(conversionTitle(writerFormat, quality >= 0));
    feed.state().itemsTotal = selectedURLs.size();
    if (quality < 0 && writerFormat == "jpeg")
        quality = defaultJPEGQuality;

    QStringList outputs;
    for (const QString& input : selectedURLs) {
        startImage(feed, input);
        QImage image = ImageFileIO::load(input);
        if (writerFormat == "jpeg")
            image = ImageFileIO::flattenedOnWhite(image);
        const ImageMetadata metadata = ImageMetadata::read(input);
        const QString output = UniqueName::path(folderOf(input), stemOf(input), pathExtension);
        ImageFileIO::save(image, output, writerFormat, quality, ImageFileIO::Target::newFile, &metadata);
        outputs.append(output);
        finishImage(feed);
    }
    FinderActionExecutor::revealActionResultsIfWanted(outputs);
    return outputs;
}

std::optional<QSize> ImageActions::promptImageSize() {
    const auto answer = FinderActionExecutor::promptTwoTexts(
        tr("调整图片大小"), tr("输入宽度和高度，例如 1024 x 768。"), tr("宽度（像素）"), tr("高度（像素）"));
    if (!answer)
        return std::nullopt;
    const std::optional<int> width = pixelCount(answer->first);
    const std::optional<int> height = pixelCount(answer->second);
    if (!width || !height)
        throw FinderActionExecutionError::commandFailed(
            tr("宽度和高度必须是 1 到 %1 之间的整数像素：%2 x %3")
                .arg(QString::number(largestSide), answer->first.trimmed(), answer->second.trimmed()));
    return QSize(*width, *height);
}

QStringList ImageActions::resizeImages(const QStringList& selectedURLs) {
    if (selectedURLs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    const std::optional<QSize> size = promptImageSize();
    if (!size)
        return {};
    ActionProgressFeed feed(tr("调整图片大小"));
    feed.state().itemsTotal = selectedURLs.size();
    QStringList resized;
    for (const QString& path : selectedURLs) {
        // Each image takes its new pixels in one step, so a stop between images leaves every image either
        // resized or as it was.
        startImage(feed, path);
        resizeImage(path, *size);
        resized.append(path);
        finishImage(feed);
    }
    FinderActionExecutor::revealActionResultsIfWanted(resized);
    return resized;
}

void ImageActions::resizeImage(const QString& path, QSize size) {
    ImageFileIO::checkSize(path, size);
    const QImage scaled = ImageFileIO::load(path, size);
    // Read before the file changes: the metadata goes back into the resized image.
    const ImageMetadata metadata = ImageMetadata::read(path);
    // Written back in the format the file really holds, whatever its name says.
    const QByteArray format = ImageFileIO::detectedFormat(path);
    ImageFileIO::save(scaled, path, format, format == "jpeg" ? defaultJPEGQuality : -1,
                      ImageFileIO::Target::replacing, &metadata);
}

std::pair<QString, QByteArray> ImageActions::imageOutputExtension(const QString& inputExtension) {
    const QString extension = inputExtension.toLower();
    if (extension == QLatin1String("jpg") || extension == QLatin1String("jpeg"))
        return {QStringLiteral("jpg"), "jpeg"};
    if (extension == QLatin1String("tif") || extension == QLatin1String("tiff"))
        return {QStringLiteral("tiff"), "tiff"};
    if (extension == QLatin1String("gif"))
        return {QStringLiteral("gif"), "gif"};
    // Photos from phones, which nothing here writes: JPEG is what they are shared as.
    if (extension == QLatin1String("heic") || extension == QLatin1String("heif") ||
        extension == QLatin1String("avif"))
        return {QStringLiteral("jpg"), "jpeg"};
    return {QStringLiteral("png"), "png"};
}

QStringList ImageActions::stripImageMetadata(const QStringList& selectedURLs) {
    if (selectedURLs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    ActionProgressFeed feed(tr("移除图片元数据"));
    feed.state().itemsTotal = selectedURLs.size();
    QStringList outputs;
    for (const QString& input : selectedURLs) {
        startImage(feed, input);
        const auto [extension, format] =
            imageOutputExtension(UniqueName::splitExtension(QFileInfo(input).fileName()).second);
        // Only the pixels travel to the new file: EXIF, GPS, comments and text chunks stay behind.
        QImage image = ImageFileIO::pixelsOnly(ImageFileIO::load(input));
        if (format == "jpeg")
            image = ImageFileIO::flattenedOnWhite(image);
        const QString output =
            UniqueName::path(folderOf(input), stemOf(input) + QStringLiteral(" stripped"), extension);
        ImageFileIO::save(image, output, format, format == "jpeg" ? defaultJPEGQuality : -1);
        outputs.append(output);
        finishImage(feed);
    }
    FinderActionExecutor::revealActionResultsIfWanted(outputs);
    return outputs;
}
