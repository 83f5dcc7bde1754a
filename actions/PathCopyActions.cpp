#include "actions/PathCopyActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/PathParts.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace {

using PathParts::parentOf;

QString lastComponent(const QString& path) {
    if (path == QLatin1String("/"))
        return path;
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

// A folder's file URL ends in a slash, as the file manager hands folders over.
QString fileURLString(const QString& path) {
    QString url = QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    if (QFileInfo(path).isDir() && !url.endsWith(QLatin1Char('/')))
        url.append(QLatin1Char('/'));
    return url;
}

} // namespace

QString PathCopyActions::line(const QString& item, KestroPathCopyFormat format) {
    const QString path = QDir::cleanPath(item);
    switch (format) {
    case KestroPathCopyFormat::fullPath:
        return path;
    case KestroPathCopyFormat::name:
    case KestroPathCopyFormat::fileNameList:
        return lastComponent(path);
    case KestroPathCopyFormat::parentFolder:
        return parentOf(path);
    case KestroPathCopyFormat::shellEscapedPath:
        return QLatin1Char('\'') + QString(path).replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
               QLatin1Char('\'');
    case KestroPathCopyFormat::markdownLink:
        return QLatin1Char('[') + lastComponent(path) + QStringLiteral("](") + fileURLString(path) +
               QLatin1Char(')');
    }
    return path;
}

void PathCopyActions::copyPaths(const QStringList& selectedURLs, const std::optional<QString>& targetedURL,
                                KestroPathCopyFormat format) {
    const QStringList items = FinderActionExecutor::effectiveURLs(selectedURLs, targetedURL);
    if (items.isEmpty())
        throw FinderActionExecutionError::noSelection();
    QStringList lines;
    lines.reserve(items.size());
    for (const QString& item : items)
        lines.append(line(item, format));
    copyToPasteboard(lines.join(QLatin1Char('\n')));
}

void PathCopyActions::copyToPasteboard(const QString& text) {
    if (!Platform::clipboard().setText(text))
        throw FinderActionExecutionError::pasteboardWriteFailed();
}
