#include "support/PdfSamples.h"

#include <QFile>
#include <QRegularExpression>
#include <QSize>

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

namespace {

// What read gives for each page of the PDF at path, in page order.
template <typename Read> auto eachPage(const QString& path, Read read) {
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.processFile(QFile::encodeName(path).constData());
    QList<decltype(read(std::declval<QPDFPageObjectHelper&>()))> results;
    for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(pdf).getAllPages())
        results.append(read(page));
    return results;
}

QByteArray bytesOf(const std::shared_ptr<Buffer>& buffer) {
    return QByteArray(reinterpret_cast<const char*>(buffer->getBuffer()), qsizetype(buffer->getSize()));
}

} // namespace

QByteArray PdfSamples::document(const QStringList& pageLabels, int padding, Encryption encryption) {
    QPDF pdf;
    pdf.emptyPDF();
    QPDFPageDocumentHelper pages(pdf);
    for (const QString& label : pageLabels) {
        std::string content = "q % page " + label.toStdString() + "\n";
        for (int i = 0; i < padding; ++i)
            content += "0 0 m 100 100 l S\n";
        QPDFObjectHandle page =
            QPDFObjectHandle::parse("<< /Type /Page /MediaBox [0 0 200 300] /Resources << >> >>");
        page.replaceKey("/Contents", QPDFObjectHandle::newStream(&pdf, content + "\nQ\n"));
        pages.addPage(QPDFPageObjectHelper(pdf.makeIndirectObject(page)), false);
    }
    QPDFWriter writer(pdf);
    writer.setOutputMemory();
    writer.setCompressStreams(false);
    if (encryption != Encryption::none)
        writer.setR6EncryptionParameters(encryption == Encryption::userPassword ? "user" : "", "owner", true,
                                         true, true, true, true, true, qpdf_r3p_full, true);
    writer.write();
    return bytesOf(writer.getBufferSharedPointer());
}

QStringList PdfSamples::pageLabels(const QString& path) {
    static const QRegularExpression pattern(QStringLiteral("% page (\\S+)"));
    return eachPage(path, [](QPDFPageObjectHelper& page) {
        Pl_Buffer buffer("contents");
        page.pipeContents(&buffer);
        return pattern.match(QString::fromLatin1(bytesOf(buffer.getBufferSharedPointer()))).captured(1);
    });
}

QList<QSizeF> PdfSamples::pageSizes(const QString& path) {
    return eachPage(path, [](QPDFPageObjectHelper& page) {
        const QPDFObjectHandle::Rectangle box = page.getMediaBox().getArrayAsRectangle();
        return QSizeF(box.urx - box.llx, box.ury - box.lly);
    });
}
