#pragma once

#include "stores/CustomShortcutAction.h"

#include <optional>
#include <QList>
#include <QObject>
#include <QSet>

// The user's own menu entries (shortcuts and scripts), edited from the settings window. There are no
// defaults; every edit replaces the list, saves both copies of the file and then emits actionsChanged.
// Main thread only.
class CustomShortcutActionStore : public QObject {
    Q_OBJECT
public:
    // Loads the file once (a file that did not load whole is first copied aside); nothing is written.
    explicit CustomShortcutActionStore(QObject* parent = nullptr);

    const QList<CustomShortcutAction>& actions() const { return m_actions; }

    // Offers the user's shortcuts in the shortcut picker and adds the one chosen or typed.
    void addAction();
    // Asks for a script file with an open panel and adds it.
    void addScriptAction();
    // The same additions without asking; nothing when the name (the path) is empty after trimming.
    std::optional<CustomShortcutAction> addShortcut(const QString& shortcutName, const QString& displayName);
    std::optional<CustomShortcutAction> addScript(const QString& scriptPath);

    // Removes the actions at those offsets (offsets out of range are ignored).
    void removeActions(const QSet<qsizetype>& offsets);
    // Moves the actions at those offsets as one block before the one at destination (the shared list move).
    void moveActions(const QSet<qsizetype>& offsets, qsizetype destination);
    // Renames the stored action with action.id to newName trimmed; an empty name falls back to the script
    // path (script) or the shortcut name (shortcut). An unknown id changes nothing.
    void update(const CustomShortcutAction& action, const QString& newName);

    // The user's shortcuts, in the Shortcuts tool's order; empty where the system has no Shortcuts.
    static QStringList availableShortcutNames();

signals:
    void actionsChanged();

private:
    void store(const QList<CustomShortcutAction>& actions);

    QList<CustomShortcutAction> m_actions;
};
