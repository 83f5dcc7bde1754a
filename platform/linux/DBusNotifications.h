#pragma once

#include "platform/Notifications.h"

// Session-bus signals on /app/tandry/Kestro, interface app.tandry.Kestro. Without a session bus the
// announcements are simply not heard.
class DBusNotifications : public Notifications {
public:
    static constexpr const char* objectPath = "/app/tandry/Kestro";
    static constexpr const char* interfaceName = "app.tandry.Kestro";

    void postSettingsChanged(const QString& reason) override;
    void postActionQueued() override;
};
