#include "platform/DiagnosticLog.h"

#include "platform/KestroPaths.h"

#include <QTimeZone>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

QByteArray DiagnosticLog::formatLine(const QString& message, const QDateTime& when) {
    const QString stamp = when.toTimeZone(QTimeZone::utc()).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    return (QLatin1Char('[') + stamp + QStringLiteral(" +0000] ") + message + QLatin1Char('\n')).toUtf8();
}

QString DiagnosticLog::listText(const QStringList& paths) {
    QStringList quoted;
    for (const QString& path : paths)
        quoted.append(QLatin1Char('"') + path + QLatin1Char('"'));
    return QLatin1Char('[') + quoted.join(QStringLiteral(", ")) + QLatin1Char(']');
}

QString DiagnosticLog::optionalText(const std::optional<QString>& value) {
    return value ? *value : QStringLiteral("none");
}

void DiagnosticLog::append(const QString& message) {
    const QByteArray line = formatLine(message, QDateTime::currentDateTimeUtc());
    const QByteArray path = KestroPaths::diagnosticLogPath().toLocal8Bit();
    // The temporary root is shared with other accounts: never follow a link planted there, keep the file
    // private, and leave alone a log that someone else owns.
    const int descriptor =
        ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return;
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && status.st_uid == ::getuid() && S_ISREG(status.st_mode)) {
        // One write per line, so lines from two threads never interleave.
        [[maybe_unused]] const ssize_t written = ::write(descriptor, line.constData(), size_t(line.size()));
    }
    ::close(descriptor);
}
