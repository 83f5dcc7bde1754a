#include "platform/ShortcutsTool.h"

#include <QProcess>
#include <QStringDecoder>

#include <mutex>

namespace {

std::mutex pathMutex;
bool overridden = false;
std::optional<QString> overridePath;

} // namespace

std::optional<QString> ShortcutsTool::executablePath() {
    std::lock_guard lock(pathMutex);
    return overridden ? overridePath : systemShortcutsToolPath();
}

void ShortcutsTool::setExecutablePath(const std::optional<QString>& path) {
    std::lock_guard lock(pathMutex);
    overridden = true;
    overridePath = path;
}

void ShortcutsTool::resetExecutablePath() {
    std::lock_guard lock(pathMutex);
    overridden = false;
    overridePath.reset();
}

QStringList ShortcutsTool::availableShortcutNames() {
    const std::optional<QString> tool = executablePath();
    if (!tool)
        return {};
    QProcess process;
    process.setProgram(*tool);
    process.setArguments({QStringLiteral("list")});
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        return {};
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return {};
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString output = decoder.decode(process.readAllStandardOutput());
    QStringList names;
    for (const QString& line : output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString name = line.trimmed();
        if (!name.isEmpty())
            names.append(name);
    }
    return names;
}
