#include "app/LaunchOrigin.h"

#include "platform/Platform.h"

#include <QCoreApplication>

#include <ctime>

bool LaunchOrigin::wasLikelyLaunchedAtLogin(const QStringList& arguments, bool loginItemEnabled,
                                            double uptimeSeconds) {
    if (arguments.contains(QStringLiteral("--login-item")))
        return true;
    if (!loginItemEnabled)
        return false;
    return uptimeSeconds < recentBootSeconds;
}

bool LaunchOrigin::wasLikelyLaunchedAtLogin() {
    return wasLikelyLaunchedAtLogin(QCoreApplication::arguments(), Platform::loginItems().isEnabled(),
                                    systemUptimeSeconds());
}

double LaunchOrigin::systemUptimeSeconds() {
    timespec now{};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0)
        return 1e12;
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}
