#pragma once

// The stored record of the host's own preferences.
struct AppPreferences {
    bool revealCreatedItems = false;
    bool revealActionResults = true;
    bool launchAtLogin = false;
    // A desktop notice when an action fails.
    bool showsFailureNotifications = true;

    bool operator==(const AppPreferences&) const = default;
};
