#pragma once

#include <QString>
#include <QStringList>

// Child processes and AppleScript. No shell is ever involved: arguments reach the tool as they are.
class ProcessRunner {
public:
    // Runs a tool to its end; a non-zero exit throws commandFailed with its trimmed standard error.
    static void runProcess(const QString& executable, const QStringList& arguments,
                           const QString& currentDirectory = {});
    // As runProcess, returning standard output (untrimmed; empty when it is not UTF-8).
    static QString runProcessOutput(const QString& executable, const QStringList& arguments);

    // Runs a script through osascript in its own process, giving up after timeout seconds
    // (a timed-out script counts as done).
    static void runAppleScriptProcess(const QString& script, double timeoutSeconds);
    // Runs a script in process through the file manager's scripting; throws commandFailed on failure.
    static QString runAppleScriptOutput(const QString& script);
    static void runFinderAppleScript(const QString& script);

    // An AppleScript list literal: {"a", "b \"c\""}. Only double quotes are escaped.
    static QString appleScriptList(const QStringList& items);

    // The program that runs AppleScript; tests stand another executable in for it.
    static QString appleScriptRunnerPath();
    static void setAppleScriptRunnerPath(const QString& path);

    // A number as the log writes durations: 3 → "3.0", 2.5 → "2.5".
    static QString decimalText(double value);
};
