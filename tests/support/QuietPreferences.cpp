#include "support/QuietPreferences.h"

#include "catalogue/AppPreferencesPersistence.h"
#include "support/TestEnvironment.h"

bool saveQuietPreferences(QuietReveal quiet) {
    AppPreferences preferences;
    preferences.revealActionResults = false;
    if (quiet == QuietReveal::actionResultsAndCreatedItems)
        preferences.revealCreatedItems = false;
    return AppPreferencesPersistence::save(preferences);
}

bool resetQuietEnvironment(std::unique_ptr<TestEnvironment>& environment, QuietReveal quiet) {
    environment.reset();
    environment = std::make_unique<TestEnvironment>();
    return saveQuietPreferences(quiet);
}
