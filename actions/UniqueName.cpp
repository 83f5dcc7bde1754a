#include "actions/UniqueName.h"

#include "actions/PathParts.h"

#include <QFile>
#include <QSet>

#include <optional>
#include <utility>

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

QString UniqueName::firstFreeName(const QString& stem, const QString& extension,
                                  const std::function<bool(const QString&)>& taken) {
    const QString suffix = extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
    if (!taken(stem + suffix))
        return stem + suffix;
    for (qint64 n = 2;; ++n) {
        const QString name = stem + QLatin1Char(' ') + QString::number(n) + suffix;
        if (!taken(name))
            return name;
    }
}

QString UniqueName::path(const QString& folder, const QString& stem, const QString& extension) {
    // A folder full of "Untitled n" files would cost one probe per name; one listing answers them all, and
    // a probe still guards against names the listing could not see.
    std::optional<QSet<QString>> listing;
    bool first = true;
    return joined(folder, firstFreeName(stem, extension, [&](const QString& name) {
                      if (std::exchange(first, false))
                          return occupied(joined(folder, name));
                      if (!listing)
                          listing = entryNames(folder);
                      return listing->contains(name) || occupied(joined(folder, name));
                  }));
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
