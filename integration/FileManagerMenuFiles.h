#pragma once

#include "integration/KestroMenuItem.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The Kestro menu written in each file manager's own form. These only render the model: what shows where
// comes from the items. Every generated desktop entry carries generatedMarker(), which is how Kestro tells
// its files from the user's.
namespace FileManagerMenuFiles {

struct GeneratedFile {
    QString fileName;
    QByteArray bytes;
};

QByteArray generatedMarker();

// Dolphin service menus (kio/servicemenus): one file per run of items that share a submenu and a file
// kind. Dolphin nests one level: deeper submenu titles go in front of the item's title.
QList<GeneratedFile> dolphinServiceMenus(const QList<KestroMenuItem>& menu, const QString& handoff);

// A service menu that shows nothing and hides a system-wide one of the same name: Dolphin reads the
// user's folder first and honours Hidden=true.
QByteArray dolphinHidingFile();
bool isDolphinHidingFile(const QByteArray& bytes);

// PCManFM-Qt actions (file-manager/actions): a Type=Menu entry per submenu listing its items, a Type=Action
// entry per item.
QList<GeneratedFile> pcmanfmActions(const QList<KestroMenuItem>& menu, const QString& handoff);

// The GNOME Files / Nemo extension module, pointed at this hand-off and menu description; with no
// description path, it reads the menu of the user running the file manager (the module installed for all).
QByteArray pythonExtension(const QString& handoff, const QString& menuDescriptionPath);

// Leaves with the titles of the submenus they sit in, depth first.
struct PlacedItem {
    QStringList submenus;
    KestroMenuItem item;
};
QList<PlacedItem> placedActions(const QList<KestroMenuItem>& menu);

} // namespace FileManagerMenuFiles
