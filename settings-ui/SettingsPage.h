#pragma once

#include "catalogue/KestroFeature.h"

#include <optional>

// What the detail column shows: one feature, or the preferences when there is no feature.
struct SettingsPage {
    std::optional<KestroFeature> feature;

    bool isPreferences() const { return !feature; }
    static SettingsPage preferences() { return {}; }
    static SettingsPage of(KestroFeature feature) { return {feature}; }
    bool operator==(const SettingsPage&) const = default;
};
