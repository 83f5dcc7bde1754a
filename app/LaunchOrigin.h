#pragma once

#include <QStringList>

// Whether this start was most likely the desktop starting Kestro at login, in which case the window stays
// hidden. On Linux the login item is the autostart entry, which passes "--login-item".
class LaunchOrigin {
public:
    static constexpr double recentBootSeconds = 180.0;

    static bool wasLikelyLaunchedAtLogin(const QStringList& arguments, bool loginItemEnabled,
                                         double uptimeSeconds);
    // Reads the arguments, the login item and the system's uptime.
    static bool wasLikelyLaunchedAtLogin();
    // Seconds since boot; a large value when unknown, so that an unknown uptime never hides the window.
    static double systemUptimeSeconds();
};
