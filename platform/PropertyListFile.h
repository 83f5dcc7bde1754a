#pragma once

#include <functional>

#include <optional>
#include <QString>
#include <QVariant>

// Property lists on disk through libplist. Reading takes XML or binary; writing produces XML.
// Values map to QVariant: dictionaries to QVariantMap, arrays to QVariantList, strings, booleans,
// integers (qint64), reals, dates (QDateTime) and data (QByteArray).
class PropertyListFile {
public:
    // The parsed top-level value, or nothing when the file is missing, unreadable or not a property list.
    static std::optional<QVariant> read(const QString& path);
    static std::optional<QVariant> parse(const QByteArray& bytes);
    static QByteArray toXml(const QVariant& value);
    // Creates the folder, then writes atomically (temporary file, then rename). False on any failure.
    static bool write(const QString& path, const QVariant& value);
    // The same for bytes already serialised, so that two copies are serialised once.
    static bool writeBytes(const QString& path, const QByteArray& bytes);
    // Writes the same bytes to the application's folder and the extension's folder under fileName.
    // True when the first (the one that is read back) was written.
    static bool writeBothCopies(const QString& fileName, const QVariant& value);
    // Called, on the writing thread, whenever a file cannot be written, with its path and the reason: the
    // host tells the user. One observer; an empty function removes it.
    static void
    setWriteFailureObserver(std::function<void(const QString& path, const QString& reason)> observer);
};
