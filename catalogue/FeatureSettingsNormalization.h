#pragma once

#include "catalogue/FeatureSettings.h"
#include "catalogue/KestroFeature.h"

#include <optional>

// How stored settings are brought in line with the catalogue of this version: unknown identifiers go,
// features and children added since the file was written come in, and every enabled feature keeps at
// least one visible child.
class FeatureSettingsNormalization {
public:
    // The stored record as the store starts with it.
    static FeatureSettings atStartUp(const FeatureSettings& stored);

    // Default-enabled features that the stored order does not list (nothing when the order is empty).
    static QSet<QString> newFeatureIDs(const QStringList& storedFeatureOrder);
    // Default-enabled children that no stored child order lists (nothing when the map is empty).
    static QSet<QString> newChildIDs(const QMap<QString, QStringList>& storedChildOrder);
    // Known feature IDs in stored order, first occurrence only, then the missing ones in default order.
    static QStringList normalizedFeatureOrder(const QStringList& storedFeatureOrder);
    // One entry per feature, in catalogue order; entries under unknown IDs are dropped.
    static QMap<QString, QStringList>
    normalizedChildOrderByFeatureID(const QMap<QString, QStringList>& stored);
    // The feature's known children in stored order (repeats kept), then the missing ones in catalogue order.
    static QStringList normalizedChildOrder(const std::optional<QStringList>& stored, KestroFeature feature);
    // The IDs that are catalogue children of some feature.
    static QSet<QString> validChildIDs(const QSet<QString>& ids);
    // Every enabled feature with children shows at least one: where none is enabled, all of them are.
    static QSet<QString>
    enabledChildIDsWithVisibleEnabledFeatures(const QSet<QString>& enabledChildIDs,
                                              const QSet<QString>& enabledFeatureIDs,
                                              const QMap<QString, QStringList>& childOrder);
};
