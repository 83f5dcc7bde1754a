#include "actions/ProcessRunner.h"

#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"
#include "platform/Platform.h"

#include <QFileInfo>
#include <QProcess>
#include <QStringDecoder>

#include <mutex>

namespace {

std::mutex runnerPathMutex;
QString runnerPath = QStringLiteral("/usr/bin/osascript");

std::optional<QString> decodeUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

void startOrThrow(QProcess& process, const QString& executable, const QStringList& arguments) {
    process.setProgram(executable);
    process.setArguments(arguments);
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        throw PlatformError(QStringLiteral("%1: %2").arg(executable, process.errorString()));
}

bool exitedCleanly(const QProcess& process) {
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

FinderActionExecutionError failureFrom(const QByteArray& standardError, const QString& fallback) {
    const std::optional<QString> text = decodeUtf8(standardError);
    return FinderActionExecutionError::commandFailed(text ? text->trimmed() : fallback);
}

} // namespace

void ProcessRunner::runProcess(const QString& executable, const QStringList& arguments,
                               const QString& currentDirectory) {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    if (!currentDirectory.isEmpty())
        process.setWorkingDirectory(currentDirectory);
    startOrThrow(process, executable, arguments);
    process.waitForFinished(-1);
    if (!exitedCleanly(process))
        throw failureFrom(process.readAllStandardError(), QFileInfo(executable).fileName());
}

QString ProcessRunner::runProcessOutput(const QString& executable, const QStringList& arguments) {
    QProcess process;
    startOrThrow(process, executable, arguments);
    process.waitForFinished(-1);
    if (!exitedCleanly(process))
        throw failureFrom(process.readAllStandardError(), QFileInfo(executable).fileName());
    return decodeUtf8(process.readAllStandardOutput()).value_or(QString());
}

void ProcessRunner::runAppleScriptProcess(const QString& script, double timeoutSeconds) {
    QProcess process;
    startOrThrow(process, appleScriptRunnerPath(), {QStringLiteral("-e"), script});
    if (!process.waitForFinished(int(timeoutSeconds * 1000))) {
        process.kill();
        process.waitForFinished(-1);
        DiagnosticLog::append(
            QStringLiteral("osascript timed out after %1s").arg(decimalText(timeoutSeconds)));
        return;
    }
    if (exitedCleanly(process))
        return;
    const std::optional<QString> text = decodeUtf8(process.readAllStandardError());
    const QString message = text ? text->trimmed() : QString();
    throw FinderActionExecutionError::commandFailed(message.isEmpty() ? QStringLiteral("AppleScript failed")
                                                                      : message);
}

QString ProcessRunner::runAppleScriptOutput(const QString& script) {
    try {
        return Platform::fileManagerScripting().runScriptOutput(script);
    } catch (const FinderActionExecutionError&) {
        throw;
    } catch (const KestroError& error) {
        const QString message = error.errorDescription();
        throw FinderActionExecutionError::commandFailed(
            message.isEmpty() ? QStringLiteral("AppleScript failed") : message);
    }
}

void ProcessRunner::runFinderAppleScript(const QString& script) {
    runAppleScriptOutput(script);
}

QString ProcessRunner::appleScriptList(const QStringList& items) {
    QStringList quoted;
    quoted.reserve(items.size());
    for (QString item : items)
        quoted.append(QLatin1Char('"') + item.replace(QLatin1Char('"'), QStringLiteral("\\\"")) +
                      QLatin1Char('"'));
    return QLatin1Char('{') + quoted.join(QStringLiteral(", ")) + QLatin1Char('}');
}

QString ProcessRunner::appleScriptRunnerPath() {
    std::lock_guard lock(runnerPathMutex);
    return runnerPath;
}

void ProcessRunner::setAppleScriptRunnerPath(const QString& path) {
    std::lock_guard lock(runnerPathMutex);
    runnerPath = path;
}

QString ProcessRunner::decimalText(double value) {
    QString text = QString::number(value, 'g', 15);
    if (!text.contains(QLatin1Char('.')) && !text.contains(QLatin1Char('e')))
        text += QStringLiteral(".0");
    return text;
}
