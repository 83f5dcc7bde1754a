#include "integration/FileManagerMenuFiles.h"

#include "integration/FileManagerCommands.h"

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

QString mimeList(KestroMenuFileKind kind) {
    QStringList types = KestroMenuFileKinds::mimeTypes(kind);
    // Folders take the actions that work on anything; on the background the folder itself is handed over.
    if (kind == KestroMenuFileKind::any)
        types.append(QStringLiteral("inode/directory"));
    return types.join(QLatin1Char(';')) + QLatin1Char(';');
}

QString exec(const QString& handoff, const KestroMenuItem& item) {
    return FileManagerCommands::desktopExec(
        QStringList{handoff} + FileManagerCommands::handoffArguments(item.id), QStringLiteral("%F"));
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
    struct Group {
        QString submenu;
        KestroMenuFileKind kind;
        QList<PlacedItem> items;
    };
    QList<Group> groups;
    for (PlacedItem& placed : placedActions(menu)) {
        const QString submenu = placed.submenus.value(0);
        if (groups.isEmpty() || groups.last().submenu != submenu ||
            groups.last().kind != placed.item.fileKind)
            groups.append({submenu, placed.item.fileKind, {}});
        groups.last().items.append(std::move(placed));
    }
    QList<GeneratedFile> files;
    for (qsizetype index = 0; index < groups.size(); ++index) {
        const Group& group = groups.at(index);
        QStringList actionNames;
        QString actions;
        for (qsizetype position = 0; position < group.items.size(); ++position) {
            const PlacedItem& placed = group.items.at(position);
            const QString name = QStringLiteral("kestro%1").arg(position);
            actionNames.append(name);
            const QString title =
                (placed.submenus.mid(1) + QStringList{placed.item.title}).join(QStringLiteral(" › "));
            actions += QStringLiteral("\n[Desktop Action %1]\nName=%2\nIcon=%3\nExec=%4\n")
                           .arg(name, value(qtMenuTitle(title)), value(placed.item.icon),
                                exec(handoff, placed.item));
        }
        QString text = QStringLiteral("[Desktop Entry]\nType=Service\nMimeType=%1\nActions=%2;\n")
                           .arg(mimeList(group.kind), actionNames.join(QLatin1Char(';')));
        if (!group.submenu.isEmpty())
            text += QStringLiteral("X-KDE-Submenu=%1\n").arg(value(qtMenuTitle(group.submenu)));
        text += QStringLiteral("X-KDE-Priority=TopLevel\n") + QString::fromLatin1(generatedMarker()) +
                QLatin1Char('\n') + actions;
        files.append(
            {QStringLiteral("kestro-%1.desktop").arg(index, 3, 10, QLatin1Char('0')), text.toUtf8()});
    }
    return files;
}

QList<FileManagerMenuFiles::GeneratedFile>
FileManagerMenuFiles::pcmanfmActions(const QList<KestroMenuItem>& menu, const QString& handoff) {
    QList<GeneratedFile> files;
    const std::function<QString(const KestroMenuItem&)> write = [&](const KestroMenuItem& item) -> QString {
        // Named after the item, so that a change rewrites only the entries it touches.
        const QString id =
            QStringLiteral("kestro-") +
            QString::fromLatin1(
                QCryptographicHash::hash(item.id.toUtf8(), QCryptographicHash::Sha1).toHex().left(16));
        QString text;
        if (item.isSubmenu()) {
            QStringList children;
            for (const KestroMenuItem& child : item.children)
                children.append(write(child));
            text = QStringLiteral("[Desktop Entry]\nType=Menu\nName=%1\nIcon=%2\nItemsList=%3;\n%4\n")
                       .arg(value(qtMenuTitle(item.title)), value(item.icon), children.join(QLatin1Char(';')),
                            QString::fromLatin1(generatedMarker()));
        } else {
            text = QStringLiteral("[Desktop Entry]\nType=Action\nName=%1\nIcon=%2\nProfiles=main;\n"
                                  "TargetContext=true\nTargetLocation=true\n%3\n\n"
                                  "[X-Action-Profile main]\nExec=%4\nMimeTypes=%5\n")
                       .arg(value(qtMenuTitle(item.title)), value(item.icon),
                            QString::fromLatin1(generatedMarker()), exec(handoff, item),
                            mimeList(item.fileKind));
        }
        files.append({id + QStringLiteral(".desktop"), text.toUtf8()});
        return id;
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
    text.replace(QStringLiteral("@MENU@"), pythonString(menuDescriptionPath));
    return text.toUtf8();
}
