#include "platform/ActionQueuedObserver.h"

#include "platform/linux/DBusNotifications.h"

#include <QDBusConnection>

// The session-bus signal ActionQueued on /app/tandry/Kestro, from any sender.
bool observeActionQueued(QObject* receiver, const char* slot) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    return bus.connect(QString(), QString::fromLatin1(DBusNotifications::objectPath),
                       QString::fromLatin1(DBusNotifications::interfaceName), QStringLiteral("ActionQueued"),
                       receiver, slot);
}

void stopObservingActionQueued(QObject* receiver, const char* slot) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected())
        bus.disconnect(QString(), QString::fromLatin1(DBusNotifications::objectPath),
                       QString::fromLatin1(DBusNotifications::interfaceName), QStringLiteral("ActionQueued"),
                       receiver, slot);
}
