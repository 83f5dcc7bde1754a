#pragma once

#include "stores/FinderViewMode.h"

#include <QString>
#include <QStringList>

// The AppleScript texts that set the file manager's front window to a view and sort order.
class FinderViewPresetScripts {
public:
    // The Finder script of a preset: brings Finder forward (opening a window on the desktop when none is
    // open), sets the view, then the icon arrangement or the list's sort column that fits the view.
    static QString viewScript(FinderViewMode viewMode, FinderSortMode sortMode);
    // Sort menu items to try, in the languages Finder speaks; empty for FinderSortMode::none.
    static QStringList sortMenuItemNames(FinderSortMode sortMode);
    // The System Events script that clicks Finder's own sort menu; empty for FinderSortMode::none.
    static QString sortMenuScript(FinderSortMode sortMode);
    // Reports the front window's view and sort order, for the log.
    static QString stateScript();

    // The single view and single sort actions of the menu.
    static QString viewModeScript(FinderViewMode viewMode);
    static QString sortColumnScript(FinderSortMode sortMode);
};
