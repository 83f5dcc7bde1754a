#include "app/SingleInstance.h"

#include "platform/KestroPaths.h"

#include <QDataStream>
#include <QLocalSocket>

namespace {

constexpr int maximumMessageBytes = 1 << 20;

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
    return true;
}

void SingleInstance::acceptConnections() {
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
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
