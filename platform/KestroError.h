#pragma once

#include <exception>
#include <QByteArray>
#include <QString>

// The base of every error Kestro throws: it carries the text a log line or an alert shows.
class KestroError : public std::exception {
public:
    virtual QString errorDescription() const = 0;
    const char* what() const noexcept override;

private:
    mutable QByteArray m_what;
};

// A failure reported by the operating system (file system, process launch, trash, login items),
// carrying the system's own message.
class PlatformError : public KestroError {
public:
    explicit PlatformError(QString message);
    QString errorDescription() const override { return m_message; }

private:
    QString m_message;
};

// The text to log for any exception that reaches the end of a road.
QString describeError(const std::exception& error);
