#pragma once

// Registers or unregisters the start at login, doing nothing when the system already agrees.
class LaunchAtLoginController {
public:
    // Throws PlatformError when the system refuses.
    static void setEnabled(bool enabled);
};
