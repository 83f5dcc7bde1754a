#pragma once

#include <QList>
#include <QString>

class CustomDestinationStore;
class FeatureSettingsStore;

// What the tray menu offers at the moment it opens, read from the stores (custom actions from their file).
struct StatusMenuContent {
    struct Entry {
        QString title;
        QString payload; // a folder path for a destination, an action ID otherwise
    };

    bool quickOpenEnabled = false;
    // Quick-open places whose path exists, in the user's order.
    QList<Entry> quickOpenDestinations;
    // The enabled clipboard-path and typed-path actions, in the user's order of the feature's children.
    QList<Entry> quickOpenActions;
    bool customActionsEnabled = false;
    QList<Entry> customActions;

    static StatusMenuContent gather(const FeatureSettingsStore& featureSettings,
                                    const CustomDestinationStore& destinations);
};
