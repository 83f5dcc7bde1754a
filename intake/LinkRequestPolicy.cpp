#include "intake/LinkRequestPolicy.h"

#include "actions/FinderActionExecutor.h"
#include "actions/KestroFileTemplate.h"
#include "actions/PathParts.h"
#include "catalogue/KestroFeature.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Decision = LinkRequestPolicy::Decision;
using Verdict = LinkRequestPolicy::Verdict;

// What a link may never ask for: running the user's scripts and shortcuts, and changing how the file
// manager shows things.
bool isNeverTakenFromALink(const QString& actionID) {
    static const QStringList prefixes{QStringLiteral("runScript__"), QStringLiteral("runShortcut__"),
                                      QStringLiteral("finderViewPreset"), QStringLiteral("finderView"),
                                      QStringLiteral("finderSort")};
    return actionID == QLatin1String("toggleHiddenFiles") ||
           std::any_of(prefixes.cbegin(), prefixes.cend(),
                       [&](const QString& prefix) { return actionID.startsWith(prefix); });
}

bool isStandardFolderOpening(const QString& actionID) {
    static const QSet<QString> ids{
        QStringLiteral("quickOpenHome"),         QStringLiteral("quickOpenDesktop"),
        QStringLiteral("quickOpenDownloads"),    QStringLiteral("quickOpenDocuments"),
        QStringLiteral("quickOpenApplications"), QStringLiteral("quickOpenKestroProject")};
    return ids.contains(actionID);
}

bool isNewItem(const QString& actionID) {
    if (actionID == QLatin1String("createFolder"))
        return true;
    const QList<KestroFileTemplate> templates = KestroFileTemplate::all();
    return std::any_of(templates.cbegin(), templates.cend(), [&](const KestroFileTemplate& fileTemplate) {
        return fileTemplate.actionID() == actionID;
    });
}

bool hasHiddenOrControlCharacters(const QString& text) {
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar character) { return DiagnosticLog::isHiddenOrControl(character.unicode()); });
}

// Whether path is folder or lies beneath it, compared by whole components: "Photos 2024" is not in "Photos".
bool liesIn(const QString& path, const QString& folder) {
    return path == folder ||
           path.startsWith(folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/'));
}

// The file system's answer for a folder path: its real path, or nothing when it does not exist.
std::optional<QString> realFolder(const QString& path) {
    const QString real = QFileInfo(FinderActionExecutor::checkedRequestPath(path)).canonicalFilePath();
    return real.isEmpty() ? std::nullopt : std::optional<QString>(real);
}

// An item's real place: its folder resolved, its own name kept, so that an item that is a link stays the
// link (renaming or trashing it touches the link, not what it names).
std::optional<QString> realItem(const QString& path) {
    const QString checked = FinderActionExecutor::checkedRequestPath(path);
    if (checked == QLatin1String("/"))
        return checked;
    const std::optional<QString> folder = realFolder(PathParts::parentOf(checked));
    if (!folder)
        return std::nullopt;
    return PathParts::joined(*folder, PathParts::nameOf(checked));
}

// Where Kestro keeps what it runs or trusts, and where anything placed becomes a program that runs: a link
// reaching any of these could plant a request, a login item or a menu command.
QStringList protectedFolders() {
    const QString config = KestroPaths::configHome();
    const QString data = KestroPaths::dataHome();
    const QString home = KestroPaths::homeDirectory();
    QStringList folders{KestroPaths::applicationSupportDirectory(),
                        data + QStringLiteral("/kestro"),
                        KestroPaths::sharedQueueDirectory(),
                        KestroPaths::diagnosticLogPath(),
                        KestroPaths::runtimeDirectory(),
                        KestroPaths::autostartDirectory(),
                        KestroPaths::applicationsDirectory(),
                        home + QStringLiteral("/.local/bin"),
                        config + QStringLiteral("/systemd"),
                        config + QStringLiteral("/environment.d"),
                        config + QStringLiteral("/Thunar"),
                        data + QStringLiteral("/nemo"),
                        data + QStringLiteral("/nautilus"),
                        data + QStringLiteral("/nautilus-python"),
                        data + QStringLiteral("/kio"),
                        data + QStringLiteral("/kservices5"),
                        data + QStringLiteral("/file-manager"),
                        data + QStringLiteral("/dbus-1")};
    // Compared with real paths: a folder reached through a link is the folder itself.
    for (QString& folder : folders) {
        const QString real = QFileInfo(folder).canonicalFilePath();
        if (!real.isEmpty())
            folder = real;
    }
    return folders;
}

QString realHome() {
    const QString home = KestroPaths::homeDirectory();
    const QString real = QFileInfo(home).canonicalFilePath();
    return real.isEmpty() ? home : real;
}

// Why a resolved request reaches a place no link may touch, or nothing when it does not.
std::optional<QString> protectedPlaceReached(const KestroActionRequest& request, bool checkDestination) {
    QStringList places = request.selectedURLs;
    if (request.targetedURL)
        places.append(*request.targetedURL);
    if (request.destinationURL && checkDestination)
        places.append(*request.destinationURL);
    const QStringList folders = protectedFolders();
    const QString home = realHome();
    const QString inHome = home.endsWith(QLatin1Char('/')) ? home : home + QLatin1Char('/');
    for (const QString& place : places) {
        for (const QString& folder : folders)
            if (liesIn(place, folder))
                return QStringLiteral("reaches a protected folder: ") + folder;
        // The home folder's hidden items are its configuration: shells, desktop and programs read them.
        if (place.size() > inHome.size() && place.startsWith(inHome) &&
            place.at(inHome.size()) == QLatin1Char('.'))
            return QStringLiteral("reaches a hidden item of the home folder: ") + place;
    }
    return std::nullopt;
}

// Whether the request would put a new hidden item straight into the home folder, where shells and the
// desktop read their configuration: a hidden item copied or moved there, a ".gitignore" made there, or an
// archive unpacked there (its entries are unknown until it is read).
std::optional<QString> hiddenItemCreatedInHome(const KestroActionRequest& request) {
    const QString home = realHome();
    QStringList outputFolders;
    for (const QString& item : request.selectedURLs)
        outputFolders.append(PathParts::parentOf(item));
    if (request.targetedURL)
        outputFolders.append(QFileInfo(*request.targetedURL).isDir()
                                 ? *request.targetedURL
                                 : PathParts::parentOf(*request.targetedURL));
    if (request.destinationURL)
        outputFolders.append(*request.destinationURL);
    static const QHash<QString, FinderActionExecutor::StandardDirectory> standardDestinations{
        {QStringLiteral("copyFilesToDesktop"), FinderActionExecutor::StandardDirectory::desktop},
        {QStringLiteral("moveFilesToDesktop"), FinderActionExecutor::StandardDirectory::desktop},
        {QStringLiteral("copyFilesToDownloads"), FinderActionExecutor::StandardDirectory::downloads},
        {QStringLiteral("moveFilesToDownloads"), FinderActionExecutor::StandardDirectory::downloads},
        {QStringLiteral("copyFilesToDocuments"), FinderActionExecutor::StandardDirectory::documents},
        {QStringLiteral("moveFilesToDocuments"), FinderActionExecutor::StandardDirectory::documents}};
    if (const auto standard = standardDestinations.constFind(request.actionID);
        standard != standardDestinations.cend()) {
        try {
            outputFolders.append(
                QFileInfo(FinderActionExecutor::standardDirectory(*standard)).canonicalFilePath());
        } catch (const std::exception&) {
        }
    }
    if (!outputFolders.contains(home))
        return std::nullopt;
    const QString reason = QStringLiteral("would create a hidden item in the home folder");
    if (request.actionID == QLatin1String("extractZIPHere"))
        return reason;
    for (const QString& item : request.selectedURLs)
        if (PathParts::nameOf(item).startsWith(QLatin1Char('.')))
            return reason;
    const QList<KestroFileTemplate> templates = KestroFileTemplate::all();
    for (const KestroFileTemplate& fileTemplate : templates)
        if (fileTemplate.actionID() == request.actionID &&
            fileTemplate.baseName().startsWith(QLatin1Char('.')))
            return reason;
    return std::nullopt;
}

// The folder a new item would go to, when it exists, is a folder, and belongs to the user.
bool targetsAFolderOfTheUsers(const KestroActionRequest& request) {
    QString folder;
    try {
        folder = FinderActionExecutor::targetDirectory(request.selectedURLs, request.targetedURL);
    } catch (const std::exception&) {
        return false;
    }
    struct stat status {};
    return ::stat(QFile::encodeName(folder).constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::getuid();
}

// The actions behind the items of the user's lists: their feature, and their name for the user.
struct ListItemAction {
    KestroFeature feature;
    const char* title;
};

const QHash<QString, ListItemAction>& listItemActions() {
    static const QHash<QString, ListItemAction> actions{
        {QStringLiteral("copyFilesToFolder"), {KestroFeature::copyFile, QT_TR_NOOP("复制到文件夹")}},
        {QStringLiteral("copyFilesToPath"), {KestroFeature::copyFile, QT_TR_NOOP("复制到文件夹")}},
        {QStringLiteral("moveFilesToFolder"), {KestroFeature::organizeFile, QT_TR_NOOP("移动到文件夹")}},
        {QStringLiteral("moveFilesToPath"), {KestroFeature::organizeFile, QT_TR_NOOP("移动到文件夹")}},
        {QStringLiteral("openWithApplicationPath"), {KestroFeature::openWith, QT_TR_NOOP("用应用打开")}},
        {QStringLiteral("openInVSCode"), {KestroFeature::openWith, QT_TR_NOOP("用 VS Code 打开")}},
        {QStringLiteral("openInCursor"), {KestroFeature::openWith, QT_TR_NOOP("用 Cursor 打开")}},
        {QStringLiteral("quickOpenPath"), {KestroFeature::quickOpen, QT_TR_NOOP("打开文件夹")}},
    };
    return actions;
}

} // namespace

bool LinkRequestPolicy::isSwitchedOn(const QString& actionID, const FeatureSettings& settings) {
    if (const auto listItem = listItemActions().constFind(actionID); listItem != listItemActions().cend())
        return settings.enabledFeatureIDs.contains(listItem->feature.id());
    const std::optional<KestroFeature> feature = KestroFeature::owning(actionID);
    if (!feature)
        return true;
    return settings.enabledFeatureIDs.contains(feature->id()) && settings.enabledChildIDs.contains(actionID);
}

QString LinkRequestPolicy::titleOf(const QString& actionID) {
    if (const auto listItem = listItemActions().constFind(actionID); listItem != listItemActions().cend())
        return QCoreApplication::translate("LinkRequestPolicy", listItem->title);
    if (const std::optional<KestroFeature> feature = KestroFeature::owning(actionID)) {
        for (const KestroFeatureChild& child : feature->children()) {
            if (child.actionID == actionID)
                return child.title;
        }
    }
    return actionID;
}

std::optional<QString> LinkRequestPolicy::installedDesktopEntry(const QString& idOrPath) {
    if (!idOrPath.endsWith(QLatin1String(".desktop")))
        return std::nullopt;
    QString path;
    if (!idOrPath.contains(QLatin1Char('/'))) {
        path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, idOrPath);
    } else {
        // A path counts only when it lies in one of the folders applications are installed to: a desktop
        // entry that was merely downloaded somewhere is somebody else's program.
        const QString folder = QFileInfo(QFileInfo(idOrPath).path()).canonicalFilePath();
        const QStringList installed = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
        const bool isInstalledFolder =
            !folder.isEmpty() &&
            std::any_of(installed.cbegin(), installed.cend(), [&](const QString& candidate) {
                return QFileInfo(candidate).canonicalFilePath() == folder;
            });
        if (isInstalledFolder)
            path = folder + QLatin1Char('/') + QFileInfo(idOrPath).fileName();
    }
    struct stat status {};
    if (path.isEmpty() || ::lstat(QFile::encodeName(path).constData(), &status) != 0 ||
        !S_ISREG(status.st_mode))
        return std::nullopt;
    return path;
}

LinkRequestPolicy::Decision LinkRequestPolicy::evaluate(KestroActionRequest& request,
                                                        const FeatureSettings& settings) {
    const QString& actionID = request.actionID;
    if (actionID == QLatin1String("completed"))
        return {Verdict::run, {}};
    if (isNeverTakenFromALink(actionID))
        return {Verdict::refuse, QStringLiteral("never taken from a link")};
    if (!isSwitchedOn(actionID, settings))
        return {Verdict::refuse, QStringLiteral("action switched off")};

    QStringList texts = request.selectedURLs;
    for (const std::optional<QString>& value :
         {request.targetedURL, request.destinationURL, request.presetID}) {
        if (value)
            texts.append(*value);
    }
    // Control characters could forge lines; bidi and zero-width ones make a name read as another.
    if (std::any_of(texts.cbegin(), texts.cend(), hasHiddenOrControlCharacters))
        return {Verdict::refuse, QStringLiteral("control, bidi or zero-width characters in the request")};

    const bool opensWithApplication = actionID == QLatin1String("openWithApplicationPath");
    if (opensWithApplication) {
        const std::optional<QString> entry =
            request.destinationURL ? installedDesktopEntry(*request.destinationURL) : std::nullopt;
        if (!entry)
            return {Verdict::refuse, QStringLiteral("not an installed application")};
        request.destinationURL = entry;
    }
    if (const std::optional<QString> problem = resolve(request))
        return {Verdict::refuse, *problem};
    // The installed application is the one place among the applications that a link may name.
    std::optional<QString> problem = protectedPlaceReached(request, !opensWithApplication);
    if (!problem)
        problem = hiddenItemCreatedInHome(request);
    if (problem)
        return {Verdict::refuse, *problem};
    if (opensWithApplication)
        return {Verdict::ask, {}};

    // A destination would make the quick-open item open a folder of the link's choosing.
    if (isStandardFolderOpening(actionID) && !request.destinationURL)
        return {Verdict::run, {}};
    if (isNewItem(actionID) && targetsAFolderOfTheUsers(request))
        return {Verdict::run, {}};
    return {Verdict::ask, {}};
}

std::optional<QString> LinkRequestPolicy::resolve(KestroActionRequest& request) {
    try {
        QStringList items;
        for (const QString& path : std::as_const(request.selectedURLs)) {
            const std::optional<QString> real = realItem(path);
            if (!real)
                return QStringLiteral("no such folder: ") + path;
            items.append(*real);
        }
        request.selectedURLs = items;
        // The target may be a file the pointer was on: resolved as an item, like a selection.
        for (std::optional<QString>* value : {&request.targetedURL, &request.destinationURL}) {
            if (!*value)
                continue;
            const bool isFolder = QFileInfo(**value).isDir();
            const std::optional<QString> real = isFolder ? realFolder(**value) : realItem(**value);
            if (!real)
                return QStringLiteral("no such folder: ") + **value;
            *value = real;
        }
    } catch (const std::exception&) {
        return QStringLiteral("not an absolute path");
    }
    return std::nullopt;
}
