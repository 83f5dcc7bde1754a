#include "actions/OpenActions.h"

#include "actions/FinderActionExecutor.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/PlatformWords.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMetaObject>
#include <QMutex>
#include <QRegularExpression>
#include <QSemaphore>
#include <QStandardPaths>
#include <QUrl>

#include <memory>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("OpenActions", text);
}

// Shared by the launch on the main thread and the thread that waits for it; the waiter may give up first.
struct LaunchOutcome {
    QMutex mutex;
    std::optional<QString> error;
    QSemaphore finished;
};

// What counts as an application here: a bundle folder (macOS), a desktop entry or an executable file.
bool looksLikeApplication(const QFileInfo& info) {
    if (info.isDir())
        return true;
    return info.isFile() && (info.fileName().endsWith(QLatin1String(".desktop")) || info.isExecutable());
}

QString homeFolder() {
    return QDir::homePath();
}

QString standardFolderOrHome(QStandardPaths::StandardLocation location) {
    const QString folder = QStandardPaths::writableLocation(location);
    return folder.isEmpty() ? homeFolder() : folder;
}

// The system-wide applications folder: the last of the standard application folders that exists
// (/usr/share/applications with the usual XDG data folders, /Applications on macOS).
QString applicationsFolder() {
    const QStringList folders = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    for (auto it = folders.crbegin(); it != folders.crend(); ++it) {
        if (QFileInfo(*it).isDir())
            return *it;
    }
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

} // namespace

void OpenActions::openInTerminal(const QStringList& selectedURLs, const std::optional<QString>& targetedURL) {
    const QString folder = FinderActionExecutor::targetDirectory(selectedURLs, targetedURL);
    if (!Platform::workspace().openTerminal(folder))
        throw FinderActionExecutionError::commandFailed(platformText(PlatformText::terminalNotFound));
}

void OpenActions::openInApplication(KestroExternalApplication application, const QStringList& selectedURLs,
                                    const std::optional<QString>& targetedURL) {
    const QString folder = FinderActionExecutor::targetDirectory(selectedURLs, targetedURL);
    openURLs({folder}, application.installedURL());
}

void OpenActions::openWithApplicationPath(const QStringList& selectedURLs,
                                          const std::optional<QString>& targetedURL,
                                          const std::optional<QString>& applicationURL) {
    if (!applicationURL || applicationURL->isEmpty())
        throw FinderActionExecutionError::applicationNotFound(tr("指定应用"));
    const QString application = QDir::cleanPath(*applicationURL);
    const QFileInfo info(application);
    if (!info.exists() || !looksLikeApplication(info))
        throw FinderActionExecutionError::applicationNotFound(info.fileName());
    const QStringList urls = FinderActionExecutor::effectiveURLs(selectedURLs, targetedURL);
    if (urls.isEmpty())
        throw FinderActionExecutionError::noSelection();
    DiagnosticLog::append(QStringLiteral("open with application app=%1 urls=%2")
                              .arg(application, DiagnosticLog::listText(urls)));
    openURLs(urls, application);
}

void OpenActions::openURLs(const QStringList& urls, const QString& application,
                           std::chrono::milliseconds bound) {
    const auto outcome = std::make_shared<LaunchOutcome>();
    const auto launch = [outcome, urls, application] {
        std::optional<QString> error;
        try {
            Platform::workspace().openWithApplication(application, urls);
        } catch (const std::exception& failure) {
            error = describeError(failure);
        }
        {
            const QMutexLocker locker(&outcome->mutex);
            outcome->error = error;
        }
        outcome->finished.release();
    };
    // Queued, not blocking as runOnMainThread would: the wait below must be able to give up.
    if (onMainThread())
        launch();
    else
        QMetaObject::invokeMethod(QCoreApplication::instance(), launch, Qt::QueuedConnection);

    const QString subject = QStringLiteral("app=%1 urls=%2").arg(application, DiagnosticLog::listText(urls));
    if (!outcome->finished.tryAcquire(1, int(bound.count()))) {
        DiagnosticLog::append(QStringLiteral("open application timed out ") + subject);
        throw FinderActionExecutionError::commandFailed(tr("打开应用超时。"));
    }
    std::optional<QString> error;
    {
        const QMutexLocker locker(&outcome->mutex);
        error = outcome->error;
    }
    if (error) {
        DiagnosticLog::append(QStringLiteral("open application failed ") + subject +
                              QStringLiteral(" error=") + *error);
        throw FinderActionExecutionError::commandFailed(*error);
    }
    DiagnosticLog::append(QStringLiteral("open application succeeded ") + subject);
}

std::optional<QString> OpenActions::defaultQuickOpenURL(const QString& actionID) {
    if (actionID == QLatin1String("quickOpenDesktop"))
        return standardFolderOrHome(QStandardPaths::DesktopLocation);
    if (actionID == QLatin1String("quickOpenDownloads"))
        return standardFolderOrHome(QStandardPaths::DownloadLocation);
    if (actionID == QLatin1String("quickOpenDocuments"))
        return standardFolderOrHome(QStandardPaths::DocumentsLocation);
    if (actionID == QLatin1String("quickOpenApplications"))
        return applicationsFolder();
    // quickOpenHome, quickOpenPath and quickOpenKestroProject all open the home folder.
    return homeFolder();
}

void OpenActions::quickOpenFolder(const QString& actionID, const std::optional<QString>& destinationURL) {
    const std::optional<QString> folder = destinationURL ? destinationURL : defaultQuickOpenURL(actionID);
    if (!folder || folder->isEmpty())
        throw FinderActionExecutionError::noSelection();
    if (!QFileInfo(*folder).isDir())
        throw FinderActionExecutionError::noTargetDirectory();
    if (!Platform::workspace().openUrl(QUrl::fromLocalFile(*folder)))
        throw PlatformError(tr("没有能打开文件夹“%1”的文件管理器。").arg(*folder));
}

void OpenActions::quickOpenTypedPath() {
    const std::optional<QString> answer =
        FinderActionExecutor::promptText(tr("打开指定路径"), tr("输入要打开的文件或文件夹路径。"));
    if (!answer)
        return;
    const QString text = answer->trimmed();
    const std::optional<QString> path = FinderActionExecutor::fileURL(text);
    if (!path)
        throw FinderActionExecutionError::invalidPath(text);
    FinderActionExecutor::revealURLInFinder(*path);
}

QStringList OpenActions::validFileURLs(const QString& text) {
    static const QRegularExpression lineBreaks(QStringLiteral("\\r\\n|\\r|\\n"));
    QStringList paths;
    for (const QString& piece : text.split(lineBreaks)) {
        const std::optional<QString> path = FinderActionExecutor::fileURL(piece);
        if (path && !paths.contains(*path))
            paths.append(*path);
    }
    return paths;
}

void OpenActions::quickOpenClipboardPath() {
    Clipboard& clipboard = Platform::clipboard();
    QStringList files;
    for (const QString& path : clipboard.filePaths()) {
        const QFileInfo info(path);
        if (info.exists() || info.isSymLink())
            files.append(path);
    }
    if (files.isEmpty())
        files = validFileURLs(clipboard.text());
    if (files.isEmpty())
        throw FinderActionExecutionError::noClipboardPath();
    FinderActionExecutor::revealURLsInFinder(files);
}
