#include "actions/KestroOfficeDocumentWriter.h"

#include "actions/AtomicFileWriter.h"
#include "actions/ZipWriter.h"

#include <QStringList>

#include <ctime>

namespace {

const QString declaration = QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)");

// A part: the declaration line, then the body lines, joined by line feeds with no final one.
QString part(std::initializer_list<QString> lines) {
    QStringList all{declaration};
    for (const QString& line : lines)
        all.append(line);
    return all.join(QLatin1Char('\n'));
}

QString indented(const QString& line) {
    return QStringLiteral("  ") + line;
}

QString contentTypes(const QStringList& overrides) {
    QStringList lines{
        QStringLiteral(R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"),
        indented(QStringLiteral(
            R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)")),
        indented(QStringLiteral(R"(<Default Extension="xml" ContentType="application/xml"/>)"))};
    const QStringList all =
        overrides +
        QStringList{
            QStringLiteral(
                R"(<Override PartName="/docProps/core.xml" ContentType="application/vnd.openxmlformats-package.core-properties+xml"/>)"),
            QStringLiteral(
                R"(<Override PartName="/docProps/app.xml" ContentType="application/vnd.openxmlformats-officedocument.extended-properties+xml"/>)")};
    for (const QString& line : all)
        lines.append(indented(line));
    lines.append(QStringLiteral("</Types>"));
    return declaration + QLatin1Char('\n') + lines.join(QLatin1Char('\n'));
}

QString relationships(const QStringList& relationshipLines) {
    QStringList lines{QStringLiteral(
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)")};
    for (const QString& line : relationshipLines)
        lines.append(indented(line));
    lines.append(QStringLiteral("</Relationships>"));
    return declaration + QLatin1Char('\n') + lines.join(QLatin1Char('\n'));
}

QString relationship(const char* id, const char* type, const QString& target) {
    return QStringLiteral(R"(<Relationship Id="%1" Type="%2" Target="%3"/>)")
        .arg(QLatin1String(id), QLatin1String(type), target);
}

QString packageRelationships(const QString& mainPart) {
    return relationships(
        {relationship("rId1",
                      "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument",
                      mainPart),
         relationship("rId2",
                      "http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties",
                      QStringLiteral("docProps/core.xml")),
         relationship(
             "rId3",
             "http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties",
             QStringLiteral("docProps/app.xml"))});
}

QString coreProperties() {
    return part(
        {QStringLiteral(
             R"(<cp:coreProperties xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">)"),
         indented(QStringLiteral("<dc:creator>Kestro</dc:creator>")),
         indented(QStringLiteral("<cp:lastModifiedBy>Kestro</cp:lastModifiedBy>")),
         indented(QStringLiteral(
             R"(<dcterms:created xsi:type="dcterms:W3CDTF">2026-01-01T00:00:00Z</dcterms:created>)")),
         indented(QStringLiteral(
             R"(<dcterms:modified xsi:type="dcterms:W3CDTF">2026-01-01T00:00:00Z</dcterms:modified>)")),
         QStringLiteral("</cp:coreProperties>")});
}

QString appProperties(const QString& heading) {
    const QString opening =
        declaration + QLatin1Char('\n') +
        QStringLiteral(
            R"(<Properties xmlns="http://schemas.openxmlformats.org/officeDocument/2006/extended-properties" xmlns:vt="http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes">)") +
        QLatin1Char('\n') + indented(QStringLiteral("<Application>"));
    const QStringList middle{
        QStringLiteral("<DocSecurity>0</DocSecurity>"),
        QStringLiteral("<ScaleCrop>false</ScaleCrop>"),
        QStringLiteral("<Company></Company>"),
        QStringLiteral("<LinksUpToDate>false</LinksUpToDate>"),
        QStringLiteral("<SharedDoc>false</SharedDoc>"),
        QStringLiteral("<HyperlinksChanged>false</HyperlinksChanged>"),
        QStringLiteral("<AppVersion>1.0</AppVersion>"),
        QStringLiteral(R"(<HeadingPairs><vt:vector size="2" baseType="variant"><vt:variant><vt:lpstr>)")};
    QString closing = QStringLiteral("</Application>");
    for (const QString& line : middle)
        closing += QLatin1Char('\n') + indented(line);
    const QString tail = QStringLiteral("</vt:lpstr></vt:variant><vt:variant><vt:i4>1</vt:i4></vt:variant></"
                                        "vt:vector></HeadingPairs>\n</Properties>");
    return opening + QStringLiteral("Kestro") + closing + heading + tail;
}

} // namespace

QList<KestroOfficeDocumentWriter::Entry> KestroOfficeDocumentWriter::entries(Kind kind) {
    switch (kind) {
    case Kind::docx:
        return {
            {QStringLiteral("[Content_Types].xml"),
             contentTypes({QStringLiteral(
                 R"(<Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/>)")})},
            {QStringLiteral("_rels/.rels"), packageRelationships(QStringLiteral("word/document.xml"))},
            {QStringLiteral("word/document.xml"),
             part(
                 {QStringLiteral(
                      R"(<w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main">)"),
                  indented(QStringLiteral("<w:body><w:p/><w:sectPr/></w:body>")),
                  QStringLiteral("</w:document>")})},
            {QStringLiteral("docProps/core.xml"), coreProperties()},
            {QStringLiteral("docProps/app.xml"), appProperties(QStringLiteral("Document"))},
        };
    case Kind::xlsx:
        return {
            {QStringLiteral("[Content_Types].xml"),
             contentTypes(
                 {QStringLiteral(
                      R"(<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>)"),
                  QStringLiteral(
                      R"(<Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>)")})},
            {QStringLiteral("_rels/.rels"), packageRelationships(QStringLiteral("xl/workbook.xml"))},
            {QStringLiteral("xl/workbook.xml"),
             part(
                 {QStringLiteral(
                      R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">)"),
                  indented(
                      QStringLiteral(R"(<sheets><sheet name="Sheet1" sheetId="1" r:id="rId1"/></sheets>)")),
                  QStringLiteral("</workbook>")})},
            {QStringLiteral("xl/_rels/workbook.xml.rels"),
             relationships({relationship(
                 "rId1", "http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet",
                 QStringLiteral("worksheets/sheet1.xml"))})},
            {QStringLiteral("xl/worksheets/sheet1.xml"),
             part({QStringLiteral(
                       R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)"),
                   indented(QStringLiteral("<sheetData/>")), QStringLiteral("</worksheet>")})},
            {QStringLiteral("docProps/core.xml"), coreProperties()},
            {QStringLiteral("docProps/app.xml"), appProperties(QStringLiteral("Workbook"))},
        };
    case Kind::pptx:
        break;
    }
    return {
        {QStringLiteral("[Content_Types].xml"),
         contentTypes(
             {QStringLiteral(
                  R"(<Override PartName="/ppt/presentation.xml" ContentType="application/vnd.openxmlformats-officedocument.presentationml.presentation.main+xml"/>)"),
              QStringLiteral(
                  R"(<Override PartName="/ppt/slides/slide1.xml" ContentType="application/vnd.openxmlformats-officedocument.presentationml.slide+xml"/>)")})},
        {QStringLiteral("_rels/.rels"), packageRelationships(QStringLiteral("ppt/presentation.xml"))},
        {QStringLiteral("ppt/presentation.xml"),
         part(
             {QStringLiteral(
                  R"(<p:presentation xmlns:p="http://schemas.openxmlformats.org/presentationml/2006/main" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">)"),
              indented(QStringLiteral(R"(<p:sldIdLst><p:sldId id="256" r:id="rId1"/></p:sldIdLst>)")),
              indented(QStringLiteral(R"(<p:sldSz cx="9144000" cy="6858000" type="screen4x3"/>)")),
              indented(QStringLiteral(R"(<p:notesSz cx="6858000" cy="9144000"/>)")),
              QStringLiteral("</p:presentation>")})},
        {QStringLiteral("ppt/_rels/presentation.xml.rels"),
         relationships({relationship(
             "rId1", "http://schemas.openxmlformats.org/officeDocument/2006/relationships/slide",
             QStringLiteral("slides/slide1.xml"))})},
        {QStringLiteral("ppt/slides/slide1.xml"),
         part(
             {QStringLiteral(
                  R"(<p:sld xmlns:p="http://schemas.openxmlformats.org/presentationml/2006/main" xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main">)"),
              indented(QStringLiteral(
                  R"(<p:cSld><p:spTree><p:nvGrpSpPr><p:cNvPr id="1" name=""/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr><a:xfrm><a:off x="0" y="0"/><a:ext cx="0" cy="0"/><a:chOff x="0" y="0"/><a:chExt cx="0" cy="0"/></a:xfrm></p:grpSpPr></p:spTree></p:cSld>)")),
              QStringLiteral("</p:sld>")})},
        {QStringLiteral("docProps/core.xml"), coreProperties()},
        {QStringLiteral("docProps/app.xml"), appProperties(QStringLiteral("Presentation"))},
    };
}

QByteArray KestroOfficeDocumentWriter::package(Kind kind) {
    QByteArray bytes;
    ZipWriter zip(&bytes, QStringLiteral("Office"));
    const time_t now = std::time(nullptr);
    for (const auto& [path, text] : entries(kind))
        zip.addFile(path.toUtf8(), text.toUtf8(), 0644, now);
    zip.finish();
    return bytes;
}

void KestroOfficeDocumentWriter::write(Kind kind, const QString& destination) {
    AtomicFileWriter::writeNewFile(destination, package(kind));
}
