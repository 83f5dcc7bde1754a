#include "app/SingleInstance.h"

#include "platform/KestroPaths.h"

#include <QDataStream>
#include <QLocalSocket>
#include <QPointer>
#include <QTimer>

namespace {

constexpr int maximumMessageBytes = 1 << 20;
// A later launch sends its few bytes at once; a connection that sits silent longer is dropped, and no
// more than this many are served at a time, so a flood of half-open connections can neither use up the
// host's descriptors (which would stop the listener) nor keep real requests out for long.
constexpr int idleTimeoutMilliseconds = 2000;
constexpr int maximumConnections = 16;

QByteArray frame(const QStringList& message) {
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    stream << SingleInstance::protocolVersion << message;
    QByteArray framed;
    QDataStream header(&framed, QIODevice::WriteOnly);
    header << quint32(payload.size());
    return framed + payload;
}

// Reads one framed message once all of it has arrived; nothing while it is incomplete or malformed.
std::optional<QStringList> readFrame(QLocalSocket& socket) {
    if (socket.bytesAvailable() < 4)
        return std::nullopt;
    QDataStream header(socket.peek(4));
    quint32 size = 0;
    header >> size;
    if (size > maximumMessageBytes) {
        socket.abort();
        return std::nullopt;
    }
    if (socket.bytesAvailable() < 4 + qint64(size))
        return std::nullopt;
    socket.read(4);
    QDataStream stream(socket.read(size));
    stream.setVersion(QDataStream::Qt_6_0);
    quint16 version = 0;
    QStringList message;
    stream >> version >> message;
    if (version != SingleInstance::protocolVersion || stream.status() != QDataStream::Ok)
        return QStringList();
    return message;
}

} // namespace

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent) {
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    m_watchdog.setInterval(1000);
    connect(&m_watchdog, &QTimer::timeout, this, &SingleInstance::keepListening);
}

SingleInstance::~SingleInstance() {
    m_server.close();
}

QString SingleInstance::socketPath() {
    return KestroPaths::runtimeDirectory() + QStringLiteral("/kestro.socket");
}
QString SingleInstance::lockPath() {
    return KestroPaths::runtimeDirectory() + QStringLiteral("/kestro.lock");
}

bool SingleInstance::sendToRunningInstance(const QStringList& message, int timeoutMilliseconds) {
    // A listener in a folder someone else controls could read the request and answer for the host.
    if (!KestroPaths::isPrivateDirectory(KestroPaths::runtimeDirectory()))
        return false;
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(timeoutMilliseconds))
        return false;
    socket.write(frame(message));
    if (!socket.waitForBytesWritten(timeoutMilliseconds))
        return false;
    // The host answers one byte once it has taken the message.
    return socket.waitForReadyRead(timeoutMilliseconds) && socket.read(1) == "1";
}

bool SingleInstance::listen() {
    KestroPaths::ensurePrivateDirectory(KestroPaths::runtimeDirectory());
    m_lock = std::make_unique<QLockFile>(lockPath());
    // A lock left by a crashed host names a dead process; QLockFile takes such a lock over.
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(100)) {
        m_lock.reset();
        return false;
    }
    // We hold the lock, so a socket file still present is a leftover of a host that died.
    QLocalServer::removeServer(socketPath());
    if (!m_server.listen(socketPath())) {
        m_lock.reset();
        return false;
    }
    m_watchdog.start();
    return true;
}

void SingleInstance::acceptConnections() {
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        // Full: the connection that has waited longest goes. A later launch sends at once, so the newest
        // connection is the one most likely to carry a request.
        m_connections.removeIf([](const QPointer<QLocalSocket>& open) { return open.isNull(); });
        if (m_connections.size() >= maximumConnections) {
            QLocalSocket* oldest = m_connections.takeFirst();
            oldest->abort();
            oldest->deleteLater();
        }
        m_connections.append(socket);
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        auto* idle = new QTimer(socket);
        idle->setSingleShot(true);
        connect(idle, &QTimer::timeout, socket, [socket] {
            socket->abort();
            socket->deleteLater();
        });
        idle->start(idleTimeoutMilliseconds);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket, idle] {
            idle->start(idleTimeoutMilliseconds);
            const std::optional<QStringList> message = readFrame(*socket);
            if (!message)
                return;
            socket->write("1");
            socket->flush();
            socket->disconnectFromServer();
            if (!message->isEmpty())
                emit messageReceived(*message);
        });
    }
}

void SingleInstance::keepListening() {
    // Qt closes the server when accepting fails (no descriptor left for a moment, say), without a signal.
    if (m_lock && !m_server.isListening()) {
        QLocalServer::removeServer(socketPath());
        m_server.listen(socketPath());
    }
}
