#pragma once

#include "platform/DesktopNotifications.h"

#include <memory>
#include <QtGlobal>

// org.freedesktop.Notifications on the session bus. Calls are asynchronous: a slow or missing service
// never holds up the caller.
class FreedesktopNotifications : public DesktopNotifications {
public:
    void show(const QString& summary, const QString& body, bool replacesPrevious) override;
    // The id the service gave the last notice once it answered; 0 before that or without a service.
    quint32 lastNoticeId() const { return *m_lastId; }

private:
    // Shared with answers still on their way, which may arrive after this object is gone.
    std::shared_ptr<quint32> m_lastId = std::make_shared<quint32>(0);
};
