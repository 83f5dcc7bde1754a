#pragma once

#include <QList>
#include <QString>
#include <utility>

// Minimal Office Open XML packages (.docx, .xlsx, .pptx): the parts are written into a staging folder
// and zipped with the system zip tool.
class KestroOfficeDocumentWriter {
public:
    enum class Kind { docx, xlsx, pptx };
    using Entry = std::pair<QString, QString>; // path inside the package, UTF-8 text of the part

    static QList<Entry> entries(Kind kind);
    static void runZip(const QString& stagingDirectory, const QString& destination);
    static void write(Kind kind, const QString& destination);

    // The zip tool; tests stand a failing one in for it.
    static QString zipPath();
    static void setZipPath(const QString& path);
};
