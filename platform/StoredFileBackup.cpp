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
    return QFile::copy(original, copy) ? copy : QString();
}
