#pragma once

#include "catalogue/FeatureSettings.h"

#include <optional>
#include <QVariant>

// FeatureSettings.plist: read from the application's folder, written to it and, byte for byte, to the
// extension's folder, which the file-manager side reads.
class FeatureSettingsPersistence {
public:
    static QString fileName();
    static QString applicationFileURL();
    static QString extensionFileURL();

    // The stored record, or nothing when the file is missing, unreadable, not a property list, not a
    // dictionary, or lacks "enabledFeatureIDs". Keys of the wrong type load as their empty values.
    static std::optional<FeatureSettings> loadSettings();
    static std::optional<FeatureSettings> settingsFromPropertyList(const QVariant& root);
    // Keeps a file that exists but could not be loaded as "FeatureSettings.plist.unreadable" before the
    // defaults replace it, so a damaged file is never lost without a trace. Never throws.
    static void keepUnreadableCopy() noexcept;
    // The dictionary written to disk, with both sets as sorted arrays so the file is stable.
    static QVariantMap propertyList(const FeatureSettings& settings);

    // Writes the application copy, then the extension copy, then announces "feature-settings". Stops at the
    // first failure (nothing further written, nothing announced). Never throws; true when all three happened.
    static bool save(const FeatureSettings& settings) noexcept;
};
