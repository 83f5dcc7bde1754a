#include "intake/LinkRequestPolicy.h"

#include "actions/FinderActionExecutor.h"
#include "actions/KestroFileTemplate.h"
#include "catalogue/KestroFeature.h"

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

bool hasControlCharacters(const QString& text) {
    return std::any_of(text.cbegin(), text.cend(), [](QChar character) {
        const char16_t code = character.unicode();
        return code < 0x20 || code == 0x7f || (code >= 0x80 && code < 0xa0) || code == 0x2028 ||
               code == 0x2029;
    });
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
    if (std::any_of(texts.cbegin(), texts.cend(), hasControlCharacters))
        return {Verdict::refuse, QStringLiteral("control characters in the request")};

    if (actionID == QLatin1String("openWithApplicationPath")) {
        const std::optional<QString> entry =
            request.destinationURL ? installedDesktopEntry(*request.destinationURL) : std::nullopt;
        if (!entry)
            return {Verdict::refuse, QStringLiteral("not an installed application")};
        request.destinationURL = entry;
        return {Verdict::ask, {}};
    }
    // A destination would make the quick-open item open a folder of the link's choosing.
    if (isStandardFolderOpening(actionID) && !request.destinationURL)
        return {Verdict::run, {}};
    if (isNewItem(actionID) && targetsAFolderOfTheUsers(request))
        return {Verdict::run, {}};
    return {Verdict::ask, {}};
}
