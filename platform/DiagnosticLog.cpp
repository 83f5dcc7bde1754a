#include "platform/DiagnosticLog.h"

#include "platform/KestroPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimeZone>

#include <cstdio>
#include <mutex>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Drops the older half of the log, keeping whole lines. The caller holds the file's lock.
void dropOlderHalf(int descriptor, qint64 size) {
    QByteArray kept(size - size / 2, Qt::Uninitialized);
    const ssize_t read = ::pread(descriptor, kept.data(), size_t(kept.size()), off_t(size / 2));
    if (read < 0)
        return;
    kept.truncate(read);
    const qsizetype firstLineEnd = kept.indexOf('\n');
    kept.remove(0, firstLineEnd < 0 ? kept.size() : firstLineEnd + 1);
    if (::ftruncate(descriptor, 0) != 0)
        return;
    // The descriptor appends, so this lands at the start of the now empty file.
    [[maybe_unused]] const ssize_t written = ::write(descriptor, kept.constData(), size_t(kept.size()));
}

} // namespace

bool DiagnosticLog::isHiddenOrControl(char16_t code) {
    return code < 0x20 || code == 0x7f || (code >= 0x80 && code < 0xa0) || code == 0x2028 || code == 0x2029 ||
           code == 0x061c || (code >= 0x200b && code <= 0x200f) || (code >= 0x202a && code <= 0x202e) ||
           code == 0x2060 || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

QString DiagnosticLog::escapedText(const QString& text) {
    QString escaped;
    escaped.reserve(text.size());
    for (const QChar character : text) {
        const char16_t code = character.unicode();
        if (!isHiddenOrControl(code)) {
            escaped.append(character);
            continue;
        }
        switch (code) {
        case '\n':
            escaped.append(QLatin1String("\\n"));
            break;
        case '\r':
            escaped.append(QLatin1String("\\r"));
            break;
        case '\t':
            escaped.append(QLatin1String("\\t"));
            break;
        case 0:
            escaped.append(QLatin1String("\\0"));
            break;
        default:
            escaped.append(code > 0xff ? QStringLiteral("\\u%1").arg(int(code), 4, 16, QLatin1Char('0'))
                                       : QStringLiteral("\\x%1").arg(int(code), 2, 16, QLatin1Char('0')));
        }
    }
    return escaped;
}

QByteArray DiagnosticLog::formatLine(const QString& message, const QDateTime& when) {
    const QString stamp = when.toTimeZone(QTimeZone::utc()).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    return (QLatin1Char('[') + stamp + QStringLiteral(" +0000] ") + escapedText(message) + QLatin1Char('\n'))
        .toUtf8();
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

namespace {

// The log at path when it is a plain file of ours with no second name, open for appending, else -1. The
// temporary root is shared with other accounts: never follow a link planted there, never wait on a pipe or
// device put in the log's place (O_NONBLOCK: opening never waits), and keep the file private. Read access
// is for trimming.
int openOwnLog(const QByteArray& path) {
    const int descriptor =
        ::open(path.constData(), O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return -1;
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::getuid() &&
        status.st_nlink == 1)
        return descriptor;
    ::close(descriptor);
    return -1;
}

// Another account can take the shared name first; logging must not stop for that (refusals would go
// unrecorded), so the log moves to the user's own state folder, and standard error says so once.
int openFallbackLog(const QString& sharedPath) {
    const QString path = KestroPaths::privateLogPath();
    const QString folder = QFileInfo(path).path();
    if (!QFileInfo(folder).isDir() && ::mkdir(QFile::encodeName(folder).constData(), 0700) != 0) {
        QDir().mkpath(QFileInfo(folder).path());
        ::mkdir(QFile::encodeName(folder).constData(), 0700);
    }
    static std::once_flag told;
    std::call_once(told, [&] {
        std::fprintf(stderr, "kestro: %s is not a plain file of this user's; logging to %s instead\n",
                     QFile::encodeName(sharedPath).constData(), QFile::encodeName(path).constData());
    });
    return openOwnLog(QFile::encodeName(path));
}

} // namespace

void DiagnosticLog::append(const QString& message) {
    const QByteArray line = formatLine(message, QDateTime::currentDateTimeUtc());
    const QString sharedPath = KestroPaths::diagnosticLogPath();
    int descriptor = openOwnLog(QFile::encodeName(sharedPath));
    if (descriptor < 0)
        descriptor = openFallbackLog(sharedPath);
    if (descriptor < 0)
        return;
    // Several Kestro processes may log at once: the lock keeps trimming and writing apart. One write per
    // line, so lines never interleave.
    ::flock(descriptor, LOCK_EX);
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && status.st_size > sizeLimit)
        dropOlderHalf(descriptor, status.st_size);
    [[maybe_unused]] const ssize_t written = ::write(descriptor, line.constData(), size_t(line.size()));
    ::flock(descriptor, LOCK_UN);
    ::close(descriptor);
}
