#pragma once

#include "catalogue/AppPreferences.h"

#include <QString>

// AppPreferences.plist in the application's folder (the host alone reads it; it has no second copy).
class AppPreferencesPersistence {
public:
    static QString fileURL();
    // Missing, unreadable or malformed files and wrong-typed keys load as the defaults.
    static AppPreferences load();
    // As load; leftSomethingOut tells whether a file exists that did not load as a whole.
    static AppPreferences load(bool& leftSomethingOut);
    // Never throws; false when the file could not be written.
    static bool save(const AppPreferences& preferences);
};
