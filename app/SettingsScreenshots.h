#pragma once

#include <QString>

class KestroHost;

// Saves a picture of every settings page, of the feature-request sheet and of the open tray menu into a
// folder, for the documentation, and of the progress window while it packs the folder KESTRO_SCREENSHOT_PACK
// names (then stopped). Driven by the host itself, so the pictures show the real widgets and a real action.
class SettingsScreenshots {
public:
    // False (with a line on standard error) when a picture could not be saved.
    static bool capture(KestroHost& host, const QString& directory);
};
