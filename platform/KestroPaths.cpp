#include "platform/KestroPaths.h"

#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
bool isPrivateDirectoryStatus(const struct stat& status) {
    return S_ISDIR(status.st_mode) && status.st_uid == ::getuid() && (status.st_mode & 07777) == 0700;
}
} // namespace

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

QString KestroPaths::privateLogPath() {
    return xdgDirectory("XDG_STATE_HOME", QStringLiteral(".local/state")) +
           QStringLiteral("/kestro/kestro-app-action.log");
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

bool KestroPaths::isPrivateDirectory(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && isPrivateDirectoryStatus(status);
}

void KestroPaths::ensurePrivateDirectory(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    if (::mkdir(name.constData(), 0700) != 0 && errno != EEXIST) {
        // A missing parent (a fresh XDG_RUNTIME_DIR lives elsewhere) is made the ordinary way.
        if (errno != ENOENT || !QDir().mkpath(QFileInfo(path).path()) || ::mkdir(name.constData(), 0700) != 0)
            throw PlatformError(QCoreApplication::translate("KestroPaths", "无法创建文件夹：%1").arg(path));
    }
    // Opened without following a link, then checked through the descriptor, so what is checked is what is
    // there. A fresh folder gets exactly 0700 whatever the umask.
    const int descriptor = ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {};
    bool ok = descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode) &&
              status.st_uid == ::getuid();
    if (ok && (status.st_mode & 07777) != 0700 && (status.st_mode & 077) == 0)
        ok = ::fchmod(descriptor, 0700) == 0 && ::fstat(descriptor, &status) == 0;
    if (descriptor >= 0)
        ::close(descriptor);
    if (!ok || !isPrivateDirectoryStatus(status))
        throw PlatformError(
            QCoreApplication::translate(
                "KestroPaths", "文件夹“%1”不安全：它必须是当前用户自己的文件夹，且只有当前用户可以访问（权限 "
                               "0700）。请删除或改正它后再试。")
                .arg(path));
}
