#pragma once

#include "catalogue/FeatureSettings.h"
#include "integration/KestroMenuItem.h"
#include "stores/CustomDestination.h"
#include "stores/CustomShortcutAction.h"

#include <QByteArray>

// What the menu is made of: the feature settings and the user's lists (view presets have no place here:
// no Linux file manager takes view scripts).
struct KestroMenuInput {
    FeatureSettings settings;
    CustomDestinationsByKind destinations;
    QList<CustomShortcutAction> customActions;

    // The host's saved copies as they are on disk now (defaults where a file is missing or unreadable).
    static KestroMenuInput saved();
};

// The one Kestro menu every file manager shows: enabled features in the user's order with their enabled
// children, the user's destinations and script actions as items; one submenu per feature
// when collapsed, every action directly when expanded; all of it under one "Kestro" entry when grouped.
// Each action says where it applies, so that file managers only render and never decide.
class KestroMenuModel {
public:
    enum class Context { selection, background };

    static QList<KestroMenuItem> build(const KestroMenuInput& input);

    // The menu as shown in one place: on the selected names (file names or paths), or on the background.
    // Submenus left empty go.
    static QList<KestroMenuItem> shownOn(const QList<KestroMenuItem>& menu, Context context,
                                         const QStringList& selectedNames = {});

    // The menu one file manager (its program name: "nautilus", "nemo", "dolphin", "thunar", "pcmanfm-qt")
    // shows: items that cannot work there go, and so do submenus left empty.
    static QList<KestroMenuItem> shownIn(const QList<KestroMenuItem>& menu, const QString& fileManager);

    // Every action of the menu, depth first.
    static QList<KestroMenuItem> actions(const QList<KestroMenuItem>& menu);

    // The menu description the file-manager extension reads (UTF-8 JSON).
    static QByteArray toJson(const QList<KestroMenuItem>& menu);
};
