#pragma once

#include <memory>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

// One Kestro host per user. The first process takes a lock and listens on a user-only local socket; a later
// launch hands its request over that socket and exits. Messages are framed: a version, then the arguments.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    static constexpr quint16 protocolVersion = 1;

    explicit SingleInstance(QObject* parent = nullptr);
    ~SingleInstance() override;

    static QString socketPath();
    static QString lockPath();

    // Hands the message to a running host; true when it acknowledged it.
    static bool sendToRunningInstance(const QStringList& message, int timeoutMilliseconds = 3000);
    // Takes the lock and starts listening; false when another host holds the lock. Throws PlatformError
    // when the runtime folder is not a private folder of this user's.
    bool listen();

signals:
    // A message from a later launch: ["open-url", url] or ["show"].
    void messageReceived(const QStringList& message);

private:
    void acceptConnections();
    void keepListening();

    std::unique_ptr<QLockFile> m_lock;
    QLocalServer m_server;
    // The connections being served, oldest first.
    QList<QPointer<QLocalSocket>> m_connections;
    QTimer m_watchdog;
};
