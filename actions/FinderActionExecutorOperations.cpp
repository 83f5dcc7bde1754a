// The shared operations of the executor: resolving inputs, prompts, revealing results, path text.
#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace {

bool isDirectory(const QString& path) {
    return QFileInfo(path).isDir();
}

QString parentOf(const QString& path) {
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/')))
        trimmed.chop(1);
    const qsizetype slash = trimmed.lastIndexOf(QLatin1Char('/'));
    if (slash <= 0)
        return QStringLiteral("/");
    return trimmed.left(slash);
}

QString directoryFor(const QString& path) {
    return isDirectory(path) ? path : parentOf(path);
}

// A path whose item exists, symbolic links included even when they dangle.
bool itemExists(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

QString FinderActionExecutor::targetDirectory(const QStringList& selectedURLs,
                                              const std::optional<QString>& targetedURL) {
    // An empty path names no place at all; it must not fall back to the root folder.
    if (!selectedURLs.isEmpty() && !selectedURLs.first().isEmpty())
        return directoryFor(selectedURLs.first());
    if (selectedURLs.isEmpty() && targetedURL && !targetedURL->isEmpty())
        return directoryFor(*targetedURL);
    throw FinderActionExecutionError::noTargetDirectory();
}

QStringList FinderActionExecutor::effectiveURLs(const QStringList& selectedURLs,
                                                const std::optional<QString>& targetedURL) {
    if (!selectedURLs.isEmpty())
        return selectedURLs;
    if (targetedURL)
        return {*targetedURL};
    return {};
}

QStringList FinderActionExecutor::validatedSourceURLs(const QStringList& urls) {
    if (urls.isEmpty())
        throw FinderActionExecutionError::noSelection();
    QStringList standardized;
    standardized.reserve(urls.size());
    for (const QString& url : urls) {
        const QString path = QDir::cleanPath(url);
        if (!itemExists(path))
            throw FinderActionExecutionError::sourceItemMissing(path);
        standardized.append(path);
    }
    return standardized;
}

QString FinderActionExecutor::standardDirectory(StandardDirectory directory) {
    // The numbers are the search-path codes the message has always shown on macOS.
    const auto [location, code] = [directory]() -> std::pair<QStandardPaths::StandardLocation, int> {
        switch (directory) {
        case StandardDirectory::desktop:
            return {QStandardPaths::DesktopLocation, 12};
        case StandardDirectory::downloads:
            return {QStandardPaths::DownloadLocation, 15};
        case StandardDirectory::documents:
            break;
        }
        return {QStandardPaths::DocumentsLocation, 9};
    }();
    const QString path = QStandardPaths::writableLocation(location);
    if (path.isEmpty())
        throw FinderActionExecutionError::destinationDirectoryUnavailable(QString::number(code));
    return path;
}

std::optional<QString> FinderActionExecutor::chooseDestinationDirectory(const QString& prompt) {
    std::optional<QString> answer;
    runOnMainThread([&] { answer = Platform::prompts().chooseDirectory(prompt); });
    return answer;
}

std::optional<QString> FinderActionExecutor::promptText(const QString& title, const QString& message) {
    std::optional<QString> answer;
    runOnMainThread([&] { answer = Platform::prompts().promptText(title, message); });
    return answer;
}

std::optional<std::pair<QString, QString>> FinderActionExecutor::promptTwoTexts(const QString& title,
                                                                                const QString& message,
                                                                                const QString& firstHint,
                                                                                const QString& secondHint) {
    std::optional<std::pair<QString, QString>> answer;
    runOnMainThread(
        [&] { answer = Platform::prompts().promptTwoTexts(title, message, firstHint, secondHint); });
    return answer;
}

void FinderActionExecutor::revealInFinder(const QStringList& urls) {
    if (urls.isEmpty())
        throw FinderActionExecutionError::noSelection();
    Platform::workspace().selectItems(urls);
}

void FinderActionExecutor::revealURLInFinder(const QString& url) {
    if (isDirectory(url))
        Platform::workspace().openUrl(QUrl::fromLocalFile(url));
    else
        Platform::workspace().selectItems({url});
}

void FinderActionExecutor::revealURLsInFinder(const QStringList& urls) {
    QStringList items;
    for (const QString& url : urls) {
        if (isDirectory(url))
            Platform::workspace().openUrl(QUrl::fromLocalFile(url));
        else
            items.append(url);
    }
    if (!items.isEmpty())
        Platform::workspace().selectItems(items);
}

// An action's results are selected in the user's own file manager, folders too: opening their folder would
// start a new window of the default file manager on a folder that is usually in view already.
void FinderActionExecutor::selectResults(const QStringList& urls) {
    QStringList items;
    for (const QString& url : urls) {
        if (QFileInfo::exists(url))
            items.append(QDir::cleanPath(url));
    }
    items.removeDuplicates();
    if (!items.isEmpty())
        Platform::workspace().selectItems(items);
}

void FinderActionExecutor::revealCreatedItemsIfWanted(const QStringList& urls) {
    if (AppPreferencesPersistence::load().revealCreatedItems)
        selectResults(urls);
}

void FinderActionExecutor::revealActionResultsIfWanted(const QStringList& urls) {
    if (AppPreferencesPersistence::load().revealActionResults)
        selectResults(urls);
}

QString FinderActionExecutor::checkedRequestPath(const QString& text) {
    if (!text.startsWith(QLatin1Char('/')) || text.contains(QChar(0)))
        throw FinderActionExecutionError::invalidPath(DiagnosticLog::escapedText(text));
    QString trimmed = text;
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/')))
        trimmed.chop(1);
    const QStringList components = trimmed.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const auto dotted = [](const QString& component) {
        return component == QLatin1String(".") || component == QLatin1String("..");
    };
    if (std::none_of(components.cbegin(), components.cend(), dotted))
        return QDir::cleanPath(trimmed); // only doubled slashes go
    // The item itself may be a link (renaming or trashing it must touch the link), so only the folder it
    // sits in is resolved, unless the last component is a dot itself.
    const bool lastIsDotted = dotted(components.constLast());
    const QString folder = lastIsDotted ? trimmed : trimmed.left(trimmed.lastIndexOf(QLatin1Char('/')) + 1);
    const QString resolved = QFileInfo(folder).canonicalFilePath();
    if (resolved.isEmpty())
        throw FinderActionExecutionError::invalidPath(text);
    if (lastIsDotted)
        return resolved;
    return (resolved == QLatin1String("/") ? QString() : resolved) + QLatin1Char('/') +
           components.constLast();
}

void FinderActionExecutor::requireRegularFiles(const QStringList& paths) {
    for (const QString& path : paths) {
        struct stat status {};
        if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
            if (errno == ENOENT)
                throw FinderActionExecutionError::sourceItemMissing(path);
            continue; // reading it will say what is wrong
        }
        if (!S_ISREG(status.st_mode))
            throw FinderActionExecutionError::commandFailed(
                QCoreApplication::translate("FinderActionExecutor", "“%1”不是普通文件，无法读取它的内容。")
                    .arg(path));
    }
}

QString FinderActionExecutor::normalizedPathText(const QString& text) {
    QString result = text.trimmed();
    if (result.size() >= 2 && ((result.startsWith(QLatin1Char('"')) && result.endsWith(QLatin1Char('"'))) ||
                               (result.startsWith(QLatin1Char('\'')) && result.endsWith(QLatin1Char('\'')))))
        result = result.mid(1, result.size() - 2);
    result.replace(QStringLiteral("\\ "), QStringLiteral(" "));
    return result;
}

std::optional<QString> FinderActionExecutor::fileURL(const QString& pathText) {
    const QString text = normalizedPathText(pathText);
    QString path;
    const QUrl url(text, QUrl::StrictMode);
    if (url.isValid() && url.isLocalFile()) {
        path = url.toLocalFile();
    } else if (text == QLatin1String("~") || text.startsWith(QLatin1String("~/"))) {
        path = QDir::homePath() + text.mid(1);
    } else {
        path = text;
    }
    if (path.isEmpty() || !QDir::isAbsolutePath(path) || !itemExists(path))
        return std::nullopt;
    return path;
}
