#include "platform/linux/DBusNotifications.h"

#include "platform/Platform.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace {
void emitSignal(const QString& member, const QVariantList& arguments) {
    QDBusMessage message =
        QDBusMessage::createSignal(QString::fromLatin1(DBusNotifications::objectPath),
                                   QString::fromLatin1(DBusNotifications::interfaceName), member);
    message.setArguments(arguments);
    QDBusConnection::sessionBus().send(message);
}
} // namespace

void DBusNotifications::postSettingsChanged(const QString& reason) {
    emitSignal(QStringLiteral("SettingsChanged"), {reason});
}

void DBusNotifications::postActionQueued() {
    emitSignal(QStringLiteral("ActionQueued"), {});
}

std::shared_ptr<Notifications> createSystemNotifications() {
    return std::make_shared<DBusNotifications>();
}
