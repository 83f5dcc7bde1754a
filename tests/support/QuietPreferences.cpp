#include "support/QuietPreferences.h"

#include "catalogue/AppPreferencesPersistence.h"

bool saveQuietPreferences(QuietReveal quiet) {
    AppPreferences preferences;
    preferences.revealActionResults = false;
    if (quiet == QuietReveal::actionResultsAndCreatedItems)
        preferences.revealCreatedItems = false;
    return AppPreferencesPersistence::save(preferences);
}
