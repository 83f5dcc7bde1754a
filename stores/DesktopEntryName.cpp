#include "stores/DesktopEntryName.h"

#include <QFile>
#include <QHash>

QString DesktopEntryName::read(const QString& path) {
    QFile file(path);
    // A desktop entry is a few kilobytes; anything far larger is not one.
    if (!file.open(QIODevice::ReadOnly) || file.size() > 1024 * 1024)
        return {};
    QHash<QString, QString> names;
    bool inMainGroup = false;
    for (const QByteArray& rawLine : file.readAll().split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        if (!inMainGroup || !line.startsWith(QLatin1String("Name")))
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        if (!names.contains(key))
            names.insert(key, line.mid(equals + 1).trimmed());
    }
    for (const char* key : {"Name[zh_CN]", "Name[zh]", "Name"}) {
        const QString name = names.value(QString::fromLatin1(key));
        if (!name.isEmpty())
            return name;
    }
    return {};
}
