#include "catalogue/FeatureSettingsStore.h"

#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsNormalization.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/ListMove.h"

#include <QHash>

namespace {

std::optional<QStringList> storedOrder(const FeatureSettings& settings, KestroFeature feature) {
    const auto entry = settings.childOrderByFeatureID.constFind(feature.id());
    if (entry == settings.childOrderByFeatureID.cend())
        return std::nullopt;
    return entry.value();
}

} // namespace

FeatureSettingsStore::FeatureSettingsStore(QObject* parent)
    : QObject(parent) {
    const std::optional<FeatureSettings> stored = FeatureSettingsPersistence::loadSettings();
    // Without a usable file the defaults are saved as they stand; the next start validates them.
    if (!stored)
        FeatureSettingsPersistence::keepUnreadableCopy();
    m_settings =
        stored ? FeatureSettingsNormalization::atStartUp(*stored) : FeatureSettingsDefaults::settings();
    save();
}

QList<KestroFeature> FeatureSettingsStore::orderedFeatures() const {
    return orderedFeatures(m_settings);
}

QList<KestroFeatureChild> FeatureSettingsStore::orderedChildren(KestroFeature feature) const {
    return orderedChildren(m_settings, feature);
}

QList<KestroFeature> FeatureSettingsStore::orderedFeatures(const FeatureSettings& settings) {
    QList<KestroFeature> features;
    for (const QString& id : settings.featureOrder) {
        if (const std::optional<KestroFeature> feature = KestroFeature::fromRawValue(id))
            features.append(*feature);
    }
    return features;
}

QList<KestroFeatureChild> FeatureSettingsStore::orderedChildren(const FeatureSettings& settings,
                                                                KestroFeature feature) {
    QHash<QString, KestroFeatureChild> byID;
    for (const KestroFeatureChild& child : feature.children()) {
        if (!byID.contains(child.actionID))
            byID.insert(child.actionID, child);
    }
    QList<KestroFeatureChild> children;
    for (const QString& id :
         FeatureSettingsNormalization::normalizedChildOrder(storedOrder(settings, feature), feature)) {
        const auto child = byID.constFind(id);
        if (child != byID.cend())
            children.append(child.value());
    }
    return children;
}

bool FeatureSettingsStore::isEnabled(KestroFeature feature) const {
    return m_settings.enabledFeatureIDs.contains(feature.id());
}

bool FeatureSettingsStore::isEnabled(const KestroFeatureChild& child) const {
    return isChildEnabled(child.actionID);
}

bool FeatureSettingsStore::isChildEnabled(const QString& actionID) const {
    return m_settings.enabledChildIDs.contains(actionID);
}

void FeatureSettingsStore::setEnabled(bool enabled, KestroFeature feature) {
    if (!enabled) {
        m_settings.enabledFeatureIDs.remove(feature.id());
        save();
        emit enabledFeatureIDsChanged();
        emit changed();
        return;
    }
    m_settings.enabledFeatureIDs.insert(feature.id());
    save();
    emit enabledFeatureIDsChanged();
    const QStringList childIDs = feature.childIDs();
    const bool anyEnabled = std::any_of(childIDs.cbegin(), childIDs.cend(),
                                        [this](const QString& id) { return isChildEnabled(id); });
    if (!anyEnabled) {
        // A feature switched on must not show an empty submenu.
        for (const QString& id : childIDs)
            m_settings.enabledChildIDs.insert(id);
        save();
        emit enabledChildIDsChanged();
    }
    emit changed();
}

void FeatureSettingsStore::setEnabled(bool enabled, const KestroFeatureChild& child) {
    if (enabled)
        m_settings.enabledChildIDs.insert(child.actionID);
    else
        m_settings.enabledChildIDs.remove(child.actionID);
    save();
    emit enabledChildIDsChanged();
    emit changed();
}

void FeatureSettingsStore::setAllChildrenEnabled(bool enabled, KestroFeature feature) {
    for (const QString& id : feature.childIDs()) {
        if (enabled)
            m_settings.enabledChildIDs.insert(id);
        else
            m_settings.enabledChildIDs.remove(id);
    }
    save();
    emit enabledChildIDsChanged();
    emit changed();
}

void FeatureSettingsStore::moveFeatures(const QSet<qsizetype>& offsets, qsizetype destination) {
    m_settings.featureOrder = movedList(m_settings.featureOrder, offsets, destination);
    save();
    emit featureOrderChanged();
    emit changed();
}

void FeatureSettingsStore::moveChildren(KestroFeature feature, const QSet<qsizetype>& offsets,
                                        qsizetype destination) {
    const QStringList order =
        FeatureSettingsNormalization::normalizedChildOrder(storedOrder(m_settings, feature), feature);
    m_settings.childOrderByFeatureID.insert(feature.id(), movedList(order, offsets, destination));
    save();
    emit childOrderChanged(feature);
    emit changed();
}

void FeatureSettingsStore::setGroupsFeaturesUnderKestro(bool value) {
    m_settings.groupsFeaturesUnderKestro = value;
    save();
    emit groupsFeaturesUnderKestroChanged(value);
    emit changed();
}

void FeatureSettingsStore::setMenuLayout(FinderMenuLayout layout) {
    m_settings.menuLayout = layout;
    save();
    emit menuLayoutChanged(layout);
    emit changed();
}

void FeatureSettingsStore::save() const {
    FeatureSettingsPersistence::save(m_settings);
}
