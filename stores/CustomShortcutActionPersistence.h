#pragma once

#include "stores/CustomShortcutAction.h"

#include <optional>
#include <QList>
#include <QVariant>

// CustomShortcutActions.plist: an array of {id, name, kind, shortcutName, scriptPath} dictionaries, written
// to the application's folder and, byte for byte, to the extension's.
class CustomShortcutActionPersistence {
public:
    static QString fileName();
    static QString settingsFilePath();

    // The stored actions; empty when the file is missing or unreadable. Elements without a string id and
    // name, or whose shortcut name (script path for a script) is empty, are left out one by one.
    static QList<CustomShortcutAction> load();
    // As load; leftSomethingOut tells whether the file held anything that did not load.
    static QList<CustomShortcutAction> load(bool& leftSomethingOut);
    // Writes both copies and announces "custom-shortcut-actions". Never throws.
    static void save(const QList<CustomShortcutAction>& actions);
    // Reads the file afresh: the first action with that id.
    static std::optional<CustomShortcutAction> action(const QString& id);

    static QVariant toPropertyList(const QList<CustomShortcutAction>& actions);
    static QList<CustomShortcutAction> fromPropertyList(const QVariant& root, bool& leftSomethingOut);
};
