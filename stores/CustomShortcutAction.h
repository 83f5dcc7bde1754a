#pragma once

#include <QHashFunctions>
#include <QString>

// One of the user's own menu entries: a shortcut of the Shortcuts application run with the selected files,
// or a script file run with the selected paths as arguments.
struct CustomShortcutAction {
    enum class Kind { shortcut, script };

    QString id;
    QString name;
    Kind kind = Kind::shortcut;
    QString shortcutName; // empty for a script
    QString scriptPath;   // empty for a shortcut

    // The action ID the menu sends: "runShortcut__" or "runScript__", then the id.
    QString actionID() const;

    static QString kindRawValue(Kind kind);

    friend bool operator==(const CustomShortcutAction&, const CustomShortcutAction&) = default;
};

inline size_t qHash(const CustomShortcutAction& action, size_t seed = 0) {
    return qHashMulti(seed, action.id, action.name, int(action.kind), action.shortcutName, action.scriptPath);
}
