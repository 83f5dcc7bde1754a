#include "actions/PdfFile.h"

#include "platform/FinderActionExecutionError.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <qpdf/ClosedFileInputSource.hh>
#include <qpdf/FileInputSource.hh>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("PdfFile", text);
}

// Hands qpdf's output to a QSaveFile.
class SaveFilePipeline : public Pipeline {
public:
    explicit SaveFilePipeline(QSaveFile& file)
        : Pipeline("Kestro save file", nullptr)
        , m_file(file) {}
    void write(unsigned char const* data, size_t length) override {
        while (length > 0) {
            const qint64 written = m_file.write(reinterpret_cast<const char*>(data), qint64(length));
            if (written <= 0)
                throw std::runtime_error(m_file.errorString().toStdString());
            data += written;
            length -= size_t(written);
        }
    }
    void finish() override {}

private:
    QSaveFile& m_file;
};

} // namespace

std::shared_ptr<QPDF> PdfFile::open(const QString& path, bool keepOpen) {
    const QFileInfo info(path);
    if (!info.exists())
        throw FinderActionExecutionError::sourceItemMissing(path);
    if (!info.isFile())
        throw FinderActionExecutionError::commandFailed(tr("“%1”不是 PDF 文件。").arg(path));
    auto document = std::make_shared<QPDF>();
    document->setSuppressWarnings(true);
    const QByteArray name = QFile::encodeName(path);
    try {
        if (keepOpen) {
            auto source = std::make_shared<FileInputSource>();
            source->setFilename(name.constData());
            document->processInputSource(source);
        } else {
            document->processInputSource(std::make_shared<ClosedFileInputSource>(name.constData()));
        }
    } catch (const QPDFExc& error) {
        if (error.getErrorCode() == qpdf_e_password)
            throw FinderActionExecutionError::commandFailed(
                tr("PDF“%1”已加密，需要密码才能打开。").arg(path));
        throw FinderActionExecutionError::commandFailed(
            tr("无法打开 PDF“%1”：%2").arg(path, QString::fromStdString(error.getMessageDetail())));
    } catch (const std::exception& error) {
        throw FinderActionExecutionError::commandFailed(
            tr("无法打开 PDF“%1”：%2").arg(path, QString::fromLocal8Bit(error.what())));
    }
    // A document that opens without a password may still carry restrictions its owner set; writing it
    // out again would silently drop them, so encrypted documents are left alone.
    if (document->isEncrypted())
        throw FinderActionExecutionError::commandFailed(tr("PDF“%1”已加密，无法处理。").arg(path));
    return document;
}

std::shared_ptr<QPDF> PdfFile::empty() {
    auto document = std::make_shared<QPDF>();
    document->setSuppressWarnings(true);
    document->emptyPDF();
    return document;
}

int PdfFile::pageCount(QPDF& document) {
    return int(QPDFPageDocumentHelper(document).getAllPages().size());
}

void PdfFile::appendAllPages(QPDF& document, QPDF& source) {
    QPDFPageDocumentHelper target(document);
    for (const QPDFPageObjectHelper& page : QPDFPageDocumentHelper(source).getAllPages())
        target.addPage(page, false);
}

void PdfFile::write(QPDF& document, const QString& path, Layout layout) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw FinderActionExecutionError::commandFailed(tr("无法写入“%1”：%2").arg(path, file.errorString()));
    try {
        SaveFilePipeline pipeline(file);
        QPDFWriter writer(document);
        writer.setOutputPipeline(&pipeline);
        if (layout == Layout::compressed) {
            writer.setObjectStreamMode(qpdf_o_generate);
            writer.setCompressStreams(true);
            writer.setDecodeLevel(qpdf_dl_generalized);
        }
        writer.write();
    } catch (const std::exception& error) {
        file.cancelWriting();
        throw FinderActionExecutionError::commandFailed(
            tr("无法写入“%1”：%2").arg(path, QString::fromLocal8Bit(error.what())));
    }
    if (!file.commit())
        throw FinderActionExecutionError::commandFailed(tr("无法写入“%1”：%2").arg(path, file.errorString()));
}
