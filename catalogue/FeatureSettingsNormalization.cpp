#include "catalogue/FeatureSettingsNormalization.h"

#include "catalogue/FeatureSettingsDefaults.h"

namespace {

// Before the one-hour choice moved to the top, the order was stored like this; such files get the new order.
const QStringList legacyScheduledDeletionOrder = {
    QStringLiteral("scheduleDelete7Days"), QStringLiteral("scheduleDelete30Days"),
    QStringLiteral("scheduleDelete90Days"), QStringLiteral("scheduleDelete1Hour")};

} // namespace

FeatureSettings FeatureSettingsNormalization::atStartUp(const FeatureSettings& stored) {
    FeatureSettings settings;
    settings.enabledFeatureIDs = stored.enabledFeatureIDs | newFeatureIDs(stored.featureOrder);
    settings.groupsFeaturesUnderKestro = stored.groupsFeaturesUnderKestro;
    settings.menuLayout = stored.menuLayout;
    settings.childOrderByFeatureID = normalizedChildOrderByFeatureID(stored.childOrderByFeatureID);
    // An empty stored set means the children were never configured.
    const QSet<QString> candidates = stored.enabledChildIDs.isEmpty()
                                         ? FeatureSettingsDefaults::enabledChildIDs()
                                         : stored.enabledChildIDs | newChildIDs(stored.childOrderByFeatureID);
    settings.featureOrder = normalizedFeatureOrder(stored.featureOrder);
    settings.enabledChildIDs = enabledChildIDsWithVisibleEnabledFeatures(
        validChildIDs(candidates), settings.enabledFeatureIDs, settings.childOrderByFeatureID);
    return settings;
}

QSet<QString> FeatureSettingsNormalization::newFeatureIDs(const QStringList& storedFeatureOrder) {
    if (storedFeatureOrder.isEmpty())
        return {};
    QSet<QString> ids = FeatureSettingsDefaults::enabledFeatureIDs();
    for (const QString& id : storedFeatureOrder)
        ids.remove(id);
    return ids;
}

QSet<QString> FeatureSettingsNormalization::newChildIDs(const QMap<QString, QStringList>& storedChildOrder) {
    if (storedChildOrder.isEmpty())
        return {};
    QSet<QString> ids = FeatureSettingsDefaults::enabledChildIDs();
    for (const QStringList& order : storedChildOrder) {
        for (const QString& id : order)
            ids.remove(id);
    }
    return ids;
}

QStringList FeatureSettingsNormalization::normalizedFeatureOrder(const QStringList& storedFeatureOrder) {
    QStringList order;
    for (const QString& id : storedFeatureOrder) {
        if (KestroFeature::fromRawValue(id) && !order.contains(id))
            order.append(id);
    }
    for (const QString& id : FeatureSettingsDefaults::featureOrder()) {
        if (!order.contains(id))
            order.append(id);
    }
    return order;
}

QMap<QString, QStringList>
FeatureSettingsNormalization::normalizedChildOrderByFeatureID(const QMap<QString, QStringList>& stored) {
    QMap<QString, QStringList> order;
    for (const KestroFeature& feature : KestroFeature::allCases()) {
        const auto entry = stored.constFind(feature.id());
        order.insert(feature.id(),
                     normalizedChildOrder(
                         entry == stored.cend() ? std::nullopt : std::optional(entry.value()), feature));
    }
    return order;
}

QStringList FeatureSettingsNormalization::normalizedChildOrder(const std::optional<QStringList>& stored,
                                                               KestroFeature feature) {
    const QStringList defaults = feature.childIDs();
    if (feature == KestroFeature::scheduledDeletion && stored &&
        (!stored->contains(QStringLiteral("scheduleDelete1Hour")) || *stored == legacyScheduledDeletionOrder))
        return defaults;
    QStringList order;
    // Unlike the feature order, a child listed twice stays listed twice.
    for (const QString& id : stored.value_or(QStringList())) {
        if (defaults.contains(id))
            order.append(id);
    }
    for (const QString& id : defaults) {
        if (!order.contains(id))
            order.append(id);
    }
    return order;
}

QSet<QString> FeatureSettingsNormalization::validChildIDs(const QSet<QString>& ids) {
    QSet<QString> valid;
    for (const KestroFeature& feature : KestroFeature::allCases()) {
        for (const QString& id : feature.childIDs()) {
            if (ids.contains(id))
                valid.insert(id);
        }
    }
    return valid;
}

QSet<QString> FeatureSettingsNormalization::enabledChildIDsWithVisibleEnabledFeatures(
    const QSet<QString>& enabledChildIDs, const QSet<QString>& enabledFeatureIDs,
    const QMap<QString, QStringList>& childOrder) {
    QSet<QString> result = enabledChildIDs;
    for (const KestroFeature& feature : KestroFeature::allCases()) {
        if (!enabledFeatureIDs.contains(feature.id()))
            continue;
        const QStringList ids = childOrder.value(feature.id(), feature.childIDs());
        const bool anyEnabled = std::any_of(ids.cbegin(), ids.cend(),
                                            [&](const QString& id) { return enabledChildIDs.contains(id); });
        if (!anyEnabled) {
            for (const QString& id : ids)
                result.insert(id);
        }
    }
    return result;
}
