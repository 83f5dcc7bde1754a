#include "support/KestroProcess.h"

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
