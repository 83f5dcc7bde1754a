#pragma once

#include "stores/CustomDestination.h"

#include <optional>
#include <QVariant>

// CustomDestinations.plist: a dictionary from the kind's raw value to an array of {id, name, path}
// dictionaries, written to the application's folder and, byte for byte, to the extension's.
class CustomDestinationPersistence {
public:
    static QString fileName();
    static QString settingsFilePath();
    static QString finderExtensionSettingsFilePath();

    // The stored lists, or nothing when the file is missing, unreadable or not a dictionary. Entries without
    // a string id, name and path are left out one by one; so is a key whose value is not an array.
    static std::optional<CustomDestinationsByKind> load();
    // As load; leftSomethingOut tells whether the file held anything that did not load (a file that could
    // not be parsed, a wrong shape, a malformed entry).
    static std::optional<CustomDestinationsByKind> load(bool& leftSomethingOut);
    // Writes both copies and announces "custom-destinations". Never throws.
    static void save(const CustomDestinationsByKind& destinations);

    static QVariant toPropertyList(const CustomDestinationsByKind& destinations);
    static std::optional<CustomDestinationsByKind> fromPropertyList(const QVariant& root,
                                                                    bool& leftSomethingOut);
};
