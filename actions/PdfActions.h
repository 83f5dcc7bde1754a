#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// Merging, splitting and compressing PDFs with qpdf, and one PDF made of images with Qt's PDF writer.
// Results go beside the inputs under the unique-name rule; no input is ever changed.
class PdfActions {
public:
    static QStringList mergePDFs(const QStringList& selectedURLs);
    static QStringList splitPDFs(const QStringList& selectedURLs);
    static QStringList imagesToPDF(const QStringList& selectedURLs);
    static QStringList compressPDFs(const QStringList& selectedURLs);

    // The inputs whose extension is "pdf" in any case, in selection order.
    static QStringList pdfInputs(const QStringList& selectedURLs);
    // "Page 001.pdf", "Page 002.pdf", ..., "Page 1000.pdf".
    static QString pageFileName(int pageNumber);
};
