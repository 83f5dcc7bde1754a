#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// The system's Shortcuts command-line tool, where the system has one (macOS). Elsewhere there is none: the
// list of shortcuts is empty and running one fails.
class ShortcutsTool {
public:
    // The tool's path, or nothing on a system without Shortcuts.
    static std::optional<QString> executablePath();
    // Tests stand another executable in for the tool (or none); resetExecutablePath goes back to the
    // system's.
    static void setExecutablePath(const std::optional<QString>& path);
    static void resetExecutablePath();

    // The user's shortcuts in the tool's order: "list" run to its end, one trimmed name per non-empty line.
    // Empty when there is no tool, it cannot start or it fails.
    static QStringList availableShortcutNames();
};

// This system's tool; each platform folder defines it.
std::optional<QString> systemShortcutsToolPath();
