#pragma once

#include <optional>
#include <QString>
#include <QStringList>

struct CustomShortcutAction;

// The user's own shortcuts and scripts, run on the selection (or, without one, on the targeted folder).
// The list is read afresh at every run, so an edit in the settings window counts at once.
class CustomActionRunner {
public:
    struct Invocation {
        QString executable;
        QStringList arguments;
    };

    // Runs the shortcut through the Shortcuts tool; fails clearly where the system has no Shortcuts.
    static void runCustomShortcut(const QString& id, const QStringList& selectedURLs,
                                  const std::optional<QString>& targetedURL);
    // Runs the script with every input path as an argument of its own; no shell ever sees the paths.
    static void runCustomScript(const QString& id, const QStringList& selectedURLs,
                                const std::optional<QString>& targetedURL);

    // The program that runs a script, and its arguments: an executable script runs itself; otherwise the
    // extension picks the interpreter (py, applescript/scpt, bash), and anything else runs under zsh where
    // the system has it, else sh.
    static Invocation scriptInvocation(const QString& scriptPath, const QStringList& inputPaths);
    // Whether the action can run on this system at all: a shortcut needs the Shortcuts tool, a script
    // that is not executable itself needs its interpreter (AppleScript has none on Linux).
    static bool canRunHere(const CustomShortcutAction& action);
    // "run", the shortcut's name, then "--input-path" and the path for every input.
    static QStringList shortcutArguments(const QString& shortcutName, const QStringList& inputPaths);
};
