#pragma once

class AppPreferencesStore;
class CustomDestinationStore;
class CustomShortcutActionStore;
class FeatureSettingsStore;
class FinderViewPresetStore;
class ScheduledDeletionListStore;

// The stores the settings window edits; the host owns them for the life of the process.
struct SettingsStores {
    FeatureSettingsStore& featureSettings;
    AppPreferencesStore& appPreferences;
    CustomDestinationStore& customDestinations;
    CustomShortcutActionStore& customShortcutActions;
    FinderViewPresetStore& finderViewPresets;
    ScheduledDeletionListStore& scheduledDeletions;
};
