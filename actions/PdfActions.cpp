#include "actions/PdfActions.h"

#include "actions/FamilyNotBuilt.h"

QStringList PdfActions::mergePDFs(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList PdfActions::splitPDFs(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList PdfActions::imagesToPDF(const QStringList&)
{
    throw FamilyNotBuilt();
}

QStringList PdfActions::compressPDFs(const QStringList&)
{
    throw FamilyNotBuilt();
}
