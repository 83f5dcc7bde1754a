#include "support/KestroProcess.h"

#include <QElapsedTimer>
#include <QUrl>


namespace {
KestroProcess outcome(QProcess& process, int timeoutMilliseconds) {
    process.waitForFinished(timeoutMilliseconds);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}
} // namespace

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
    return outcome(process, timeoutMilliseconds);
}

bool KestroHostProcess::start(const QStringList& arguments, const QProcessEnvironment& hostEnvironment) {
    QProcessEnvironment environment = hostEnvironment;
    environment.insert(QStringLiteral("KESTRO_REPORT_READY"), QStringLiteral("1"));
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.start(KestroProcess::binary(), arguments);
    if (!m_process.waitForStarted(10000))
        return false;
    m_process.setReadChannel(QProcess::StandardError);
    QByteArray errors;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 30000 && m_process.state() == QProcess::Running) {
        m_process.waitForReadyRead(200);
        errors += m_process.readAllStandardError();
        if (errors.contains("kestro: ready\n"))
            return true;
    }
    qWarning("host did not report ready: %s", errors.constData());
    return false;
}

void KestroHostProcess::stop() {
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(10000))
        m_process.kill();
    m_process.waitForFinished(5000);
}

QString kestroActionURL(const QString& actionID, const QStringList& paths,
                        const std::optional<QString>& target, const std::optional<QString>& destination) {
    QString url = QStringLiteral("kestro://finder-action?actionID=") + QUrl::toPercentEncoding(actionID);
    const auto add = [&url](const char* key, const QString& value) {
        url += u'&' + QLatin1String(key) + u'=' + QString::fromLatin1(QUrl::toPercentEncoding(value));
    };
    for (const QString& path : paths)
        add("path", path);
    if (target)
        add("target", *target);
    if (destination)
        add("destination", *destination);
    return url;
}
