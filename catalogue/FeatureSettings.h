#pragma once

#include "catalogue/FinderMenuLayout.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

// Which features and actions the file manager's menu shows, in which order and layout: the record that
// FeatureSettings.plist holds.
struct FeatureSettings {
    QSet<QString> enabledFeatureIDs;
    bool groupsFeaturesUnderKestro = false;
    FinderMenuLayout menuLayout = FinderMenuLayout::collapsed;
    QSet<QString> enabledChildIDs;
    QStringList featureOrder;
    QMap<QString, QStringList> childOrderByFeatureID;

    bool operator==(const FeatureSettings&) const = default;
};
