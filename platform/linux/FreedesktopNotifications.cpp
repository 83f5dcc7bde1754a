#include "platform/linux/FreedesktopNotifications.h"

#include "platform/Platform.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <memory>

void FreedesktopNotifications::show(const QString& summary, const QString& body, bool replacesPrevious) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("kestro")},
                            {QStringLiteral("urgency"), QVariant::fromValue(uchar(1))}};
    call.setArguments({QStringLiteral("Kestro"), replacesPrevious ? *m_lastId : quint32(0),
                       QStringLiteral("kestro"), summary, body, QStringList(), hints, qint32(-1)});
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call));
    // The service answers with the notice's id, which a later notice replaces.
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [lastId = m_lastId, watcher] {
        const QDBusPendingReply<quint32> reply = *watcher;
        if (!reply.isError())
            *lastId = reply.value();
        watcher->deleteLater();
    });
}

std::shared_ptr<DesktopNotifications> createSystemDesktopNotifications() {
    return std::make_shared<FreedesktopNotifications>();
}
