#include "integration/FileManagerMenuFiles.h"

#include "integration/FileManagerCommands.h"

#include <algorithm>
#include <functional>
#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString value(const QString& text) {
    return FileManagerCommands::desktopValue(text);
}

// Qt menus take "&" as the mark of a keyboard shortcut; "&&" shows one "&".
QString qtMenuTitle(const QString& title) {
    QString text = title;
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

// Neither Dolphin nor PCManFM-Qt tells its folder background from one selected folder: both hand over the
// folder in view as the one path. So each item is rendered once per kind of click it can serve, and only an
// item that needs no selection is offered on one folder alone, where its command says that the path is the
// folder to act in. Selection items take folders only among two or more selected items.
enum class Click { oneFile, severalItems, oneFolder, typedFiles };

QList<Click> clicksFor(const KestroMenuItem& item) {
    QList<Click> clicks;
    if (item.fileKind != KestroMenuFileKind::any)
        return {Click::typedFiles};
    if (item.onSelection)
        clicks << Click::oneFile << Click::severalItems;
    if (item.onBackground)
        clicks << Click::oneFolder;
    return clicks;
}

QString mimeList(KestroMenuFileKind kind, Click click) {
    QStringList types;
    switch (click) {
    case Click::oneFile:
        types = {QStringLiteral("all/allfiles")};
        break;
    case Click::severalItems:
        types = {QStringLiteral("all/all")};
        break;
    case Click::oneFolder:
        types = {QStringLiteral("inode/directory")};
        break;
    case Click::typedFiles:
        types = KestroMenuFileKinds::mimeTypes(kind);
        break;
    }
    return types.join(QLatin1Char(';')) + QLatin1Char(';');
}

QString exec(const QString& handoff, const KestroMenuItem& item, Click click) {
    const FileManagerCommands::PathsAre paths = click == Click::oneFolder
                                                    ? FileManagerCommands::PathsAre::targetFolder
                                                    : FileManagerCommands::PathsAre::selection;
    return FileManagerCommands::desktopExec(
        QStringList{handoff} + FileManagerCommands::handoffArguments(item.id, paths), QStringLiteral("%F"));
}

// Dolphin's count keys for the kind of click.
QString dolphinCountKey(Click click) {
    switch (click) {
    case Click::oneFile:
        return QStringLiteral("X-KDE-MaxNumberOfUrls=1\n");
    case Click::severalItems:
        return QStringLiteral("X-KDE-MinNumberOfUrls=2\n");
    case Click::oneFolder:
        return QStringLiteral("X-KDE-RequiredNumberOfUrls=1\n");
    case Click::typedFiles:
        break;
    }
    return {};
}

// PCManFM-Qt's condition on the number of selected items.
QString pcmanfmCountKey(Click click) {
    switch (click) {
    case Click::oneFile:
    case Click::oneFolder:
        return QStringLiteral("SelectionCount==1\n");
    case Click::severalItems:
        return QStringLiteral("SelectionCount=>1\n");
    case Click::typedFiles:
        break;
    }
    return {};
}

void place(const QList<KestroMenuItem>& items, const QStringList& submenus,
           QList<FileManagerMenuFiles::PlacedItem>& placed) {
    for (const KestroMenuItem& item : items) {
        if (item.isSubmenu())
            place(item.children, submenus + QStringList{item.title}, placed);
        else
            placed.append({submenus, item});
    }
}

// A Python string literal for text: JSON's string form is one too.
QString pythonString(const QString& text) {
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

} // namespace

QByteArray FileManagerMenuFiles::generatedMarker() {
    return QByteArrayLiteral("X-Kestro-Generated=true");
}

QList<FileManagerMenuFiles::PlacedItem>
FileManagerMenuFiles::placedActions(const QList<KestroMenuItem>& menu) {
    QList<PlacedItem> placed;
    place(menu, {}, placed);
    return placed;
}

QList<FileManagerMenuFiles::GeneratedFile>
FileManagerMenuFiles::dolphinServiceMenus(const QList<KestroMenuItem>& menu, const QString& handoff) {
    struct Action {
        QString key;
        PlacedItem placed;
    };
    struct Group {
        QString submenu;
        KestroMenuFileKind kind;
        Click click;
        QList<Action> actions;
    };
    QList<Group> groups;
    const QList<PlacedItem> placedItems = placedActions(menu);
    for (qsizetype position = 0; position < placedItems.size(); ++position) {
        const PlacedItem& placed = placedItems.at(position);
        // Dolphin sorts a submenu's entries by their action keys as text: numbered with leading zeros, the
        // keys keep the menu's order, across files too.
        const QString key = QStringLiteral("kestro%1").arg(position, 4, 10, QLatin1Char('0'));
        const QString submenu = placed.submenus.value(0);
        for (const Click click : clicksFor(placed.item)) {
            auto group = std::find_if(groups.begin(), groups.end(), [&](const Group& candidate) {
                return candidate.submenu == submenu && candidate.kind == placed.item.fileKind &&
                       candidate.click == click;
            });
            if (group == groups.end()) {
                groups.append({submenu, placed.item.fileKind, click, {}});
                group = groups.end() - 1;
            }
            group->actions.append({key, placed});
        }
    }
    QList<GeneratedFile> files;
    for (qsizetype index = 0; index < groups.size(); ++index) {
        const Group& group = groups.at(index);
        QStringList keys;
        QString actions;
        for (const Action& action : group.actions) {
            keys.append(action.key);
            const QString title = (action.placed.submenus.mid(1) + QStringList{action.placed.item.title})
                                      .join(QStringLiteral(" › "));
            actions += QStringLiteral("\n[Desktop Action %1]\nName=%2\nIcon=%3\nExec=%4\n")
                           .arg(action.key, value(qtMenuTitle(title)), value(action.placed.item.icon),
                                exec(handoff, action.placed.item, group.click));
        }
        QString text = QStringLiteral("[Desktop Entry]\nType=Service\nMimeType=%1\nActions=%2;\n")
                           .arg(mimeList(group.kind, group.click), keys.join(QLatin1Char(';')));
        text += dolphinCountKey(group.click);
        if (!group.submenu.isEmpty())
            text += QStringLiteral("X-KDE-Submenu=%1\n").arg(value(qtMenuTitle(group.submenu)));
        text += QStringLiteral("X-KDE-Priority=TopLevel\n") + QString::fromLatin1(generatedMarker()) +
                QLatin1Char('\n') + actions;
        files.append(
            {QStringLiteral("kestro-%1.desktop").arg(index, 3, 10, QLatin1Char('0')), text.toUtf8()});
    }
    return files;
}

QByteArray FileManagerMenuFiles::dolphinHidingFile() {
    return "[Desktop Entry]\nType=Service\nHidden=true\n" + generatedMarker() + '\n';
}

bool FileManagerMenuFiles::isDolphinHidingFile(const QByteArray& bytes) {
    return bytes == dolphinHidingFile();
}

QList<FileManagerMenuFiles::GeneratedFile>
FileManagerMenuFiles::pcmanfmActions(const QList<KestroMenuItem>& menu, const QString& handoff) {
    QList<GeneratedFile> files;
    // Named after the item and the click, so that a change rewrites only the entries it touches.
    const auto entryID = [](const QString& itemID, int click) {
        const QByteArray key = itemID.toUtf8() + (click < 0 ? QByteArray() : "#" + QByteArray::number(click));
        return QStringLiteral("kestro-") +
               QString::fromLatin1(QCryptographicHash::hash(key, QCryptographicHash::Sha1).toHex().left(16));
    };
    const std::function<QStringList(const KestroMenuItem&)> write =
        [&](const KestroMenuItem& item) -> QStringList {
        if (item.isSubmenu()) {
            QStringList children;
            for (const KestroMenuItem& child : item.children)
                children.append(write(child));
            const QString id = entryID(item.id, -1);
            files.append({id + QStringLiteral(".desktop"),
                          QStringLiteral("[Desktop Entry]\nType=Menu\nName=%1\nIcon=%2\nItemsList=%3;\n%4\n")
                              .arg(value(qtMenuTitle(item.title)), value(item.icon),
                                   children.join(QLatin1Char(';')), QString::fromLatin1(generatedMarker()))
                              .toUtf8()});
            return {id};
        }
        // PCManFM-Qt shows an action on the background when it matches the folder as a selection
        // (TargetLocation is not read there), so the kinds of click are told apart by count and type.
        QStringList ids;
        for (const Click click : clicksFor(item)) {
            const QString id = entryID(item.id, int(click));
            ids.append(id);
            files.append({id + QStringLiteral(".desktop"),
                          QStringLiteral("[Desktop Entry]\nType=Action\nName=%1\nIcon=%2\nProfiles=main;\n"
                                         "%3\n\n[X-Action-Profile main]\nExec=%4\nMimeTypes=%5\n%6")
                              .arg(value(qtMenuTitle(item.title)), value(item.icon),
                                   QString::fromLatin1(generatedMarker()), exec(handoff, item, click),
                                   mimeList(item.fileKind, click), pcmanfmCountKey(click))
                              .toUtf8()});
        }
        return ids;
    };
    for (const KestroMenuItem& item : menu)
        write(item);
    return files;
}

QByteArray FileManagerMenuFiles::pythonExtension(const QString& handoff, const QString& menuDescriptionPath) {
    QFile source(QStringLiteral(":/kestro/integration/kestro_menu.py"));
    source.open(QIODevice::ReadOnly);
    QString text = QString::fromUtf8(source.readAll());
    text.replace(QStringLiteral("@HANDOFF@"), pythonString(handoff));
    text.replace(QStringLiteral("@MENU@"),
                 menuDescriptionPath.isEmpty() ? QStringLiteral("None") : pythonString(menuDescriptionPath));
    return text.toUtf8();
}
