#include "stores/DesktopEntryName.h"

#include <QFile>
#include <QHash>

QString DesktopEntryName::read(const QString& path) {
    return nameIn(mainGroup(path));
}

QHash<QString, QString> DesktopEntryName::mainGroup(const QString& path) {
    QFile file(path);
    // A desktop entry is a few kilobytes; anything far larger is not one.
    if (!file.open(QIODevice::ReadOnly) || file.size() > 1024 * 1024)
        return {};
    QHash<QString, QString> keys;
    bool inMainGroup = false;
    for (const QByteArray& rawLine : file.readAll().split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (!inMainGroup || equals <= 0 || line.startsWith(QLatin1Char('#')))
            continue;
        const QString key = line.left(equals).trimmed();
        if (!keys.contains(key))
            keys.insert(key, line.mid(equals + 1).trimmed());
    }
    return keys;
}

QString DesktopEntryName::nameIn(const QHash<QString, QString>& keys) {
    for (const char* key : {"Name[zh_CN]", "Name[zh]", "Name"}) {
        const QString name = keys.value(QString::fromLatin1(key));
        if (!name.isEmpty())
            return name;
    }
    return {};
}
