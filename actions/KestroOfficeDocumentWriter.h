#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <utility>

// Minimal Office Open XML packages (.docx, .xlsx, .pptx): the parts are deflated into a ZIP container in
// memory, in list order and without folder entries, and the finished package is written as a new file.
class KestroOfficeDocumentWriter {
public:
    enum class Kind { docx, xlsx, pptx };
    using Entry = std::pair<QString, QString>; // path inside the package, UTF-8 text of the part

    static QList<Entry> entries(Kind kind);
    // The whole package as it is written to disk.
    static QByteArray package(Kind kind);
    // Never replaces an item at destination; nothing is left behind on failure.
    static void write(Kind kind, const QString& destination);
};
