#pragma once

#include <QString>

// Announcements to other processes of the same user (the file-manager side and other Kestro processes).
class Notifications {
public:
    virtual ~Notifications() = default;

    virtual void postSettingsChanged(const QString& reason) = 0;
    virtual void postActionQueued() = 0;
};
