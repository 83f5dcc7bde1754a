#pragma once

#include <optional>
#include <QDateTime>
#include <QString>
#include <QStringList>

// The shared diagnostic log: "[date] message" lines appended to kestro-app-action.log in the machine's
// temporary root. Logging never fails its caller and never blocks it. A shared log that is not a plain file
// of ours (a pipe, a device, a link, another account's file) is never written: the lines go to the user's
// private log instead (KestroPaths::privateLogPath), and standard error says so once.
class DiagnosticLog {
public:
    // Past this size the oldest half of the log is dropped before the next line is written.
    static constexpr qint64 sizeLimit = 4 * 1024 * 1024;

    static void append(const QString& message);
    // The line as written, for a given moment: "[2026-01-01 00:00:00 +0000] message\n". Control characters
    // in the message are escaped, so one request always makes one line and cannot forge others or hide
    // what it names.
    static QByteArray formatLine(const QString& message, const QDateTime& when);
    // C0 and C1 controls, line and paragraph separators, and the characters that reorder or hide text
    // (bidi controls, zero-width characters): "report\u202Efdp.hs" would read as "reportsh.pdf".
    static bool isHiddenOrControl(char16_t code);
    // Those characters as C escapes ("\n", "\t", "\x01", "\0"); everything else unchanged.
    static QString escapedText(const QString& text);

    // How request fields read in log lines: ["/a", "/b"], and "none" for an absent value.
    static QString listText(const QStringList& paths);
    static QString optionalText(const std::optional<QString>& value);
};
