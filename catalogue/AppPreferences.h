#pragma once

// The stored record of the host's own preferences.
struct AppPreferences {
    bool revealCreatedItems = false;
    bool revealActionResults = true;
    bool launchAtLogin = false;

    bool operator==(const AppPreferences&) const = default;
};
