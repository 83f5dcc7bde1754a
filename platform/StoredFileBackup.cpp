#include "platform/StoredFileBackup.h"

#include "platform/KestroPaths.h"

#include <QFile>
#include <QFileInfo>

QString StoredFileBackup::settingsFilePath(const QString& fileName) {
    return KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName;
}

QString StoredFileBackup::keepCopy(const QString& fileName) {
    const QString original = settingsFilePath(fileName);
    if (!QFileInfo(original).isFile())
        return {};
    const QString base = original + QStringLiteral(".unreadable");
    QString copy = base;
    // An earlier copy is never overwritten.
    for (int number = 2; QFileInfo::exists(copy); ++number)
        copy = base + QLatin1Char(' ') + QString::number(number);
    if (QFile::copy(original, copy))
        return copy;
    // A file this account cannot read cannot be copied, yet writing over it would lose it: it is moved aside
    // whole instead (the folder is ours, the file need not be readable for that).
    return QFile::rename(original, copy) ? copy : QString();
}
