#include "actions/KestroFileTemplate.h"

#include "actions/AtomicFileWriter.h"
#include "actions/KestroOfficeDocumentWriter.h"
#include "platform/KestroError.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

namespace {

struct Row {
    const char* actionID;
    const char* baseName;
    const char* extension;
    const char* contents;
};

// In case order. RTF keeps its four backslash-n pairs literally: the file is one 60-byte line.
const Row rows[] = {
    {"createTextFile", "Untitled", "txt", ""},
    {"createRTFDocument", "Untitled", "rtf",
     R"({\rtf1\ansi\deff0\n{\fonttbl{\f0 Helvetica;}}\n\f0\fs24\n}\n)"},
    {"createMarkdownFile", "Untitled", "md", "# Untitled\n"},
    {"createWordDocument", "Untitled", "docx", ""},
    {"createExcelSpreadsheet", "Untitled", "xlsx", ""},
    {"createPowerPointPresentation", "Untitled", "pptx", ""},
    {"createPDFDocument", "Untitled", "pdf", ""},
    {"createCSVFile", "Untitled", "csv", "Name,Value\n"},
    {"createJSONFile", "Untitled", "json", "{\n  \n}\n"},
    {"createXMLFile", "Untitled", "xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n</root>"},
    {"createYAMLFile", "Untitled", "yaml", "# Untitled\n"},
    {"createPNGImage", "Untitled", "png", ""},
    {"createJPEGImage", "Untitled", "jpg", ""},
    {"createSwiftFile", "Untitled", "swift", "import Foundation\n"},
    {"createReadmeFile", "README", "md", "# README\n"},
    {"createHTMLFile", "Untitled", "html",
     "<!doctype html>\n<html lang=\"en\">\n<head>\n    <meta charset=\"utf-8\">\n"
     "    <meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
     "    <title>Untitled</title>\n</head>\n<body>\n</body>\n</html>"},
    {"createCSSFile", "Untitled", "css", ""},
    {"createJavaScriptFile", "Untitled", "js", ""},
    {"createPythonFile", "Untitled", "py", "#!/usr/bin/env python3\n\n"},
    {"createShellFile", "Untitled", "sh", "#!/bin/sh\n\n"},
    {"createGitignoreFile", ".gitignore", "", ".DS_Store\n.env\nnode_modules/\n.build/\nDerivedData/"},
};

const Row& rowOf(KestroFileTemplate::Case templateCase) {
    return rows[int(templateCase)];
}

void writeAtomically(const QString& path, const QByteArray& bytes) {
    AtomicFileWriter::writeNewFile(path, bytes);
}

} // namespace

QList<KestroFileTemplate> KestroFileTemplate::all() {
    QList<KestroFileTemplate> templates;
    for (int number = 0; number < int(std::size(rows)); ++number)
        templates.append(KestroFileTemplate(Case(number)));
    return templates;
}

QString KestroFileTemplate::actionID() const {
    return QString::fromLatin1(rowOf(m_case).actionID);
}
QString KestroFileTemplate::baseName() const {
    return QString::fromLatin1(rowOf(m_case).baseName);
}
QString KestroFileTemplate::pathExtension() const {
    return QString::fromLatin1(rowOf(m_case).extension);
}
QString KestroFileTemplate::initialContents() const {
    return QString::fromUtf8(rowOf(m_case).contents);
}

void KestroFileTemplate::write(const QString& path) const {
    switch (m_case) {
    case Case::word:
        return KestroOfficeDocumentWriter::write(KestroOfficeDocumentWriter::Kind::docx, path);
    case Case::excel:
        return KestroOfficeDocumentWriter::write(KestroOfficeDocumentWriter::Kind::xlsx, path);
    case Case::powerPoint:
        return KestroOfficeDocumentWriter::write(KestroOfficeDocumentWriter::Kind::pptx, path);
    case Case::pdf:
        return writeAtomically(path, blankPDFData());
    case Case::png:
        return writeAtomically(path, blankImageData("PNG"));
    case Case::jpg:
        return writeAtomically(path, blankImageData("JPEG"));
    default:
        return writeAtomically(path, initialContents().toUtf8());
    }
}

QByteArray KestroFileTemplate::blankPDFData() {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setPageSize(QPageSize(QSizeF(612, 792), QPageSize::Point, QString(), QPageSize::ExactMatch));
        writer.setPageMargins(QMarginsF(0, 0, 0, 0));
        writer.setCreator(QStringLiteral("Kestro"));
        QPainter painter;
        // One page with nothing drawn on it.
        if (!painter.begin(&writer))
            throw PlatformError(QStringLiteral("无法生成空白 PDF。"));
        painter.end();
    }
    if (bytes.isEmpty())
        throw PlatformError(QStringLiteral("无法生成空白 PDF。"));
    return bytes;
}

QByteArray KestroFileTemplate::blankImageData(const char* format) {
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(QColor(255, 255, 255, 255));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (!writer.write(image))
        throw PlatformError(QStringLiteral("无法生成空白图片：%1").arg(writer.errorString()));
    return bytes;
}
