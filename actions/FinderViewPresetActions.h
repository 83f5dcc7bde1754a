#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// View and sort presets applied to the file manager's front window.
class FinderViewPresetActions {
public:
    static void applyFinderViewPreset(const std::optional<QString>& id);
    static void setFinderViewMode(const QString& viewMode);
    static void setFinderSortColumn(const QString& sortColumn);
};
