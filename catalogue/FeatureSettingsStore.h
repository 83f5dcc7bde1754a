#pragma once

#include "catalogue/FeatureSettings.h"
#include "catalogue/KestroFeature.h"

#include <QObject>

// The user's choice of features and actions for the file manager's menu: one instance for the life of the
// host, used from the main thread only. Every change is saved at once (both copies, then the announcement);
// the in-memory state is the master copy and is never reloaded from disk.
class FeatureSettingsStore : public QObject {
    Q_OBJECT
public:
    // Loads FeatureSettings.plist, brings it in line with this version's catalogue (or takes the defaults
    // when there is no usable file) and saves straight away.
    explicit FeatureSettingsStore(QObject* parent = nullptr);

    // Features in the user's order; stored identifiers that name no feature are skipped.
    QList<KestroFeature> orderedFeatures() const;
    // The feature's children in the user's order.
    QList<KestroFeatureChild> orderedChildren(KestroFeature feature) const;
    // The same for a record outside any store (the file-manager menu is built from saved settings).
    static QList<KestroFeature> orderedFeatures(const FeatureSettings& settings);
    static QList<KestroFeatureChild> orderedChildren(const FeatureSettings& settings, KestroFeature feature);

    bool isEnabled(KestroFeature feature) const;
    bool isEnabled(const KestroFeatureChild& child) const;
    bool isChildEnabled(const QString& actionID) const;

    // Enabling a feature none of whose children is enabled enables all of them; disabling keeps the
    // children's switches so that enabling again restores them.
    void setEnabled(bool enabled, KestroFeature feature);
    void setEnabled(bool enabled, const KestroFeatureChild& child);
    // Switches every child of the feature; the feature's own switch stays as it is.
    void setAllChildrenEnabled(bool enabled, KestroFeature feature);
    // Offsets are those of orderedFeatures() / orderedChildren() before the move (see movedList).
    void moveFeatures(const QSet<qsizetype>& offsets, qsizetype destination);
    void moveChildren(KestroFeature feature, const QSet<qsizetype>& offsets, qsizetype destination);

    bool groupsFeaturesUnderKestro() const { return m_settings.groupsFeaturesUnderKestro; }
    void setGroupsFeaturesUnderKestro(bool value);
    FinderMenuLayout menuLayout() const { return m_settings.menuLayout; }
    void setMenuLayout(FinderMenuLayout layout);

    // The whole record as it was last saved (read-only; change it through the operations above).
    const FeatureSettings& settings() const { return m_settings; }

signals:
    void enabledFeatureIDsChanged();
    void enabledChildIDsChanged();
    void featureOrderChanged();
    void childOrderChanged(KestroFeature feature);
    void groupsFeaturesUnderKestroChanged(bool value);
    void menuLayoutChanged(FinderMenuLayout layout);
    // After any of the above.
    void changed();

private:
    void save() const;

    FeatureSettings m_settings;
};
