#include "actions/UniqueName.h"

#include "actions/PathParts.h"

#include <QFile>
#include <QSet>

#include <dirent.h>

#include <sys/stat.h>

namespace {
// An existence test on the path itself: a dangling symbolic link still occupies its name.
bool occupied(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

QSet<QString> entryNames(const QString& folder) {
    QSet<QString> names;
    DIR* directory = ::opendir(QFile::encodeName(folder).constData());
    if (!directory)
        return names;
    while (const dirent* entry = ::readdir(directory))
        names.insert(QFile::decodeName(entry->d_name));
    ::closedir(directory);
    return names;
}

using PathParts::joined;
} // namespace

QString UniqueName::path(const QString& folder, const QString& stem, const QString& extension) {
    const QString suffix = extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
    const QString first = joined(folder, stem + suffix);
    if (!occupied(first))
        return first;
    // A folder full of "Untitled n" files would cost one probe per name; one listing answers them all, and
    // the final probe still guards against names the listing could not see.
    const QSet<QString> taken = entryNames(folder);
    for (qint64 n = 2;; ++n) {
        const QString name = stem + QLatin1Char(' ') + QString::number(n) + suffix;
        if (!taken.contains(name) && !occupied(joined(folder, name)))
            return joined(folder, name);
    }
}

std::pair<QString, QString> UniqueName::splitExtension(const QString& itemName) {
    const qsizetype dot = itemName.lastIndexOf(QLatin1Char('.'));
    // A leading dot names a hidden file, not an extension; a trailing dot has no extension after it.
    if (dot <= 0 || dot == itemName.size() - 1)
        return {itemName, QString()};
    return {itemName.left(dot), itemName.mid(dot + 1)};
}

QString UniqueName::pathForItemName(const QString& folder, const QString& itemName) {
    const auto [stem, extension] = splitExtension(itemName);
    return path(folder, stem, extension);
}
