#include "actions/UniqueName.h"

#include <QFileInfo>

#include <sys/stat.h>

namespace {
// An existence test on the path itself: a dangling symbolic link still occupies its name.
bool occupied(const QString& path)
{
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

QString joined(const QString& folder, const QString& name)
{
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}
} // namespace

QString UniqueName::path(const QString& folder, const QString& stem, const QString& extension)
{
    const QString suffix = extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
    QString candidate = joined(folder, stem + suffix);
    for (qint64 n = 2; occupied(candidate); ++n)
        candidate = joined(folder, stem + QLatin1Char(' ') + QString::number(n) + suffix);
    return candidate;
}

std::pair<QString, QString> UniqueName::splitExtension(const QString& itemName)
{
    const qsizetype dot = itemName.lastIndexOf(QLatin1Char('.'));
    // A leading dot names a hidden file, not an extension; a trailing dot has no extension after it.
    if (dot <= 0 || dot == itemName.size() - 1)
        return {itemName, QString()};
    return {itemName.left(dot), itemName.mid(dot + 1)};
}

QString UniqueName::pathForItemName(const QString& folder, const QString& itemName)
{
    const auto [stem, extension] = splitExtension(itemName);
    return path(folder, stem, extension);
}
