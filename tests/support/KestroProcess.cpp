#include "support/KestroProcess.h"

#include <QFile>
#include <QStandardPaths>
#include <QUrl>

#include <unistd.h>

QString KestroProcess::binary() {
    return qEnvironmentVariable("KESTRO_BINARY");
}

QProcessEnvironment KestroProcess::environment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    return environment;
}

KestroProcess KestroProcess::run(const QStringList& arguments, int timeoutMilliseconds) {
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(binary(), arguments);
    process.waitForFinished(timeoutMilliseconds);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

std::optional<KestroProcess> KestroProcess::runUnprivileged(const QStringList& arguments, const QString& tree,
                                                            QString* skipReason) {
    if (::geteuid() != 0)
        return run(arguments);
    const QString setpriv = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
    if (setpriv.isEmpty()) {
        *skipReason = QStringLiteral("running as root and setpriv is missing: permissions cannot be tested");
        return std::nullopt;
    }
    QProcess chown;
    chown.start(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("nobody:nogroup"), tree});
    if (!chown.waitForFinished() || chown.exitCode() != 0 ||
        !QFile::setPermissions(tree,
                               QFile::permissions(tree) | QFileDevice::ReadOther | QFileDevice::ExeOther)) {
        *skipReason = QStringLiteral("running as root and the test folder cannot be given to nobody");
        return std::nullopt;
    }
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(setpriv, QStringList{QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
                                       QStringLiteral("--clear-groups"), QStringLiteral("--"), binary()} +
                               arguments);
    process.waitForFinished(120000);
    return KestroProcess{process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                         process.readAllStandardOutput(), process.readAllStandardError()};
}

QString KestroProcess::requestURL(const QString& actionID, const QStringList& paths, const QString& target) {
    QString url = QStringLiteral("kestro://finder-action?actionID=") + actionID;
    for (const QString& path : paths)
        url += QStringLiteral("&path=") + QString::fromLatin1(QUrl::toPercentEncoding(path));
    return url + QStringLiteral("&target=") + QString::fromLatin1(QUrl::toPercentEncoding(target));
}
