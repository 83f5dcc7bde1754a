#include "actions/CustomActionRunner.h"

#include "actions/FinderActionExecutor.h"
#include "actions/ProcessRunner.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/ShortcutsTool.h"
#include "stores/CustomShortcutActionPersistence.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("CustomActionRunner", text);
}

QStringList inputsOrThrow(const QStringList& selectedURLs, const std::optional<QString>& targetedURL) {
    const QStringList inputs = FinderActionExecutor::effectiveURLs(selectedURLs, targetedURL);
    if (inputs.isEmpty())
        throw FinderActionExecutionError::noSelection();
    return inputs;
}

QString defaultShell() {
    return QFileInfo(QStringLiteral("/bin/zsh")).isExecutable() ? QStringLiteral("/bin/zsh")
                                                                : QStringLiteral("/bin/sh");
}

} // namespace

QStringList CustomActionRunner::shortcutArguments(const QString& shortcutName,
                                                  const QStringList& inputPaths) {
    QStringList arguments{QStringLiteral("run"), shortcutName};
    for (const QString& path : inputPaths)
        arguments << QStringLiteral("--input-path") << path;
    return arguments;
}

void CustomActionRunner::runCustomShortcut(const QString& id, const QStringList& selectedURLs,
                                           const std::optional<QString>& targetedURL) {
    const std::optional<CustomShortcutAction> action = CustomShortcutActionPersistence::action(id);
    if (!action)
        throw FinderActionExecutionError::unsupportedAction(QStringLiteral("runShortcut__") + id);
    const QStringList inputs = inputsOrThrow(selectedURLs, targetedURL);
    const std::optional<QString> tool = ShortcutsTool::executablePath();
    if (!tool)
        throw FinderActionExecutionError::commandFailed(
            translated("这个系统上没有“快捷指令”，无法运行快捷指令。"));
    ProcessRunner::runProcess(*tool, shortcutArguments(action->shortcutName, inputs));
}

CustomActionRunner::Invocation CustomActionRunner::scriptInvocation(const QString& scriptPath,
                                                                    const QStringList& inputPaths) {
    const QFileInfo script(scriptPath);
    if (script.isFile() && script.isExecutable())
        return {scriptPath, inputPaths};
    const QString extension = script.suffix().toLower();
    QString interpreter = defaultShell();
    if (extension == QLatin1String("py"))
        interpreter = QStringLiteral("/usr/bin/python3");
    else if (extension == QLatin1String("applescript") || extension == QLatin1String("scpt"))
        interpreter = ProcessRunner::appleScriptRunnerPath();
    else if (extension == QLatin1String("bash"))
        interpreter = QStringLiteral("/bin/bash");
    return {interpreter, QStringList{scriptPath} + inputPaths};
}

bool CustomActionRunner::canRunHere(const CustomShortcutAction& action) {
    if (action.kind == CustomShortcutAction::Kind::shortcut)
        return ShortcutsTool::executablePath().has_value();
    const Invocation invocation = scriptInvocation(action.scriptPath, {});
    return invocation.executable == action.scriptPath || QFileInfo(invocation.executable).isExecutable();
}

void CustomActionRunner::runCustomScript(const QString& id, const QStringList& selectedURLs,
                                         const std::optional<QString>& targetedURL) {
    const std::optional<CustomShortcutAction> action = CustomShortcutActionPersistence::action(id);
    if (!action || action->kind != CustomShortcutAction::Kind::script)
        throw FinderActionExecutionError::unsupportedAction(QStringLiteral("runScript__") + id);
    const QStringList inputs = inputsOrThrow(selectedURLs, targetedURL);
    if (!QFileInfo::exists(action->scriptPath))
        throw FinderActionExecutionError::sourceItemMissing(action->scriptPath);
    DiagnosticLog::append(QStringLiteral("run script path=") + action->scriptPath +
                          QStringLiteral(" input=") + DiagnosticLog::listText(inputs));
    const Invocation invocation = scriptInvocation(action->scriptPath, inputs);
    // An interpreter this system lacks (AppleScript on Linux, a missing Python) gets a sentence, not errno.
    if (!canRunHere(*action))
        throw FinderActionExecutionError::commandFailed(
            translated("这个系统上没有 %1，无法运行这个脚本。").arg(invocation.executable));
    ProcessRunner::runProcess(invocation.executable, invocation.arguments);
}
