#pragma once

#include "catalogue/FeatureSettings.h"

// What a first start (or an unreadable settings file) gives.
class FeatureSettingsDefaults {
public:
    // Deliberately not the catalogue order.
    static QStringList featureOrder();
    // Every feature except developerTools.
    static QSet<QString> enabledFeatureIDs();
    // The 58 identifiers enabled on a first start. Kept as written, including two IDs that are no catalogue
    // children: the set also tells which children a newer version added.
    static QSet<QString> enabledChildIDs();
    // Every feature's catalogue children in catalogue order (customActions with an empty list).
    static QMap<QString, QStringList> childOrderByFeatureID();
    // All of the above, with the flag off and the collapsed layout.
    static FeatureSettings settings();
};
