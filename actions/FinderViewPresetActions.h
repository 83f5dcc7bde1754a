#pragma once

#include "stores/FinderViewMode.h"

#include <optional>
#include <QString>
#include <QStringList>

// View and sort presets applied to the file manager's front window by AppleScript. Where the file manager
// cannot be scripted (Linux), every one of them fails with the scripting layer's error.
class FinderViewPresetActions {
public:
    // The stored preset with that id; no id, or an unknown one, is an unsupported action.
    static void applyFinderViewPreset(const std::optional<QString>& id);
    // "icon view", "list view", "column view" or "flow view".
    static void setFinderViewMode(const QString& viewMode);
    // "name column", "modification date column" ...
    static void setFinderSortColumn(const QString& sortColumn);

    // Sets the view, then the sort (also through Finder's own sort menu, whose failure is only logged), and
    // logs the window's resulting state. Throws when the main script fails.
    static void applyFinderView(FinderViewMode viewMode, FinderSortMode sortMode);
    static void applyFinderSortUsingViewOptions(FinderSortMode sortMode);
    // The front window's view and sort, or "unavailable"; for the log only.
    static QString finderViewSortState();
};
