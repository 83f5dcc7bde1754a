#pragma once

#include <QString>

// Notices on the user's desktop (the freedesktop notification service on Linux): shown without
// interrupting anything. Where no notification service runs they are simply not shown. Main thread only.
class DesktopNotifications {
public:
    virtual ~DesktopNotifications() = default;

    // Shows a notice from Kestro. With replacesPrevious it takes the place of the last notice this process
    // showed, when that is still on screen, so that a burst of news reads as one notice.
    virtual void show(const QString& summary, const QString& body, bool replacesPrevious) = 0;
};
