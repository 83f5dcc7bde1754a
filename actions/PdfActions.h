#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Merging, splitting and compressing PDFs, and images to PDF.
class PdfActions {
public:
    static QStringList mergePDFs(const QStringList& selectedURLs);
    static QStringList splitPDFs(const QStringList& selectedURLs);
    static QStringList imagesToPDF(const QStringList& selectedURLs);
    static QStringList compressPDFs(const QStringList& selectedURLs);
};
