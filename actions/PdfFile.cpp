#include "actions/PdfFile.h"

#include "platform/ActionProgress.h"
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

// Hands qpdf's output to a QSaveFile, counting it. Once the write is stopped the rest is let go unwritten:
// qpdf finishes its pipelines while it unwinds, where nothing may be thrown.
class SaveFilePipeline : public Pipeline {
public:
    explicit SaveFilePipeline(QSaveFile& file)
        : Pipeline("Kestro save file", nullptr)
        , m_file(file) {}
    void write(unsigned char const* data, size_t length) override {
        if (m_stopped)
            return;
        while (length > 0) {
            const qint64 written = m_file.write(reinterpret_cast<const char*>(data), qint64(length));
            if (written <= 0)
                throw std::runtime_error(m_file.errorString().toStdString());
            data += written;
            length -= size_t(written);
            m_written += written;
        }
    }
    void finish() override {}
    qint64 written() const { return m_written; }
    void stop() { m_stopped = true; }
    bool stopped() const { return m_stopped; }

private:
    QSaveFile& m_file;
    qint64 m_written = 0;
    bool m_stopped = false;
};

// Counts what is written so far into the feed and honours a stop the user asked for.
void reportWritten(ActionProgressFeed& feed, qint64 bytesBefore, SaveFilePipeline& pipeline) {
    feed.state().bytesDone = bytesBefore + pipeline.written();
    feed.report();
    try {
        feed.stopIfCancelled();
    } catch (const ActionCancelled&) {
        pipeline.stop();
        throw;
    }
}

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
    // A document with only an owner password opens with the empty user password, as every reader opens
    // it. Re-saving it keeps its encryption and the owner's restrictions (qpdf preserves them); pages taken
    // into a new document come decrypted, as qpdf's own page selection makes them.
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

void PdfFile::write(QPDF& document, const QString& path, Layout layout, ActionProgressFeed* feed) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw FinderActionExecutionError::commandFailed(tr("无法写入“%1”：%2").arg(path, file.errorString()));
    SaveFilePipeline pipeline(file);
    const qint64 bytesBefore = feed ? feed->state().bytesDone : 0;
    try {
        QPDFWriter writer(document);
        writer.setOutputPipeline(&pipeline);
        if (layout == Layout::compressed) {
            writer.setObjectStreamMode(qpdf_o_generate);
            writer.setCompressStreams(true);
            writer.setDecodeLevel(qpdf_dl_generalized);
            // Decoding streams makes qpdf drop the encryption unless it is asked for again; an owner's
            // restrictions stay with the document.
            if (document.isEncrypted())
                writer.copyEncryptionParameters(document);
        }
        // qpdf tells its progress between objects, where it can be left safely.
        if (feed)
            writer.registerProgressReporter(std::make_shared<QPDFWriter::FunctionProgressReporter>(
                [&](int) { reportWritten(*feed, bytesBefore, pipeline); }));
        writer.write();
        if (feed)
            reportWritten(*feed, bytesBefore, pipeline);
    } catch (const std::exception& error) {
        file.cancelWriting();
        if (pipeline.stopped())
            throw ActionCancelled();
        throw FinderActionExecutionError::commandFailed(
            tr("无法写入“%1”：%2").arg(path, QString::fromLocal8Bit(error.what())));
    }
    if (!file.commit())
        throw FinderActionExecutionError::commandFailed(tr("无法写入“%1”：%2").arg(path, file.errorString()));
}
