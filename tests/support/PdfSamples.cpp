#include "support/PdfSamples.h"

#include <QFile>
#include <QRegularExpression>
#include <QSize>

#include <functional>

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

namespace {

std::vector<QPDFPageObjectHelper> pagesOf(QPDF& pdf, const QString& path) {
    pdf.setSuppressWarnings(true);
    pdf.processFile(QFile::encodeName(path).constData());
    return QPDFPageDocumentHelper(pdf).getAllPages();
}

} // namespace

namespace {

// One page per label, each drawing what body gives for it.
QByteArray build(const QStringList& pageLabels, const std::function<std::string()>& body,
                 PdfSamples::Encryption encryption) {
    QPDF pdf;
    pdf.emptyPDF();
    QPDFPageDocumentHelper pages(pdf);
    for (const QString& label : pageLabels) {
        const std::string content = "q % page " + label.toStdString() + "\n" + body() + "Q\n";
        QPDFObjectHandle page =
            QPDFObjectHandle::parse("<< /Type /Page /MediaBox [0 0 200 300] /Resources << >> >>");
        page.replaceKey("/Contents", QPDFObjectHandle::newStream(&pdf, content));
        pages.addPage(QPDFPageObjectHelper(pdf.makeIndirectObject(page)), false);
    }
    QPDFWriter writer(pdf);
    writer.setOutputMemory();
    writer.setCompressStreams(false);
    if (encryption != PdfSamples::Encryption::none)
        writer.setR6EncryptionParameters(encryption == PdfSamples::Encryption::userPassword ? "user" : "",
                                         "owner", true, true, true, true, true, true, qpdf_r3p_full, true);
    writer.write();
    const std::shared_ptr<Buffer> buffer = writer.getBufferSharedPointer();
    return QByteArray(reinterpret_cast<const char*>(buffer->getBuffer()), qsizetype(buffer->getSize()));
}

} // namespace

QByteArray PdfSamples::document(const QStringList& pageLabels, int padding, Encryption encryption) {
    return build(
        pageLabels,
        [padding] {
            std::string lines;
            for (int i = 0; i < padding; ++i)
                lines += "0 0 m 100 100 l S\n";
            return lines;
        },
        encryption);
}

QByteArray PdfSamples::noisyDocument(const QStringList& pageLabels, int noiseBytes) {
    quint32 state = 2463534242u;
    return build(
        pageLabels,
        [&] {
            // A comment of printable noise: the page draws nothing more, and no compressor shrinks it.
            std::string comment = "% ";
            for (int i = 0; i < noiseBytes; ++i) {
                state ^= state << 13;
                state ^= state >> 17;
                state ^= state << 5;
                comment += char('!' + state % 94);
            }
            return comment + "\n";
        },
        Encryption::none);
}

QStringList PdfSamples::pageLabels(const QString& path) {
    QPDF pdf;
    QStringList labels;
    static const QRegularExpression pattern(QStringLiteral("% page (\\S+)"));
    for (QPDFPageObjectHelper& page : pagesOf(pdf, path)) {
        Pl_Buffer buffer("contents");
        page.pipeContents(&buffer);
        const std::shared_ptr<Buffer> bytes = buffer.getBufferSharedPointer();
        const QString text = QString::fromLatin1(reinterpret_cast<const char*>(bytes->getBuffer()),
                                                 qsizetype(bytes->getSize()));
        const QRegularExpressionMatch match = pattern.match(text);
        labels.append(match.hasMatch() ? match.captured(1) : QString());
    }
    return labels;
}

QList<QSizeF> PdfSamples::pageSizes(const QString& path) {
    QPDF pdf;
    QList<QSizeF> sizes;
    for (QPDFPageObjectHelper& page : pagesOf(pdf, path)) {
        const QPDFObjectHandle::Rectangle box = page.getMediaBox().getArrayAsRectangle();
        sizes.append(QSizeF(box.urx - box.llx, box.ury - box.lly));
    }
    return sizes;
}

QList<QList<QSize>> PdfSamples::pageImageSizes(const QString& path) {
    QPDF pdf;
    QList<QList<QSize>> result;
    for (QPDFPageObjectHelper& page : pagesOf(pdf, path)) {
        QList<QSize> sizes;
        for (auto& [name, image] : page.getImages()) {
            QPDFObjectHandle dictionary = image.getDict();
            sizes.append(QSize(dictionary.getKey("/Width").getIntValueAsInt(),
                               dictionary.getKey("/Height").getIntValueAsInt()));
        }
        result.append(sizes);
    }
    return result;
}

bool PdfSamples::hasObjectStreams(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll().contains("/ObjStm");
}

bool PdfSamples::isEncrypted(const QString& path) {
    QPDF pdf;
    pdf.processFile(QFile::encodeName(path).constData());
    return pdf.isEncrypted();
}
