#include "platform/KestroPaths.h"

#include <QDir>

#include <unistd.h>

QString KestroPaths::xdgDirectory(const char* variable, const QString& fallbackUnderHome) {
    const QString value = qEnvironmentVariable(variable);
    // The XDG rules ignore relative values.
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return QDir::cleanPath(value);
    return homeDirectory() + QLatin1Char('/') + fallbackUnderHome;
}

QString KestroPaths::homeDirectory() {
    return QDir::homePath();
}

QString KestroPaths::configHome() {
    return xdgDirectory("XDG_CONFIG_HOME", QStringLiteral(".config"));
}

QString KestroPaths::dataHome() {
    return xdgDirectory("XDG_DATA_HOME", QStringLiteral(".local/share"));
}

QString KestroPaths::applicationSupportDirectory() {
    return xdgDirectory("XDG_CONFIG_HOME", QStringLiteral(".config")) + QStringLiteral("/kestro");
}

QString KestroPaths::extensionDirectory() {
    return xdgDirectory("XDG_DATA_HOME", QStringLiteral(".local/share")) +
           QStringLiteral("/kestro/extension");
}

QString KestroPaths::extensionQueueDirectory() {
    return extensionDirectory() + QStringLiteral("/ActionQueue");
}

QString KestroPaths::temporaryRoot() {
    const QString value = qEnvironmentVariable("KESTRO_TMPDIR");
    return value.isEmpty() ? QStringLiteral("/tmp") : QDir::cleanPath(value);
}

QString KestroPaths::sharedQueueDirectory() {
    return temporaryRoot() + QStringLiteral("/kestro-action-queue");
}

QString KestroPaths::diagnosticLogPath() {
    return temporaryRoot() + QStringLiteral("/kestro-app-action.log");
}

QString KestroPaths::userTemporaryDirectory() {
    return QDir::tempPath();
}

QString KestroPaths::runtimeDirectory() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir::isAbsolutePath(runtime) && qEnvironmentVariableIsEmpty("KESTRO_TMPDIR"))
        return QDir::cleanPath(runtime) + QStringLiteral("/kestro");
    return temporaryRoot() + QStringLiteral("/kestro-") + QString::number(getuid());
}

QString KestroPaths::autostartDirectory() {
    return xdgDirectory("XDG_CONFIG_HOME", QStringLiteral(".config")) + QStringLiteral("/autostart");
}

QString KestroPaths::applicationsDirectory() {
    return xdgDirectory("XDG_DATA_HOME", QStringLiteral(".local/share")) + QStringLiteral("/applications");
}
