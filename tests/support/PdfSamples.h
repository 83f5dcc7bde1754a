#pragma once

#include <QByteArray>
#include <QSizeF>
#include <QString>
#include <QStringList>

// Small PDFs built with qpdf for tests, and readers that look inside PDFs written by the code under test.
// Each page carries its label in its content stream ("% page b1"), so page order can be read back.
namespace PdfSamples {

enum class Encryption { none, userPassword, ownerPasswordOnly };

// One page per label; padding adds that many uncompressed drawing lines to each page's content.
QByteArray document(const QStringList& pageLabels, int padding = 0, Encryption encryption = Encryption::none);
// The labels of a PDF's pages in page order; throws on a file qpdf cannot read.
QStringList pageLabels(const QString& path);
QList<QSizeF> pageSizes(const QString& path);

} // namespace PdfSamples
