#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// Scripting of the file manager (AppleScript to Finder on macOS). Where the file manager cannot be
// scripted the answers are empty, and running a script fails with a clear error.
class FileManagerScripting {
public:
    virtual ~FileManagerScripting() = default;

    // Runs a script in process; its list result as strings. Empty on any failure.
    virtual QStringList runListScript(const QString& source) = 0;
    // Runs a script in process; its string result, or nothing on failure.
    virtual std::optional<QString> runStringScript(const QString& source) = 0;
    // Runs a script in process and returns its string result; throws commandFailed on failure.
    virtual QString runScriptOutput(const QString& source) = 0;
};
