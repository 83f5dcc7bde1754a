#pragma once

#include <optional>
#include <QDateTime>
#include <QString>
#include <QStringList>

// The shared diagnostic log: "[date] message" lines appended to kestro-app-action.log in the
// machine's temporary root. Logging never fails its caller.
class DiagnosticLog {
public:
    static void append(const QString& message);
    // The line as written, for a given moment: "[2026-01-01 00:00:00 +0000] message\n".
    static QByteArray formatLine(const QString& message, const QDateTime& when);

    // How request fields read in log lines: ["/a", "/b"], and "none" for an absent value.
    static QString listText(const QStringList& paths);
    static QString optionalText(const std::optional<QString>& value);
};
