#pragma once

#include <optional>
#include <QByteArray>
#include <QList>
#include <QString>

// One queue folder, opened for one pass. The folder is opened once without following links and checked
// through that descriptor; every later step (listing, claim, read, removal) goes through the same
// descriptor, so a folder swapped for a link after the check is never followed.
class KestroQueueDirectory {
public:
    enum class State { open, missing, skipped };

    struct Entry {
        QByteArray fileName; // the bytes on disk, for the system calls
        QString name;        // the same decoded, for order and log lines
        bool isDirectory = false;
    };

    // A folder that is missing reads as missing, or is created private to the user when asked to.
    // A folder that is a link, is owned by someone else or can be written by group or others is skipped.
    KestroQueueDirectory(const QString& path, bool createWhenMissing);
    ~KestroQueueDirectory();
    KestroQueueDirectory(const KestroQueueDirectory&) = delete;
    KestroQueueDirectory& operator=(const KestroQueueDirectory&) = delete;

    const QString& path() const { return m_path; }
    State state() const { return m_state; }
    const QString& skipReason() const { return m_skipReason; }

    // Every entry but "." and "..". Throws PlatformError when the folder cannot be listed.
    QList<Entry> entries() const;
    // Throws PlatformError with the system's message when the rename fails (someone else claimed it).
    void rename(const QByteArray& from, const QByteArray& to) const;
    // Why the entry cannot be a request written by the user's own channel, or nothing when it can: a
    // regular file of this user's, with one name, that nobody else can write.
    std::optional<QString> untrustedReason(const QByteArray& fileName) const;
    // Whether nothing has modified the entry for the last seconds (a writer is done with it).
    bool isSettled(const QByteArray& fileName, int seconds) const;
    // The file's bytes, or nothing when it is not such a file or is larger than limit.
    // Throws PlatformError when it cannot be opened or read.
    std::optional<QByteArray> read(const QByteArray& fileName, qint64 limit) const;
    // Errors are ignored: a claimed file that cannot be removed is never scanned again anyway.
    void remove(const QByteArray& fileName) const;

private:
    void checkOwnership();

    QString m_path;
    int m_descriptor = -1;
    State m_state = State::missing;
    QString m_skipReason;
};
