#include "actions/PathParts.h"

QString PathParts::parentOf(const QString& path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : path.left(slash);
}

QString PathParts::nameOf(const QString& path) {
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString PathParts::folderNameOf(const QString& path) {
    qsizetype end = path.size();
    while (end > 0 && path.at(end - 1) == QLatin1Char('/'))
        --end;
    return nameOf(path.left(end));
}

QString PathParts::joined(const QString& folder, const QString& name) {
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}
