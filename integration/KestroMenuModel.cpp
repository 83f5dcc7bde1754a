#include "integration/KestroMenuModel.h"

#include "actions/ImageFileIO.h"
#include "actions/OpenActions.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "catalogue/KestroFeature.h"
#include "stores/CustomDestinationDefaults.h"
#include "stores/CustomDestinationPersistence.h"
#include "stores/CustomShortcutActionPersistence.h"

#include <QDir>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

// Actions that need no selection: on the background the folder itself is the target.
const QSet<QString>& backgroundActionIDs() {
    static const QSet<QString> ids = [] {
        QSet<QString> result;
        for (KestroFeature feature : {KestroFeature::createFile, KestroFeature::quickOpen}) {
            for (const QString& id : feature.childIDs())
                result.insert(id);
        }
        for (const char* id :
             {"quickOpenPath", "copyFullPath", "copyFileName", "copyParentPath", "copyShellPath",
              "copyMarkdownLink", "openInTerminal", "toggleHiddenFiles", "toggleNemoHiddenFiles"})
            result.insert(QString::fromLatin1(id));
        return result;
    }();
    return ids;
}

// The folder a built-in "to Desktop / Downloads / Documents" or quick-open child stands for; empty for
// others.
QString placeOf(const QString& actionID) {
    static const QSet<QString> quickOpenPlaces = {
        QStringLiteral("quickOpenHome"), QStringLiteral("quickOpenDesktop"),
        QStringLiteral("quickOpenDownloads"), QStringLiteral("quickOpenDocuments"),
        QStringLiteral("quickOpenApplications")};
    QString place;
    if (quickOpenPlaces.contains(actionID))
        place = OpenActions::defaultQuickOpenURL(actionID).value_or(QString());
    else if (actionID.endsWith(QLatin1String("Desktop")))
        place = OpenActions::defaultQuickOpenURL(QStringLiteral("quickOpenDesktop")).value_or(QString());
    else if (actionID.endsWith(QLatin1String("Downloads")))
        place = OpenActions::defaultQuickOpenURL(QStringLiteral("quickOpenDownloads")).value_or(QString());
    else if (actionID.endsWith(QLatin1String("Documents")))
        place = OpenActions::defaultQuickOpenURL(QStringLiteral("quickOpenDocuments")).value_or(QString());
    return place.isEmpty() ? place : QDir::cleanPath(place);
}

// What no Linux file manager can do: take view or sort scripts (the presets), or run Shortcuts.
bool worksHere(const QString& childID) {
    return childID != QLatin1String("finderViewPreset");
}

KestroMenuFileKind fileKindOf(const QString& actionID, KestroFeature feature) {
    if (feature == KestroFeature::imageTools || actionID == QLatin1String("imagesToPDF"))
        return KestroMenuFileKind::image;
    if (feature == KestroFeature::pdfTools)
        return KestroMenuFileKind::pdf;
    if (actionID == QLatin1String("extractZIPHere") || actionID == QLatin1String("extractZIPToFolder"))
        return KestroMenuFileKind::archive;
    return KestroMenuFileKind::any;
}

QString iconOf(KestroFeature feature) {
    switch (feature.value()) {
    case KestroFeature::createFile:
        return QStringLiteral("document-new");
    case KestroFeature::quickOpen:
        return QStringLiteral("folder-open");
    case KestroFeature::copyFile:
        return QStringLiteral("edit-copy");
    case KestroFeature::copyPath:
        return QStringLiteral("insert-link");
    case KestroFeature::openWith:
        return QStringLiteral("document-open");
    case KestroFeature::viewOptions:
        return QStringLiteral("view-list-icons");
    case KestroFeature::customActions:
        return QStringLiteral("application-x-executable");
    case KestroFeature::organizeFile:
        return QStringLiteral("go-jump");
    case KestroFeature::batchRename:
        return QStringLiteral("edit-find-replace");
    case KestroFeature::archiveTools:
        return QStringLiteral("package-x-generic");
    case KestroFeature::scheduledDeletion:
        return QStringLiteral("user-trash");
    case KestroFeature::imageTools:
        return QStringLiteral("image-x-generic");
    case KestroFeature::pdfTools:
        return QStringLiteral("x-office-document");
    case KestroFeature::developerTools:
        return QStringLiteral("utilities-terminal");
    }
    return {};
}

// Actions of a kind of their own within a feature get that kind's icon.
QString iconOf(KestroFeature feature, const QString& actionID) {
    static const QHash<QString, QString> kinds = {
        {QStringLiteral("createFolder"), QStringLiteral("folder-new")},
        {QStringLiteral("openInTerminal"), QStringLiteral("utilities-terminal")},
        {QStringLiteral("revealInFinder"), QStringLiteral("system-file-manager")},
        {QStringLiteral("quickOpenHome"), QStringLiteral("user-home")},
        {QStringLiteral("quickOpenDesktop"), QStringLiteral("user-desktop")},
        {QStringLiteral("moveSelectionToNewFolder"), QStringLiteral("folder-new")},
        {QStringLiteral("toggleHiddenFiles"), QStringLiteral("view-refresh")},
        {QStringLiteral("toggleNemoHiddenFiles"), QStringLiteral("view-refresh")},
    };
    return kinds.value(actionID, iconOf(feature));
}

KestroMenuItem action(KestroFeature feature, const QString& id, const QString& title,
                      const QString& actionID) {
    KestroMenuItem item;
    item.id = id;
    item.title = title;
    item.icon = iconOf(feature, actionID);
    item.actionID = actionID;
    item.onBackground = backgroundActionIDs().contains(actionID);
    item.fileKind = fileKindOf(actionID, feature);
    // Kestro can switch hidden files only in GNOME Files' and Nemo's settings; elsewhere the switch would
    // change nothing the file manager reads.
    if (actionID == QLatin1String("toggleHiddenFiles"))
        item.onlyIn = QStringLiteral("nautilus");
    return item;
}

// The destination list a feature shows, and the action that uses one of its entries.
std::optional<std::pair<CustomDestinationKind, const char*>> destinationListOf(KestroFeature feature) {
    switch (feature.value()) {
    case KestroFeature::copyFile:
        return std::pair{CustomDestinationKind::copy, "copyFilesToFolder"};
    case KestroFeature::organizeFile:
        return std::pair{CustomDestinationKind::move, "moveFilesToFolder"};
    case KestroFeature::quickOpen:
        return std::pair{CustomDestinationKind::quickOpen, "quickOpenPath"};
    case KestroFeature::openWith:
        return std::pair{CustomDestinationKind::openApplication, "openWithApplicationPath"};
    default:
        return std::nullopt;
    }
}

// A feature's actions in menu order: the user's list entries first (as in the tray), then the enabled
// children that can work here.
QList<KestroMenuItem> featureActions(const KestroMenuInput& input, KestroFeature feature, bool expanded,
                                     QSet<QString>& usedIDs) {
    QList<KestroMenuItem> items;
    const auto add = [&](KestroMenuItem item) {
        // A hand-edited list may repeat an id; the first entry keeps it.
        if (!usedIDs.contains(item.id)) {
            usedIDs.insert(item.id);
            items.append(std::move(item));
        }
    };
    if (const auto list = destinationListOf(feature)) {
        const QString actionID = QString::fromLatin1(list->second);
        for (const CustomDestination& destination :
             input.destinations.value(CustomDestinationKinds::rawValue(list->first))) {
            if (destination.id.isEmpty() || destination.path.isEmpty())
                continue;
            // Flat, a bare "文档" would not say whether it copies, moves or opens.
            const QString title =
                expanded ? feature.title() + QLatin1Char(' ') + destination.name : destination.name;
            KestroMenuItem item =
                action(feature, actionID + QLatin1Char('@') + destination.id, title, actionID);
            item.destinationPath = destination.path;
            add(std::move(item));
        }
    }
    if (feature == KestroFeature::customActions) {
        for (const CustomShortcutAction& custom : input.customActions) {
            if (custom.kind == CustomShortcutAction::Kind::script)
                add(action(feature, custom.actionID(), custom.name, custom.actionID()));
        }
    }
    // A place the user's list already offers is not offered twice in one submenu.
    QSet<QString> listedPlaces;
    for (const KestroMenuItem& item : items) {
        if (item.destinationPath)
            listedPlaces.insert(QDir::cleanPath(*item.destinationPath));
    }
    for (const KestroFeatureChild& child : FeatureSettingsStore::orderedChildren(input.settings, feature)) {
        if (!input.settings.enabledChildIDs.contains(child.actionID) || !worksHere(child.actionID))
            continue;
        const QString place = placeOf(child.actionID);
        if (!place.isEmpty() && listedPlaces.contains(place))
            continue;
        add(action(feature, child.actionID, child.title, child.actionID));
        if (child.actionID == QLatin1String("toggleHiddenFiles")) {
            // In Nemo the switch acts on Nemo's own setting.
            KestroMenuItem nemo = action(feature, child.actionID + QStringLiteral("@nemo"), child.title,
                                         QStringLiteral("toggleNemoHiddenFiles"));
            nemo.onlyIn = QStringLiteral("nemo");
            add(std::move(nemo));
        }
    }
    return items;
}

bool applies(const KestroMenuItem& item, KestroMenuModel::Context context, const QStringList& names) {
    if (context == KestroMenuModel::Context::background)
        return item.onBackground;
    if (!item.onSelection)
        return false;
    for (const QString& name : names) {
        if (!KestroMenuFileKinds::matches(item.fileKind, name))
            return false;
    }
    return true;
}

QJsonArray toJsonArray(const QList<KestroMenuItem>& items) {
    QJsonArray array;
    for (const KestroMenuItem& item : items) {
        QJsonObject object{{QStringLiteral("id"), item.id},
                           {QStringLiteral("title"), item.title},
                           {QStringLiteral("icon"), item.icon}};
        if (item.isSubmenu()) {
            object.insert(QStringLiteral("children"), toJsonArray(item.children));
        } else {
            object.insert(QStringLiteral("actionID"), item.actionID);
            if (item.destinationPath)
                object.insert(QStringLiteral("destinationPath"), *item.destinationPath);
            if (!item.onlyIn.isEmpty())
                object.insert(QStringLiteral("onlyIn"), item.onlyIn);
            object.insert(QStringLiteral("selection"), item.onSelection);
            object.insert(QStringLiteral("background"), item.onBackground);
            object.insert(QStringLiteral("suffixes"),
                          QJsonArray::fromStringList(KestroMenuFileKinds::suffixes(item.fileKind)));
        }
        array.append(object);
    }
    return array;
}

} // namespace

KestroMenuInput KestroMenuInput::saved() {
    KestroMenuInput input;
    input.settings = FeatureSettingsPersistence::loadSettings().value_or(FeatureSettingsDefaults::settings());
    input.destinations = CustomDestinationDefaults::normalized(
        CustomDestinationPersistence::load().value_or(CustomDestinationsByKind()));
    input.customActions = CustomShortcutActionPersistence::load();
    return input;
}

QList<KestroMenuItem> KestroMenuModel::build(const KestroMenuInput& input) {
    const bool expanded = input.settings.menuLayout == FinderMenuLayout::expanded;
    QSet<QString> usedIDs;
    QList<KestroMenuItem> menu;
    for (KestroFeature feature : FeatureSettingsStore::orderedFeatures(input.settings)) {
        if (!input.settings.enabledFeatureIDs.contains(feature.id()))
            continue;
        QList<KestroMenuItem> actions = featureActions(input, feature, expanded, usedIDs);
        if (actions.isEmpty())
            continue;
        if (expanded) {
            menu.append(actions);
            continue;
        }
        KestroMenuItem submenu;
        submenu.id = QStringLiteral("feature:") + feature.id();
        submenu.title = feature.title();
        submenu.icon = iconOf(feature);
        submenu.children = std::move(actions);
        menu.append(std::move(submenu));
    }
    if (!input.settings.groupsFeaturesUnderKestro || menu.isEmpty())
        return menu;
    KestroMenuItem group;
    group.id = QStringLiteral("kestro");
    group.title = QStringLiteral("Kestro");
    group.icon = QStringLiteral("kestro");
    group.children = std::move(menu);
    return {group};
}

QList<KestroMenuItem> KestroMenuModel::shownOn(const QList<KestroMenuItem>& menu, Context context,
                                               const QStringList& selectedNames) {
    QList<KestroMenuItem> shown;
    for (const KestroMenuItem& item : menu) {
        if (!item.isSubmenu()) {
            if (applies(item, context, selectedNames))
                shown.append(item);
            continue;
        }
        KestroMenuItem submenu = item;
        submenu.children = shownOn(item.children, context, selectedNames);
        if (!submenu.children.isEmpty())
            shown.append(std::move(submenu));
    }
    return shown;
}

QList<KestroMenuItem> KestroMenuModel::shownIn(const QList<KestroMenuItem>& menu,
                                               const QString& fileManager) {
    QList<KestroMenuItem> shown;
    for (const KestroMenuItem& item : menu) {
        if (!item.isSubmenu()) {
            if (item.onlyIn.isEmpty() || item.onlyIn == fileManager)
                shown.append(item);
            continue;
        }
        KestroMenuItem submenu = item;
        submenu.children = shownIn(item.children, fileManager);
        if (!submenu.children.isEmpty())
            shown.append(std::move(submenu));
    }
    return shown;
}

QList<KestroMenuItem> KestroMenuModel::actions(const QList<KestroMenuItem>& menu) {
    QList<KestroMenuItem> result;
    for (const KestroMenuItem& item : menu) {
        if (item.isSubmenu())
            result.append(actions(item.children));
        else
            result.append(item);
    }
    return result;
}

QByteArray KestroMenuModel::toJson(const QList<KestroMenuItem>& menu) {
    const QJsonObject root{{QStringLiteral("version"), 1}, {QStringLiteral("items"), toJsonArray(menu)}};
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

QStringList KestroMenuFileKinds::suffixes(KestroMenuFileKind kind) {
    switch (kind) {
    case KestroMenuFileKind::any:
        return {};
    case KestroMenuFileKind::image:
        return ImageFileIO::readableSuffixes();
    case KestroMenuFileKind::pdf:
        return {QStringLiteral(".pdf")};
    case KestroMenuFileKind::archive:
        return {QStringLiteral(".zip"), QStringLiteral(".tar"),    QStringLiteral(".tar.gz"),
                QStringLiteral(".tgz"), QStringLiteral(".tar.xz"), QStringLiteral(".tar.bz2"),
                QStringLiteral(".7z")};
    }
    return {};
}

QStringList KestroMenuFileKinds::mimeTypes(KestroMenuFileKind kind) {
    switch (kind) {
    case KestroMenuFileKind::any:
        return {QStringLiteral("all/allfiles")};
    case KestroMenuFileKind::image:
        return {QStringLiteral("image/*")};
    case KestroMenuFileKind::pdf:
        return {QStringLiteral("application/pdf")};
    case KestroMenuFileKind::archive:
        return {QStringLiteral("application/zip"),
                QStringLiteral("application/x-tar"),
                QStringLiteral("application/x-compressed-tar"),
                QStringLiteral("application/x-xz-compressed-tar"),
                QStringLiteral("application/x-bzip-compressed-tar"),
                QStringLiteral("application/x-7z-compressed")};
    }
    return {};
}

bool KestroMenuFileKinds::matches(KestroMenuFileKind kind, const QString& fileName) {
    if (kind == KestroMenuFileKind::any)
        return true;
    const QString lower = fileName.toLower();
    for (const QString& suffix : suffixes(kind)) {
        // ".tar.gz" alone is no archive name.
        if (lower.size() > suffix.size() && lower.endsWith(suffix) &&
            lower.at(lower.size() - suffix.size() - 1) != QLatin1Char('/'))
            return true;
    }
    return false;
}

QString KestroMenuFileKinds::rawValue(KestroMenuFileKind kind) {
    switch (kind) {
    case KestroMenuFileKind::any:
        return QStringLiteral("any");
    case KestroMenuFileKind::image:
        return QStringLiteral("image");
    case KestroMenuFileKind::pdf:
        return QStringLiteral("pdf");
    case KestroMenuFileKind::archive:
        return QStringLiteral("archive");
    }
    return {};
}
