#include "actions/PdfActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/ImageFileIO.h"
#include "actions/PdfFile.h"
#include "actions/UniqueName.h"
#include "platform/ActionProgress.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("PdfActions", text);
}

// qpdf keeps every source open until the merged document is written; beyond this many sources the files
// are reopened on demand instead, so a huge selection cannot run out of file descriptors.
constexpr qsizetype openSourcesLimit = 200;

QString folderOf(const QString& path) {
    return QFileInfo(path).absolutePath();
}
QString stemOf(const QString& path) {
    return UniqueName::splitExtension(QFileInfo(path).fileName()).first;
}

void makeFolder(const QString& path) {
    if (::mkdir(QFile::encodeName(path).constData(), 0777) != 0)
        throw PlatformError(QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
}

// Page copying reads the source lazily, so damage deep inside a file only shows here.
void appendAllPages(QPDF& merged, QPDF& source, const QString& sourcePath) {
    try {
        PdfFile::appendAllPages(merged, source);
    } catch (const std::exception& error) {
        throw FinderActionExecutionError::commandFailed(
            tr("无法读取 PDF“%1”的页面：%2").arg(sourcePath, QString::fromLocal8Bit(error.what())));
    }
}

} // namespace

QStringList PdfActions::pdfInputs(const QStringList& selectedURLs) {
    QStringList pdfs;
    for (const QString& url : selectedURLs)
        if (UniqueName::splitExtension(QFileInfo(url).fileName()).second.toLower() == QLatin1String("pdf"))
            pdfs.append(url);
    FinderActionExecutor::requireRegularFiles(pdfs);
    return pdfs;
}

QString PdfActions::pageFileName(int pageNumber) {
    return QStringLiteral("Page %1.pdf").arg(pageNumber, 3, 10, QLatin1Char('0'));
}

QStringList PdfActions::compressPDFs(const QStringList& selectedURLs) {
    const QStringList pdfs = pdfInputs(selectedURLs);
    if (pdfs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    ActionProgressFeed feed(tr("压缩 PDF"));
    feed.state().itemsTotal = pdfs.size();
    QStringList outputs;
    for (const QString& input : pdfs) {
        feed.stopIfCancelled();
        feed.state().currentItem = input;
        feed.report();
        const std::shared_ptr<QPDF> document = PdfFile::open(input);
        const QString output = UniqueName::path(
            folderOf(input), stemOf(input) + QStringLiteral(" compressed"), QStringLiteral("pdf"));
        PdfFile::write(*document, output, PdfFile::Layout::compressed, &feed);
        outputs.append(output);
        ++feed.state().itemsDone;
        feed.report();
    }
    FinderActionExecutor::revealActionResultsIfWanted(outputs);
    return outputs;
}

QStringList PdfActions::mergePDFs(const QStringList& selectedURLs) {
    const QStringList pdfs = pdfInputs(selectedURLs);
    if (pdfs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    ActionProgressFeed feed(tr("合并 PDF"));
    feed.state().itemsTotal = pdfs.size();
    const bool keepOpen = pdfs.size() <= openSourcesLimit;
    const std::shared_ptr<QPDF> merged = PdfFile::empty();
    // The sources must outlive the write: their pages are copied from them only then.
    std::vector<std::shared_ptr<QPDF>> sources;
    for (const QString& input : pdfs) {
        // Nothing is on disk until the write below, so any input is a place to stop.
        feed.stopIfCancelled();
        feed.state().currentItem = input;
        feed.report();
        sources.push_back(PdfFile::open(input, keepOpen));
        appendAllPages(*merged, *sources.back(), input);
        ++feed.state().itemsDone;
        feed.report();
    }
    if (PdfFile::pageCount(*merged) == 0)
        throw FinderActionExecutionError::commandFailed(tr("所选的 PDF 没有任何页面。"));
    const QString output =
        UniqueName::path(folderOf(pdfs.first()), QStringLiteral("Merged"), QStringLiteral("pdf"));
    // The write copies the pages' contents and takes the longest; its bytes show how far it is, and a stop
    // there leaves no Merged.pdf behind.
    feed.state().currentItem = output;
    feed.report();
    PdfFile::write(*merged, output, PdfFile::Layout::plain, &feed);
    FinderActionExecutor::revealActionResultsIfWanted({output});
    return {output};
}

QStringList PdfActions::splitPDFs(const QStringList& selectedURLs) {
    const QStringList pdfs = pdfInputs(selectedURLs);
    if (pdfs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    // Every input is opened first so that the number of pages to write is known from the start.
    struct Opened {
        QString path;
        std::shared_ptr<QPDF> document;
        std::vector<QPDFPageObjectHelper> pages;
    };
    const bool keepOpen = pdfs.size() <= openSourcesLimit;
    std::vector<Opened> inputs;
    std::optional<QString> firstFailure;
    qint64 pageTotal = 0;
    for (const QString& input : pdfs) {
        try {
            Opened opened{input, PdfFile::open(input, keepOpen), {}};
            opened.pages = QPDFPageDocumentHelper(*opened.document).getAllPages();
            pageTotal += qint64(opened.pages.size());
            inputs.push_back(std::move(opened));
        } catch (const std::exception& error) {
            // An input that cannot be opened is passed over; the others are still split.
            const QString reason = describeError(error);
            DiagnosticLog::append(QStringLiteral("splitPDFs skipped %1: %2").arg(input, reason));
            if (!firstFailure)
                firstFailure = reason;
        }
    }

    ActionProgressFeed feed(tr("拆分 PDF"));
    feed.state().itemsTotal = pageTotal;
    QStringList pageFolders;
    for (Opened& input : inputs) {
        // Each page is written whole under its name or not at all, so a stop between pages leaves the
        // pages written so far and no part of another.
        feed.stopIfCancelled();
        const QString folder =
            UniqueName::path(folderOf(input.path), stemOf(input.path) + QStringLiteral(" Pages"), {});
        makeFolder(folder);
        pageFolders.append(folder);
        for (size_t index = 0; index < input.pages.size(); ++index) {
            if (index > 0)
                feed.stopIfCancelled();
            const QString pagePath = folder + QLatin1Char('/') + pageFileName(int(index) + 1);
            feed.state().currentItem = pagePath;
            feed.report();
            try {
                const std::shared_ptr<QPDF> single = PdfFile::empty();
                QPDFPageDocumentHelper(*single).addPage(input.pages[index], false);
                PdfFile::write(*single, pagePath);
            } catch (const std::exception& error) {
                DiagnosticLog::append(
                    QStringLiteral("splitPDFs could not write %1: %2").arg(pagePath, describeError(error)));
            }
            ++feed.state().itemsDone;
            feed.report();
        }
        // The document and its sources are no longer needed: let go of them (and their files) now.
        input = Opened{};
    }
    // Nothing split at all is not a silent success.
    if (pageFolders.isEmpty() && firstFailure)
        throw FinderActionExecutionError::commandFailed(*firstFailure);
    FinderActionExecutor::revealActionResultsIfWanted(pageFolders);
    return pageFolders;
}

QStringList PdfActions::imagesToPDF(const QStringList& selectedURLs) {
    if (selectedURLs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    FinderActionExecutor::requireRegularFiles(selectedURLs);
    ActionProgressFeed feed(tr("图片转 PDF"));
    feed.state().itemsTotal = selectedURLs.size();
    const QString output =
        UniqueName::path(folderOf(selectedURLs.first()), QStringLiteral("Images"), QStringLiteral("pdf"));
    const auto writeFailed = [&output](const QString& reason) {
        return FinderActionExecutionError::commandFailed(tr("无法写入“%1”：%2").arg(output, reason));
    };
    QSaveFile file(output);
    if (!file.open(QIODevice::WriteOnly))
        throw writeFailed(file.errorString());
    {
        QPdfWriter writer(&file);
        writer.setCreator(QStringLiteral("Kestro"));
        // Drawing in points: each page is the image's printed size, at the resolution the file records.
        writer.setResolution(72);
        writer.setPageMargins(QMarginsF(0, 0, 0, 0));
        QPainter painter;
        for (const QString& input : selectedURLs) {
            // The document is only committed under its name at the end, so any image is a place to stop.
            feed.stopIfCancelled();
            feed.state().currentItem = input;
            feed.report();
            // Images are read one at a time, so memory stays at one image however many are chosen.
            const QImage image = ImageFileIO::load(input);
            const QSizeF points = ImageFileIO::printedSize(image);
            writer.setPageSize(QPageSize(points, QPageSize::Point, QString(), QPageSize::ExactMatch));
            if (!painter.isActive()) {
                if (!painter.begin(&writer))
                    throw writeFailed(tr("无法绘制 PDF 页面"));
            } else if (!writer.newPage()) {
                throw writeFailed(tr("无法添加 PDF 页面"));
            }
            painter.drawImage(QRectF(QPointF(0, 0), points), image);
            ++feed.state().itemsDone;
            feed.report();
        }
        painter.end();
    }
    if (!file.commit())
        throw writeFailed(file.errorString());
    FinderActionExecutor::revealActionResultsIfWanted({output});
    return {output};
}
