#pragma once

#include "catalogue/KestroFeature.h"
#include "settings-ui/SettingsStores.h"

#include <QScrollArea>

class DetailHeader;
class FeatureChildrenSection;
class SettingsToggleRow;

// One feature's page: its header, the switch that puts it in the menu, its actions, and the user's own
// list that belongs to it, if any.
class FeatureDetailView : public QScrollArea {
    Q_OBJECT
public:
    FeatureDetailView(const SettingsStores& stores, KestroFeature feature, QWidget* parent = nullptr);

    KestroFeature feature() const { return m_feature; }
    DetailHeader* header() const { return m_header; }
    SettingsToggleRow* enableRow() const { return m_enableRow; }
    // Null for a feature without catalogue actions.
    FeatureChildrenSection* childrenSection() const { return m_children; }
    // The section of the user's own items, or null.
    QWidget* userSection() const { return m_userSection; }

private:
    QWidget* makeUserSection(const SettingsStores& stores);

    KestroFeature m_feature;
    DetailHeader* m_header;
    SettingsToggleRow* m_enableRow;
    FeatureChildrenSection* m_children = nullptr;
    QWidget* m_userSection = nullptr;
};
